# Wrong argument counts print both usage lines and end with status 1, in the
# locale's codeset.
source "$(dirname "$0")/lib.bash" "$1"

line1='无效格式，请设置 json 文件，例如: OrmaDraft.exe d://draft.json '
line2='无效格式，请设置 json 文件，例如: OrmaDraft.exe d://draft.json output.json'

run
check "no argument gives status 1" $([ "$STATUS" -eq 1 ]; echo $?)
check "first usage line ends with a blank" $(grep -qxF -- "$(sed -n 1p "$WORK/out.txt" | sed -E 's/^\[[^]]*\] -- //')" <(printf '%s\n' "$line1"); echo $?)
check "second usage line" $(sed -n 2p "$WORK/out.txt" | grep -qF -- "$line2"; echo $?)
check "usage lines carry the log prefix" $(grep -cE "$PREFIX" "$WORK/out.txt" | grep -qx 2; echo $?)

run a b c
check "three arguments give status 1" $([ "$STATUS" -eq 1 ]; echo $?)
check "three arguments print the usage" $(grep -qF -- "$line2" "$WORK/out.txt"; echo $?)

run a b c d e
check "five arguments give status 1" $([ "$STATUS" -eq 1 ]; echo $?)

# Under a GBK locale the same lines are GBK bytes.
if locale -a | grep -qix 'zh_CN.gbk'; then
  ( cd "$WORK" && LC_CTYPE=zh_CN.GBK "$PROGRAM" >"$WORK/gbk.txt" )
  expected=$(printf '%s\n' "$line2" | iconv -f UTF-8 -t GBK | od -An -tx1 | tr -d ' \n')
  actual=$(sed -n 2p "$WORK/gbk.txt" | sed -E 's/^\[[^]]*\] -- //' | od -An -tx1 | tr -d ' \n')
  check "GBK locale writes GBK bytes" $([ "$expected" = "$actual" ]; echo $?)
else
  check "zh_CN.GBK locale is installed" 1
fi
finish
