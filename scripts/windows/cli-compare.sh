#!/usr/bin/env bash
# Compares the console of the Windows program with the Linux program's on
# the command-line test cases (tests/cli): every case script is run twice,
# once with each program, and every start of the program is recorded (its
# arguments, its standard output and its exit status). The two records are
# then compared line by line. Differences that the Windows platform
# explains are normalised and listed as such:
#   - CR LF line ends (text-mode standard output);
#   - paths written with "\" and Wine's drive "Z:" for the Unix root;
#   - the C runtime's text of a system error ("File not found" for
#     "No such file or directory");
# and so are the ones that any two runs or builds show, without being listed:
#   - where the progress lines fall among the other lines of a call (the
#     progress thread prints them beside the export's own lines): they are
#     compared in their order, after the call's other lines;
#   - the log prefix "[build time/build date - source line] -- ";
#   - the elapsed seconds of "time:N.N(s)";
#   - the millisecond tick count in the names of working copies and new
#     theme drafts ("NAME_TICKS.json");
#   - each program's own folder, and the library versions of --version;
#   - the cases' scratch folders (/tmp/ormadraft-cli-XXXXXX).
# Any other difference (a line, a line's absence, an exit status) fails the
# comparison and is printed with the case and the call it belongs to.
#
#   cli-compare.sh LINUX_PROGRAM WINDOWS_PROGRAM.exe
#
# The programs are usually the two builds of the program linked with the
# recording core double (tests/ormadraft_recording and
# tests/ormadraft_recording.exe: make windows-program-test runs it so), for
# which the cases are written; OrmaDraft.exe with its real engine works too
# (slower: every case then renders). The Windows program runs under Wine
# (scripts/windows/wine-run.sh, so the DLLs of the dependency prefix and of
# the MinGW-w64 runtime are found) in a scratch Wine prefix made for this
# run, under the Chinese code page 936 the program is written for (a
# zh_CN.UTF-8 locale made for the run; a case's own GBK locale is kept), so
# that the cases' Chinese names reach it as they do on a Chinese Windows. The
# 1252 code page is covered by the program's tests (program_tests under
# both). Wine's start costs a second or more, so where a case ends a program
# after a time limit, the Windows program gets CLI_WINE_GRACE (5) seconds
# more before it is ended. New theme drafts of both go to a scratch folder
# (ORMADRAFT_DRAFTS), so nothing is written beside either program.
# CLI_CASES="usage bad_input" limits the run to those cases.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
linux_program=$(realpath "${1:?usage: cli-compare.sh LINUX_PROGRAM WINDOWS_PROGRAM.exe}")
windows_program=$(realpath "${2:?usage: cli-compare.sh LINUX_PROGRAM WINDOWS_PROGRAM.exe}")
wine=${ORMA_WINE:-/usr/lib/wine/wine64}
[ -x "$linux_program" ] || { echo "cli-compare: no Linux program at $linux_program" >&2; exit 2; }
[ -f "$windows_program" ] || { echo "cli-compare: no Windows program at $windows_program" >&2; exit 2; }
[ -x "$wine" ] || { echo "cli-compare: no Wine runner at $wine (apt-get install wine64)" >&2; exit 2; }

. "$here/wine-prefix.sh"
scratch_wine_run cli-compare
make_chinese_locale "$scratch/locale"
export ORMADRAFT_DRAFTS=$scratch/drafts

# One recording stand-in per side: it runs the program with the arguments it
# was given, passes its standard output on, and appends the call to the
# side's record. Standard error and standard input pass straight through.
# When the case ends it (a time limit's SIGTERM), the program is ended
# GRACE seconds later and its status recorded all the same.
make_stand_in() { # side, grace seconds, shell lines run first, command...
  local side=$1 grace=$2 prelude=$3
  shift 3
  local quoted
  quoted=$(printf '%q ' "$@")
  cat >"$scratch/$side.sh" <<EOF
#!/usr/bin/env bash
$prelude
out=\$(mktemp "$scratch/out-XXXXXX")
# In a session of its own, so that ending it ends Wine's processes too.
setsid $quoted "\$@" >"\$out" &
child=\$!
ended=0
trap 'ended=1; sleep $grace; kill -TERM -- -\$child 2>/dev/null' TERM
wait \$child
status=\$?
# A trapped SIGTERM ends the first wait early; the second gives the status.
[ \$ended = 0 ] || { wait \$child; status=\$?; }
cat "\$out"
{ printf '### call:'; printf ' %s' "\$@"; printf '\n'; cat "\$out"; printf '\n### status %s\n' "\$status"; } >>"\$CLI_RECORD"
rm -f "\$out"
exit \$status
EOF
  chmod +x "$scratch/$side.sh"
}
make_stand_in linux 0 "" "$linux_program"
make_stand_in windows "${CLI_WINE_GRACE:-5}" \
  "case \${LC_ALL:-\${LC_CTYPE:-}} in *GBK | *gbk) ;; *) export LOCPATH=$scratch/locale LC_ALL=zh_CN.UTF-8 ;; esac" \
  bash "$here/wine-run.sh" "$windows_program"

# The same text for both sides where only the platform or the build differs.
# Each line is written as TEXT, a tab, and the platform rules that changed
# it (none for most lines).
normalise() { # record file
  python3 - "$1" "$(dirname "$linux_program")" "$(dirname "$windows_program")" <<'PY'
import re, sys
linux_dir, windows_dir = sys.argv[2], sys.argv[3]
platform_rules = [
    ("CR LF", lambda l: l.replace("\r", "")),
    ("paths with \\", lambda l: re.sub(r"(?<![A-Za-z])[A-Z]:(?=\\)", "", l).replace("\\", "/")),
    # The C runtime's text of ENOENT where a message carries strerror().
    ("system error text", lambda l: l.replace(": File not found", ": No such file or directory")),
]
build_rules = [
    # Each program names its own folder (resources, drafts beside it).
    lambda l: l.replace(linux_dir, "$PROGRAM_DIR").replace(windows_dir, "$PROGRAM_DIR"),
    # --version: the libraries each build was made with.
    lambda l: re.sub(r"^(MLT|FFmpeg) [^ ]+", r"\1 VERSION", l),
    lambda l: re.sub(r"^\[[^]]*\] -- ", "[LOG] -- ", l),
    lambda l: re.sub(r"time:[0-9.]+\(s\)", "time:T(s)", l),
    lambda l: re.sub(r"_[0-9]+\.json", "_TICKS.json", l),
    lambda l: re.sub(r"/tmp/ormadraft-cli-[A-Za-z0-9]+", "$WORK", l),
]
lines = []
for raw in open(sys.argv[1], "rb").read().split(b"\n"):
    applied = []
    # The Windows program prints its own Chinese texts in GBK whatever the
    # code page; the Linux program in the locale's codeset (UTF-8 here).
    try:
        line = raw.decode("utf-8")
    except UnicodeDecodeError:
        try:
            line = raw.decode("gbk")
            applied.append("GBK text")
        except UnicodeDecodeError:
            line = raw.decode("utf-8", "backslashreplace")
    for name, rule in platform_rules:
        new = rule(line)
        if new != line:
            applied.append(name)
        line = new
    for rule in build_rules:
        line = rule(line)
    lines.append(line + "\t" + ",".join(applied))
# Each call's progress lines after its other lines, in their order.
held = []
def flush():
    for h in held:
        print(h)
    held.clear()
for line in lines:
    if line.startswith("### "):
        flush()
    if re.match(r"\[LOG\] -- progress:", line):
        held.append(line)
    else:
        print(line)
flush()
PY
}

cases=${CLI_CASES:-$(cd "$source_dir/tests/cli" && ls *.sh | sed 's/\.sh$//')}
failed=0
for name in $cases; do
  script=$source_dir/tests/cli/$name.sh
  [ -f "$script" ] || { echo "cli-compare: no case $name" >&2; failed=1; continue; }
  for side in linux windows; do
    record=$scratch/$name.$side.record
    : >"$record"
    # The case's own checks are written for the recording double; only the
    # two programs' records are compared here, so their verdicts are dropped.
    CLI_RECORD=$record timeout 600 bash "$script" "$scratch/$side.sh" >/dev/null 2>&1 || true
    normalise "$record" >"$scratch/$name.$side.txt"
  done
  # Notes of normalisation are kept apart from the text compared.
  cut -f1 "$scratch/$name.linux.txt" >"$scratch/$name.linux.plain"
  cut -f1 "$scratch/$name.windows.txt" >"$scratch/$name.windows.plain"
  calls=$(grep -c '^### call:' "$scratch/$name.linux.plain" || true)
  notes=$(cut -f2 "$scratch/$name.windows.txt" | tr ',' '\n' | grep -v '^$' | sort | uniq -c |
    awk '{c=$1; $1=""; printf "%s%s x%d", sep, substr($0, 2), c; sep=", "}' || true)
  if diff -q "$scratch/$name.linux.plain" "$scratch/$name.windows.plain" >/dev/null; then
    echo "same    $name ($calls calls)${notes:+; normalised: $notes}"
  else
    failed=1
    echo "DIFFER  $name ($calls calls)${notes:+; normalised: $notes}"
    diff -u --label "linux/$name" --label "windows/$name" "$scratch/$name.linux.plain" \
      "$scratch/$name.windows.plain" | sed 's/^/    /' | head -${CLI_DIFF_LINES:-60} || true
  fi
done
exit $failed
