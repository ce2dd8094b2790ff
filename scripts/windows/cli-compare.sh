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
# CLI_CASES="usage bad_input" limits the run to those cases; each side of a
# case has CLI_CASE_LIMIT (1200) seconds.
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
# side's record; its standard error is passed on too and kept in the side's
# error record, which is shown for the calls that differ. Standard input
# passes straight through.
# When the case ends it (a time limit's SIGTERM), the program is ended
# GRACE seconds later and its status recorded all the same.
# A start that failed with nothing at all on standard output is tried again
# RETRIES times: the program prints a line first in every run, so such a
# start never reached it, as when Wine's own start fails (its fatal start
# errors end with status 1; one CI run met such a start, in some 700).
# Each retry is listed with its first lines of standard error, so that a
# program that fails at start-up still shows.
make_stand_in() { # side, grace seconds, retries, shell lines run first, command...
  local side=$1 grace=$2 retries=$3 prelude=$4
  shift 4
  local quoted
  quoted=$(printf '%q ' "$@")
  cat >"$scratch/$side.sh" <<EOF
#!/usr/bin/env bash
$prelude
out=\$(mktemp "$scratch/out-XXXXXX")
err=\$out.err
ended=0
trap 'ended=1; sleep $grace; kill -TERM -- -\$child 2>/dev/null' TERM
for attempt in \$(seq 0 $retries); do
  # In a session of its own, so that ending it ends Wine's processes too.
  # Standard error is kept for the side's error record and passed on after
  # the program ends, unless it is a terminal (the progress bar's case).
  if [ -t 2 ]; then
    setsid $quoted "\$@" >"\$out" &
  else
    setsid $quoted "\$@" >"\$out" 2>"\$err" &
  fi
  child=\$!
  wait \$child
  status=\$?
  # A trapped SIGTERM ends the first wait early; the second gives the status.
  [ \$ended = 0 ] || { wait \$child; status=\$?; }
  [ \$ended = 0 ] && [ \$status != 0 ] && [ ! -s "\$out" ] && [ \$attempt -lt $retries ] || break
  { printf 'retried:'; printf ' %s' "\$@"; printf ' (status %s)' "\$status"
    [ ! -s "\$err" ] || printf ': %s' "\$(head -c 300 "\$err" | tr '\n' ' ')"; printf '\n'; } >>"\$CLI_RECORD.retried"
done
cat "\$out"
[ ! -f "\$err" ] || cat "\$err" >&2
{ printf '### call:'; printf ' %s' "\$@"; printf '\n'; cat "\$out"; printf '\n### status %s\n' "\$status"; } >>"\$CLI_RECORD"
{ printf '### call:'; printf ' %s' "\$@"; printf '\n'; cat "\$err" 2>/dev/null; } >>"\$CLI_RECORD.err"
rm -f "\$out" "\$err"
exit \$status
EOF
  chmod +x "$scratch/$side.sh"
}
make_stand_in linux 0 0 "" "$linux_program"
make_stand_in windows "${CLI_WINE_GRACE:-5}" 1 \
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

# differing_calls CASE: for each call whose text differs (the first five),
# its number, its arguments and what the Windows program wrote on standard
# error, where the reason of a missing line usually is.
differing_calls() {
  python3 - "$scratch/$1.linux.plain" "$scratch/$1.windows.plain" "$scratch/$1.windows.record.err" <<'PY'
import sys
def calls(path, errors="strict"):
    blocks = []
    for line in open(path, "rb").read().decode("utf-8", errors).split("\n"):
        if line.startswith("### call:") or not blocks:
            blocks.append([])
        blocks[-1].append(line)
    return blocks
linux, windows = calls(sys.argv[1]), calls(sys.argv[2])
errors = calls(sys.argv[3], "backslashreplace")
shown = 0
for number in range(max(len(linux), len(windows))):
    if number < len(linux) and number < len(windows) and linux[number] == windows[number]:
        continue
    if shown == 5:
        print("    (more calls differ)")
        break
    shown += 1
    head = (windows[number] if number < len(windows) else linux[number])[0]
    args = head[len("### call:"):].strip()
    print("    call %d: %s" % (number + 1, args or "(no arguments)"))
    err = errors[number][1:] if number < len(errors) else []
    err = [l for l in err if l.strip()]
    print("      Windows standard error:" + ("" if err else " (none)"))
    for l in err[:8]:
        print("        " + l)
PY
}

case_limit=${CLI_CASE_LIMIT:-1200}
cases=${CLI_CASES:-$(cd "$source_dir/tests/cli" && ls *.sh | sed 's/\.sh$//')}
failed=0
for name in $cases; do
  script=$source_dir/tests/cli/$name.sh
  [ -f "$script" ] || { echo "cli-compare: no case $name" >&2; failed=1; continue; }
  for side in linux windows; do
    record=$scratch/$name.$side.record
    : >"$record"
    : >"$record.err"
    rm -f "$record.retried"
    # The case's own checks are written for the recording double; only the
    # two programs' records are compared here, so their verdicts are dropped.
    # A case that does not end within the limit (hundreds of Wine starts on
    # a loaded machine take minutes) is named as such.
    ended=0
    CLI_RECORD=$record timeout "$case_limit" bash "$script" "$scratch/$side.sh" >/dev/null 2>&1 || ended=$?
    if [ "$ended" = 124 ]; then
      echo "TIMEOUT $name: the $side side did not end within $case_limit s (CLI_CASE_LIMIT)"
      failed=1
    fi
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
    differing_calls "$name"
  fi
  [ ! -f "$scratch/$name.windows.record.retried" ] || sed 's/^/    /' "$scratch/$name.windows.record.retried"
done
exit $failed
