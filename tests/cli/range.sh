# The four-argument form sets the export range in microseconds; numbers are
# read with "." whatever the locale says about numbers.
source "$(dirname "$0")/lib.bash" "$1"

write_draft "$WORK/d.json"
echo '{}' >"$WORK/e.json"
run "$WORK/d.json" "$WORK/e.json" 1.5 3.25
check "range is logged" $(has_line '^nLimitTimelineStart:1500000 nLimitTimelineEnd:3250000$'; echo $?)
check "range reaches the library" $(logged 'OrmaEditSetLimitTime(h1, 1500000, 3250000)'; echo $?)
check "four arguments log no paths" $(has_line 'draft path:'; [ $? -ne 0 ]; echo $?)

run "$WORK/d.json" "$WORK/e.json" x y
check "words read as zero" $(has_line '^nLimitTimelineStart:0 nLimitTimelineEnd:0$'; echo $?)
check "zero range sets no limit" $(logged 'OrmaEditSetLimitTime'; [ $? -ne 0 ]; echo $?)

if locale -a | grep -qix 'de_DE.utf8'; then
  rm -f "$WORK/calls.log"
  echo '{"video": {"fps": 29.97}}' >"$WORK/e2.json"
  ( cd "$WORK" && LC_NUMERIC=de_DE.UTF-8 LC_CTYPE=de_DE.UTF-8 ORMA_RECORDER_LOG="$WORK/calls.log" \
      "$PROGRAM" "$WORK/d.json" "$WORK/e2.json" 1.5 3.25 >"$WORK/out.txt" )
  check "German number locale still reads 1.5" $(logged 'OrmaEditSetLimitTime(h1, 1500000, 3250000)'; echo $?)
  check "German number locale still reads 29.97" $(logged 'OrmaSetFPS(h1, 29.97)'; echo $?)
  check "German number locale prints with a point" $(has_line 'export success! time:[0-9]+\.[0-9]\(s\)$'; echo $?)
else
  check "de_DE.UTF-8 locale is installed" 1
fi
finish
