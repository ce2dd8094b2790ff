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
# and so are the ones that any two builds show, without being listed:
#   - the log prefix "[build time/build date - source line] -- ";
#   - the elapsed seconds of "time:N.N(s)";
#   - each program's own folder, and the library versions of --version;
#   - the cases' scratch folders (/tmp/ormadraft-cli-XXXXXX).
# Any other difference (a line, a line's absence, an exit status) fails the
# comparison and is printed with the case and the call it belongs to.
#
#   cli-compare.sh LINUX_BUILD WINDOWS_PROGRAM_FOLDER
#
# LINUX_BUILD holds the Linux program with its core library ("ormadraft");
# WINDOWS_PROGRAM_FOLDER holds OrmaDraft.exe with its DLLs (an unpacked zip's
# OrmaDraft folder). The Windows program runs under Wine in a scratch Wine
# prefix made for this run. New theme drafts of both go to a scratch folder
# (ORMADRAFT_DRAFTS), so nothing is written beside either program.
# CLI_CASES="usage bad_input" limits the run to those cases.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
linux_build=${1:?usage: cli-compare.sh LINUX_BUILD WINDOWS_PROGRAM_FOLDER}
windows_folder=${2:?usage: cli-compare.sh LINUX_BUILD WINDOWS_PROGRAM_FOLDER}
linux_program=$(realpath "$linux_build/ormadraft")
windows_program=$(realpath "$windows_folder/OrmaDraft.exe")
wine=${ORMA_WINE:-/usr/lib/wine/wine64}
[ -x "$linux_program" ] || { echo "cli-compare: no Linux program at $linux_program" >&2; exit 2; }
[ -f "$windows_program" ] || { echo "cli-compare: no OrmaDraft.exe at $windows_program" >&2; exit 2; }
[ -x "$wine" ] || { echo "cli-compare: no Wine runner at $wine (apt-get install wine64)" >&2; exit 2; }

scratch=$(mktemp -d "${TMPDIR:-/tmp}/ormadraft-cli-compare-XXXXXX")
export WINEPREFIX=$scratch/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
cleanup() {
  "$(dirname "$wine")/wineserver" -k 2>/dev/null || true
  rm -rf "$scratch"
}
trap cleanup EXIT
"$wine" wineboot -i >/dev/null 2>&1 || true
export ORMADRAFT_DRAFTS=$scratch/drafts

# One recording stand-in per side: it runs the program with the arguments it
# was given, passes its standard output on, and appends the call to the
# side's record. Standard error and standard input pass straight through.
make_stand_in() { # side, command...
  local side=$1
  shift
  local quoted
  quoted=$(printf '%q ' "$@")
  cat >"$scratch/$side.sh" <<EOF
#!/usr/bin/env bash
out=\$(mktemp "$scratch/out-XXXXXX")
$quoted "\$@" >"\$out"
status=\$?
cat "\$out"
{ printf '### call:'; printf ' %s' "\$@"; printf '\n'; cat "\$out"; printf '\n### status %s\n' "\$status"; } >>"\$CLI_RECORD"
rm -f "\$out"
exit \$status
EOF
  chmod +x "$scratch/$side.sh"
}
make_stand_in linux "$linux_program"
make_stand_in windows "$wine" "$windows_program"

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
    lambda l: re.sub(r"/tmp/ormadraft-cli-[A-Za-z0-9]+", "$WORK", l),
]
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
    print(line + "\t" + ",".join(applied))
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
