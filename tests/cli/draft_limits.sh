# Drafts past the documented limits (draft/draft_limits.h: file size, nesting,
# list lengths, media per scene, elements in all) are refused before they are
# read into records: one line names the file, the place and the limit, then
# "json load fail" and status 0, and nothing reaches the core library. A draft
# at each limit still loads and exports.
source "$(dirname "$0")/lib.bash" "$1"

mkdir -p "$WORK/lim"
# make_draft NAME KIND COUNT: the two-scene draft of lib.bash grown by KIND.
make_draft() {
  python3 - "$WORK/lim/$1.json" "$2" "$3" <<'PY'
import json, sys
path, kind, n = sys.argv[1], sys.argv[2], int(sys.argv[3])
item = lambda p, k: {"path": p, "trimTimeStart": 0, "trimTimeEnd": 1, "timelineFrom": k, "timelineTo": k + 1}
d = {"ver": 5, "name": "limits", "size": {"width": 320, "height": 180},
     "mediaInfo": [],  # derived from the scenes, however many
     "scenes": [{"media": [item("a.png", 0)]}, {"media": [item("b.png", 1)]}]}
if kind == "bytes":      # a description that makes the file n bytes
    d["description"] = ""
    d["description"] = "x" * (n - len(json.dumps(d, separators=(",", ":"))))
elif kind == "nesting":  # n levels in all, the root object counting as 1
    inner = []
    for _ in range(n - 2):
        inner = [inner]
    d["editorState"] = inner
elif kind == "scenes":
    d["scenes"] = [{"media": [item("a.png", k)]} for k in range(n)]
elif kind == "media":    # the second scene holds n media items
    d["scenes"][1]["media"] = [item("b.png", 1) for _ in range(n)]
elif kind == "words":    # one caption of n pieces
    d["subtitleExs"] = [{"timelineFrom": 0, "timelineTo": 1, "wordItem": [{"text": "w"} for _ in range(n)]}]
elif kind == "total":    # n elements in lists of 5000 that the readers never look at
    d["editorState"] = [list(range(5000)) for _ in range(n // 5000)]
text = json.dumps(d, separators=(",", ":"))
open(path, "w").write(text)
PY
}

# refused NAME KIND COUNT LINE: the draft is refused with LINE.
refused() {
  make_draft "$1" "$2" "$3"
  run "$WORK/lim/$1.json"
  local failed=$FAILED
  check "$1: status 0" $([ "$STATUS" -eq 0 ]; echo $?)
  check "$1: names the limit" $(has_line "${PREFIX}draft .*/lim/$1\.json: $4$"; echo $?)
  check "$1: json load fail" $(has_line "${PREFIX}json load fail$"; echo $?)
  check "$1: nothing reaches the library" $(logged 'OrmaVirtualVideoCreate'; [ $? -ne 0 ]; echo $?)
  [ "$FAILED" -eq "$failed" ] || tail -3 "$WORK/out.txt"
  rm -f "$WORK/lim/$1.json"
}

# accepted NAME KIND COUNT: the draft at the limit loads and exports.
accepted() {
  make_draft "$1" "$2" "$3"
  run "$WORK/lim/$1.json"
  local failed=$FAILED
  check "$1: loads" $(has_line "${PREFIX}json load success$"; echo $?)
  check "$1: exports" $(has_line "export success!"; echo $?)
  [ "$FAILED" -eq "$failed" ] || tail -3 "$WORK/out.txt"
  rm -f "$WORK/lim/$1.json"
}

refused big bytes $((32 * 1024 * 1024 + 1)) "33554433 bytes; a draft may have 33554432"
accepted at_size bytes $((32 * 1024 * 1024))
refused deep nesting 101 "arrays and objects nested more than 100 deep \(at byte [0-9]+\); a draft may nest 100"
accepted at_depth nesting 100
refused scenes scenes 10001 '"scenes" has 10001 elements; a list may have 10000'
accepted at_scenes scenes 10000
refused media media 101 '"scenes\[1\]\.media" has 101 media items; a scene may have 100'
accepted at_media media 100
refused words words 10001 '"subtitleExs\[0\]\.wordItem" has 10001 elements; a list may have 10000'
refused total total 505000 'more than 500000 list elements in all \(at "editorState\[99\]"\); a draft may have 500000'
accepted near_total total 495000

# Not JSON at all: the byte where reading stopped is named.
printf '{"scenes": [ {"media": [' >"$WORK/lim/cut.json"
run "$WORK/lim/cut.json"
check "cut: names the byte" $(has_line "${PREFIX}draft .*/lim/cut\.json: not JSON \(at byte [0-9]+\)$"; echo $?)
# Under a GBK locale the file is named in GBK bytes, as on the command line.
if locale -a | grep -qix 'zh_CN.gbk'; then
  gbk=$(printf '草稿' | iconv -f UTF-8 -t GBK)
  make_draft scenes scenes 10001
  mv "$WORK/lim/scenes.json" "$WORK/lim/$gbk.json"
  ( cd "$WORK" && LC_CTYPE=zh_CN.GBK "$PROGRAM" "$WORK/lim/$gbk.json" >"$WORK/out.txt" 2>&1 )
  check "GBK name: named in GBK bytes" $(LC_ALL=C grep -qF "lim/$gbk.json: \"scenes\" has 10001" "$WORK/out.txt"; echo $?)
  rm -f "$WORK/lim/$gbk.json"
else
  check "zh_CN.GBK locale is installed" 1
fi
run "$WORK/lim/missing.json"
check "missing: cannot be read" $(has_line "${PREFIX}draft .*/lim/missing\.json: cannot be read$"; echo $?)
finish
