# Theme requests through the whole program (core library double): a request
# with spaces, non-ASCII names and "%" in its paths fills its theme and is
# exported; requests that cannot be used fall back to the draft path, name
# the reason, and never write into the theme library.
source "$(dirname "$0")/lib.bash" "$1"

lib="$WORK/themes lib"
export ORMADRAFT_THEMES="$lib" ORMADRAFT_DRAFTS="$WORK/drafts"
mkdir -p "$lib/Simple"
cat >"$lib/Simple/config.json" <<'JSON'
{ "ver": 5, "name": "simple", "duration": 6, "size": {"width": 320, "height": 180},
  "mediaInfo": [ {"path": "p1.png", "timelineFrom": 0, "timelineTo": 3},
                 {"path": "p2.png", "timelineFrom": 3, "timelineTo": 6} ],
  "scenes": [ {"media": [ {"path": "p1.png", "trimTimeStart": 0, "trimTimeEnd": 3} ]},
              {"media": [ {"path": "p2.png", "trimTimeStart": 0, "trimTimeEnd": 3} ]} ],
  "musics": [ {"path": "music.m4a", "timelineFrom": 0, "timelineTo": 6, "volume": 0.5} ] }
JSON
library_before=$(listing "$lib")

folder="$WORK/my req %d/照片"
mkdir -p "$folder"
touch "$folder/clip %s.mp4" "$folder/照片 1.png" "$folder/third.png"
request() { # FILE JSON-MEMBERS: a request in $folder
  printf '{"ver": 1, "type": "TemplateThemes", %s}\n' "$2" >"$folder/$1"
}
request 'r 1.json' '"id": "Simple", "outputPath": "out %s/v.mp4",
  "medias": [{"path": "clip %s.mp4"}, {"path": "照片 1.png"}, {"path": "third.png"}]'
run "$folder/r 1.json"
check "the request is used" $(has_line "^load templateThems json success! themes json path:$WORK/drafts/config_temp_[0-9]+\.json $"; echo $?)
check "the drafts folder is announced" $(has_line "^Directory created: $WORK/drafts/$"; echo $?)
check "the video's folder is made" $([ -d "$folder/out %s" ]; echo $?)
check "the new draft loads" $(has_line "${PREFIX}json load success$"; echo $?)
check "the export runs" $(has_line "${PREFIX}export success!"; echo $?)
check "the output path is the request's" $(logged "OrmaSetOutPath(h1, \"$folder/out %s/v.mp4\")"; echo $?)
check "the first medium replaces the first placeholder" $(logged "OrmaSceneCreateMedia(\"$folder/clip %s.mp4\")"; echo $?)
check "the non-ASCII name is kept" $(logged "OrmaSceneCreateMedia(\"$folder/照片 1.png\")"; echo $?)
check "the third medium repeats a placeholder" $(logged "OrmaSceneCreateMedia(\"$folder/third.png\")"; echo $?)
check "three scenes of three seconds" $(logged 'OrmaCreateScene(6000000, 9000000)'; echo $?)
check "the theme's music is taken from the theme" $(logged "$lib//Simple/music.m4a"; echo $?)
check "the working draft is removed after the export" $([ -z "$(ls -A "$WORK/drafts")" ]; echo $?)
check "status 1 after an export" $([ "$STATUS" -eq 1 ]; echo $?)

# A bare file name from the request's own folder.
rm -rf "$WORK/drafts"
( cd "$folder" && ORMA_RECORDER_LOG="$WORK/calls.log" "$PROGRAM" 'r 1.json' >"$WORK/out.txt" 2>&1 )
check "a bare request name is taken from the current folder" $(logged "OrmaSceneCreateMedia(\"$folder/clip %s.mp4\")"; echo $?)

# refused NAME REASON: the argument goes on as a draft, which fails to load.
refused() {
  check "$1: falls back to the draft" $(has_line "${PREFIX}draft json path:$folder/bad.json$"; echo $?)
  check "$1: json load fail" $(has_line "${PREFIX}json load fail$"; echo $?)
  if [ -n "$2" ]; then
    check "$1: says why" $(grep -qF -- "$2" "$WORK/out.txt"; echo $?)
  else
    check "$1: nothing about themes" $(! grep -q "theme request" "$WORK/out.txt"; echo $?)
  fi
}
printf '{"ver": 1, "type": "templateThemes", "id": "Simple", "outputPath": "v.mp4", "medias": []}' >"$folder/bad.json"
run "$folder/bad.json"; refused "differently-cased type" ""
request bad.json '"id": "Simple", "medias": [{"path": "third.png"}]'
run "$folder/bad.json"; refused "no outputPath" '"outputPath" is missing'
request bad.json '"outputPath": "v.mp4", "medias": [{"path": "third.png"}]'
run "$folder/bad.json"; refused "no id" '"id" is missing'
request bad.json '"id": "", "outputPath": "v.mp4", "medias": [{"path": "third.png"}]'
run "$folder/bad.json"; refused "empty id" '"id" is empty'
request bad.json '"id": "Nowhere", "outputPath": "v.mp4", "medias": [{"path": "third.png"}]'
run "$folder/bad.json"; refused "unknown id" "no theme \"Nowhere\" in the theme library $lib/"
request bad.json '"id": "Simple", "outputPath": "v.mp4", "medias": []'
run "$folder/bad.json"; refused "empty medias" 'no usable "medias"'
request bad.json '"id": "Simple", "outputPath": "v.mp4", "medias": [{"path": "third.png"}, {"path": "nothere.json"}]'
run "$folder/bad.json"; refused "missing media-group file" "media-group file cannot be read: nothere.json"

# A request of 10 MB (a long description) is read like any other.
python3 -c "import json,sys; json.dump({'ver':1,'type':'TemplateThemes','id':'Simple','outputPath':'big.mp4',
  'description':'x'*10000000,'medias':[{'path':'third.png'}]}, open(sys.argv[1],'w'))" "$folder/big.json"
run "$folder/big.json"
check "a 10 MB request is used" $(has_line "^load templateThems json success!"; echo $?)
# More media than a theme run takes are refused by count.
python3 -c "import json,sys; json.dump({'ver':1,'type':'TemplateThemes','id':'Simple','outputPath':'v.mp4',
  'medias':[{'path':'third.png'}]*2001}, open(sys.argv[1],'w'))" "$folder/bad.json"
run "$folder/bad.json"; refused "2001 media" "names 2001 media; at most 2000 are taken"

check "the theme library was never written" $([ "$library_before" = "$(listing "$lib")" ]; echo $?)
finish
