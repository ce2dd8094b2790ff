# Trims given by a theme request's media-group file, through the whole
# program (core library double; every medium counts three seconds): which
# trims leave a gap between the laid-out slots and fail the export with
# -1694 when the theme's placeholder items have "replaceType" 0, and that a
# theme whose placeholder items have "replaceType" 1, as the sample themes
# have, places each scene for as long as its trim instead (the table in
# docs/decisions/themes.md and the manual's TEMPLATE THEMES).
source "$(dirname "$0")/lib.bash" "$1"

lib=$WORK/lib
export ORMADRAFT_THEMES=$lib ORMADRAFT_DRAFTS=$WORK/drafts
# theme NAME REPLACE_TYPE: two placeholders of three seconds.
theme() {
  mkdir -p "$lib/$1"
  cat >"$lib/$1/config.json" <<JSON
{ "ver": 5, "name": "$1", "duration": 6, "size": {"width": 320, "height": 180},
  "mediaInfo": [ {"path": "p1.png", "timelineFrom": 0, "timelineTo": 3, "replaceType": 1},
                 {"path": "p2.png", "timelineFrom": 3, "timelineTo": 6, "replaceType": 1} ],
  "scenes": [ {"media": [ {"path": "p1.png", "trimTimeStart": 0, "trimTimeEnd": 3, "replaceType": $2} ]},
              {"media": [ {"path": "p2.png", "trimTimeStart": 0, "trimTimeEnd": 3, "replaceType": $2} ]} ] }
JSON
}
theme Marked0 0
theme Marked1 1
touch "$WORK/a.png" "$WORK/b.png"

# fill THEME MEDIA-COUNT RECORDS: a request with one or two media and a
# media-group file of these records, run from $WORK.
fill() {
  printf '{"medias": [%s]}\n' "$3" >"$WORK/group.json"
  local medias='{"path": "a.png"}'
  [ "$2" -eq 2 ] && medias+=', {"path": "b.png"}'
  printf '{"ver": 1, "type": "TemplateThemes", "id": "%s", "outputPath": "v.mp4", "medias": [%s, {"path": "%s"}]}\n' \
    "$1" "$medias" "$WORK/group.json" >"$WORK/request.json"
  run "$WORK/request.json"
}
succeeds() { has_line "${PREFIX}export success!"; }
fails_1694() { has_line '^export failed, errorcode:-1694$' || has_line "${PREFIX}export failed, errorcode:-1694$"; }

fill Marked0 2 '{"path": "a.png", "trimTimeStart": 0, "trimTimeEnd": 1.5}, {"path": "b.png"}'
check "replaceType 0: the first medium trimmed shorter, with a second after it, fails with -1694" $(fails_1694; echo $?)
fill Marked0 2 '{"path": "a.png", "trimTimeStart": 0, "trimTimeEnd": 4.5}, {"path": "b.png"}'
check "replaceType 0: the first medium trimmed longer, with a second after it, fails with -1694" $(fails_1694; echo $?)
fill Marked0 2 '{"path": "a.png"}, {"path": "b.png", "trimTimeStart": 0, "trimTimeEnd": 2}'
check "replaceType 0: the second medium trimmed to another length fails with -1694" $(fails_1694; echo $?)
fill Marked0 2 '{"path": "a.png", "trimTimeStart": 0.5, "trimTimeEnd": 3.5}, {"path": "b.png", "trimTimeStart": 1, "trimTimeEnd": 4}'
check "replaceType 0: trims that keep the whole-second lengths work" $(succeeds; echo $?)
check "replaceType 0: ... and the scenes follow each other" $(logged 'OrmaCreateScene(3000000, 6000000)'; echo $?)
fill Marked0 1 '{"path": "a.png", "trimTimeStart": 0, "trimTimeEnd": 1.5}'
check "replaceType 0: a single medium may be trimmed to any length" $(succeeds && logged 'OrmaCreateScene(0, 1500000)'; echo $?)

fill Marked1 2 '{"path": "a.png", "trimTimeStart": 0, "trimTimeEnd": 1.5}, {"path": "b.png"}'
check "replaceType 1: the first medium trimmed shorter works" $(succeeds; echo $?)
check "replaceType 1: ... it lasts its trim" $(logged 'OrmaCreateScene(0, 1500000)'; echo $?)
check "replaceType 1: ... and the second follows at once" $(logged 'OrmaCreateScene(1500000, 4500000)'; echo $?)
fill Marked1 2 '{"path": "a.png"}, {"path": "b.png", "trimTimeStart": 0, "trimTimeEnd": 2}'
check "replaceType 1: the second medium trimmed works and lasts its trim" \
  $(succeeds && logged 'OrmaCreateScene(3000000, 5000000)'; echo $?)
finish
