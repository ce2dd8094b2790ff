# Paths in the locale's codeset are converted for loading and back for the
# deletion of the working copy, under a UTF-8 and a GBK locale.
source "$(dirname "$0")/lib.bash" "$1"

name_utf8='草稿'
mkdir -p "$WORK/u"
write_draft "$WORK/u/$name_utf8.json"
before=$(listing "$WORK/u")
rm -f "$WORK/calls.log"
( cd "$WORK" && LC_CTYPE=C.UTF-8 ORMA_RECORDER_LOG="$WORK/calls.log" "$PROGRAM" "$WORK/u/$name_utf8.json" >"$WORK/out.txt" )
check "UTF-8 name loads" $(has_line 'json load success'; echo $?)
check "UTF-8 name: output beside it" $(logged "OrmaSetOutPath(h1, \"$WORK/u/video.mp4\")"; echo $?)
check "UTF-8 name: working copy deleted" $([ "$before" = "$(listing "$WORK/u")" ]; echo $?)

if locale -a | grep -qix 'zh_CN.gbk'; then
  mkdir -p "$WORK/g"
  gbk_name=$(printf '%s' "$name_utf8" | iconv -f UTF-8 -t GBK)
  write_draft "$WORK/g/$gbk_name.json"
  before=$(listing "$WORK/g")
  rm -f "$WORK/calls.log"
  ( cd "$WORK" && LC_CTYPE=zh_CN.GBK ORMA_RECORDER_LOG="$WORK/calls.log" "$PROGRAM" "$WORK/g/$gbk_name.json" >"$WORK/out.txt" )
  check "GBK name loads" $(has_line 'json load success'; echo $?)
  check "GBK name: export succeeds" $(has_line 'export success!'; echo $?)
  check "GBK name: working copy deleted" $([ "$before" = "$(listing "$WORK/g")" ]; echo $?)
else
  check "zh_CN.GBK locale is installed" 1
fi
finish
