# Every failure says why on standard error (the file, the key, the value, or
# the core library's own reason) in one line "ormadraft: ...", while standard
# output keeps exactly its lines ("json load fail", "export failed,
# errorcode:N") and gains none.
source "$(dirname "$0")/lib.bash" "$1"

err_has() { grep -qF -- "$1" "$WORK/err.txt"; }
# Standard output holds only the program's own kinds of line.
out_clean() { ! grep -q '^ormadraft:' "$WORK/out.txt"; }

mkdir -p "$WORK/p"
write_draft "$WORK/p/draft.json"

# Drafts that are not loaded.
echo '{}' >"$WORK/p/empty-object.json"
run "$WORK/p/empty-object.json"
check "{}: json load fail on standard output" $(has_line "${PREFIX}json load fail$"; echo $?)
check "{}: the reason on standard error" \
  $(err_has "ormadraft: json load fail: draft $WORK/p/empty-object.json: it has no \"mediaInfo\" and no \"scenes\" to take the media from"; echo $?)
check "{}: standard output gains no line" $(out_clean; echo $?)

echo '{"scenes": [{"media": [{"path": "a.png"}]}, {"identifier": "s2"}]}' >"$WORK/p/no-media-info.json"
run "$WORK/p/no-media-info.json"
check "no mediaInfo: the scene without media is named" \
  $(err_has "it has no \"mediaInfo\", and scene 2 of \"scenes\" has no \"media\" to take them from"; echo $?)

echo '{"mediaInfo": [{"path": "a.png", "timelineFrom": 0, "timelineTo": 1}]}' >"$WORK/p/no-scenes.json"
run "$WORK/p/no-scenes.json"
check "no scenes: said" $(err_has "draft $WORK/p/no-scenes.json: it has no \"scenes\""; echo $?)

run "$WORK/p/drfat.json"
check "a typo in the draft's name: json load fail" $(has_line "${PREFIX}json load fail$"; echo $?)
check "a typo in the draft's name: the system's reason" \
  $(err_has "json load fail: draft $WORK/p/drfat.json: cannot be read (No such file or directory)"; echo $?)

printf '{"scenes": [' >"$WORK/p/cut.json"
run "$WORK/p/cut.json"
check "not JSON: where it stops" $(err_has "json load fail: draft $WORK/p/cut.json: not JSON (at byte "; echo $?)

# A valid draft in a folder where its working copy cannot be written: a
# read-only file system (root writes anywhere else).
mkdir -p "$WORK/ro"
if mount -t tmpfs -o size=64k tmpfs "$WORK/ro" 2>/dev/null; then
  write_draft "$WORK/ro/draft.json"
  if mount -o remount,ro "$WORK/ro" 2>/dev/null; then
    run "$WORK/ro/draft.json"
    check "read-only folder: json load fail" $(has_line "${PREFIX}json load fail$"; echo $?)
    check "read-only folder: the working copy and the reason are named" \
      $(err_has "json load fail: the working copy $WORK/ro/draft_" && err_has "cannot be written (Read-only file system); the draft's folder must be writable"; echo $?)
  fi
  umount "$WORK/ro"
else
  echo "read-only folder: skipped, no tmpfs can be mounted here"
fi

# Export failures: the message the export wrote, and the cause.
cat >"$WORK/p/gap.json" <<'JSON'
{ "size": {"width": 320, "height": 180},
  "mediaInfo": [ {"path": "a.png", "timelineFrom": 0, "timelineTo": 1} ],
  "scenes": [ {"media": [ {"path": "b.png", "trimTimeStart": 0, "trimTimeEnd": 2, "timelineFrom": -1} ]} ] }
JSON
run "$WORK/p/gap.json"
check "-1694: the specified last line" $(has_line "${PREFIX}export failed, errorcode:-1694$"; echo $?)
check "-1694: message and the scene's medium, times and position" \
  $(err_has 'ormadraft: export failed, errorcode:-1694: Scene or MediaInfo  timeline is error (scene 1, medium 1 "b.png" gives no "timelineFrom"/"timelineTo" (-1, 0) and no "mediaInfo" entry of that path and of its length (2 s trimmed) starts at 0 s'; echo $?)
check "-1694: standard output gains no line" $(out_clean; echo $?)

cat >"$WORK/p/transition.json" <<'JSON'
{ "size": {"width": 320, "height": 180},
  "mediaInfo": [ {"path": "a.png", "timelineFrom": 0, "timelineTo": 1} ],
  "scenes": [ {"media": [ {"path": "a.png", "trimTimeStart": 0, "trimTimeEnd": 1} ],
               "transition": {"folderPath": "transitions/nowhere", "duration": 0.5}} ] }
JSON
run "$WORK/p/transition.json"
check "missing transition: errorcode 0 as specified" $(has_line "${PREFIX}export failed, errorcode:0$"; echo $?)
check "missing transition: the folder is named" \
  $(err_has "ormadraft: export failed, errorcode:0: scene 1, \"transition\" \"folderPath\" \"transitions/nowhere\": $WORK/p/transitions/nowhere does not exist"; echo $?)

( cd "$WORK" && ORMA_RECORDER_SCRIPT='OrmaSceneCreateMedia=0' "$PROGRAM" "$WORK/p/draft.json" >"$WORK/out.txt" 2>"$WORK/err.txt" )
check "-1735: the specified last line" $(has_line "${PREFIX}export failed, errorcode:-1735$"; echo $?)
check "-1735: the scene and the medium" \
  $(err_has 'ormadraft: export failed, errorcode:-1735: Scene media path is null (scene 1, medium 1 "a.png")'; echo $?)

rm -f "$WORK/calls.log"
( cd "$WORK" && ORMA_RECORDER_LOG="$WORK/calls.log" ORMA_RECORDER_SCRIPT='OrmaEditMedia=-23' "$PROGRAM" "$WORK/p/draft.json" >"$WORK/out.txt" 2>"$WORK/err.txt" )
check "a failed render: the specified last line" $(has_line "${PREFIX}export failed, errorcode:-23$"; echo $?)
check "a failed render: where it was writing" \
  $(err_has "ormadraft: export failed, errorcode:-23: Edit media fail (writing \"$WORK/p/video.mp4\")"; echo $?)
check "a failed render: the library is asked why" $(logged 'OrmaGetLastError(out, 2048)'; echo $?)
check "a failed render: standard output gains no line" $(out_clean; echo $?)

echo '{}' >"$WORK/p/nothing.json"
run "$WORK/p/draft.json" "$WORK/p/nothing.json" 5 2
check "an empty range: the range is named" \
  $(err_has "errorcode:-2261: Export range is empty (the range from 5 s to 2 s"; echo $?)

# A success says nothing on standard error.
run "$WORK/p/draft.json"
check "success: the last line" $(has_line "${PREFIX}export success!"; echo $?)
check "success: standard error stays empty" $([ ! -s "$WORK/err.txt" ]; echo $?)
finish
