# Shared helpers of the command-line tests. Each test script gets the program
# (linked with the recording core double) as $1 and prints "N passed, N failed".
set -uo pipefail
PROGRAM=$1
PASSED=0
FAILED=0
WORK=$(mktemp -d /tmp/ormadraft-cli-XXXXXX)
trap 'rm -rf "$WORK"' EXIT
unset LC_ALL LANG LANGUAGE ORMA_RECORDER_SCRIPT ORMA_RECORDER_LOG ORMADRAFT_DRIVE_MAP
export LC_CTYPE=C.UTF-8

check() { # name, condition result (0 ok)
  if [ "$2" -eq 0 ]; then PASSED=$((PASSED + 1)); else FAILED=$((FAILED + 1)); echo "FAIL: $1"; fi
}

# run ARGS...: runs the program in $WORK with the call log in $WORK/calls.log.
run() {
  rm -f "$WORK/calls.log"
  ( cd "$WORK" && ORMA_RECORDER_LOG="$WORK/calls.log" "$PROGRAM" "$@" >"$WORK/out.txt" 2>"$WORK/err.txt" )
  STATUS=$?
}

has_line() { grep -qE -- "$1" "$WORK/out.txt"; }
logged() { [ -f "$WORK/calls.log" ] && grep -qF -- "$1" "$WORK/calls.log"; }
listing() { (cd "$1" && find . | sort); }

# write_draft PATH: a two-scene draft whose media the double never opens.
write_draft() {
  cat >"$1" <<'JSON'
{ "ver": 5, "name": "cli", "size": {"width": 320, "height": 180}, "duration": 2,
  "mediaInfo": [ {"path": "a.png", "timelineFrom": 0, "timelineTo": 1},
                 {"path": "b.png", "timelineFrom": 1, "timelineTo": 2} ],
  "scenes": [ {"media": [ {"path": "a.png", "trimTimeStart": 0, "trimTimeEnd": 1} ],
               "background": {"color": {"red": 1, "green": 0, "blue": 0, "alpha": 1}}},
              {"media": [ {"path": "b.png", "trimTimeStart": 0, "trimTimeEnd": 1} ]} ] }
JSON
}

finish() {
  echo "$PASSED passed, $FAILED failed"
  [ "$FAILED" -eq 0 ]
}

PREFIX='^\[[0-9]{2}:[0-9]{2}:[0-9]{2}/[A-Z][a-z]{2} [ 0-9][0-9] [0-9]{4} - [0-9]+\] -- '
