# A draft with an export settings file: loaded, exported through the core
# library, the working copy deleted, status 1 and the success line.
source "$(dirname "$0")/lib.bash" "$1"

mkdir -p "$WORK/p"
write_draft "$WORK/p/Draft.json"
echo '{"video": {"fps": 30, "encoder": "libx264"}, "outUrl": "'"$WORK"'/p/out.mp4"}' >"$WORK/p/export.json"
before=$(listing "$WORK/p")
run "$WORK/p/Draft.json" "$WORK/p/export.json"
check "status 1 after an export" $([ "$STATUS" -eq 1 ]; echo $?)
check "draft path is logged" $(has_line "${PREFIX}draft path:$WORK/p/Draft.json$"; echo $?)
check "export path is logged" $(has_line "${PREFIX}export path:$WORK/p/export.json$"; echo $?)
check "json load success" $(has_line "${PREFIX}json load success$"; echo $?)
check "success line with the time" $(has_line "${PREFIX}export success! time:[0-9]+\.[0-9]\(s\)$"; echo $?)
check "ExportDraft out! is printed" $(has_line '^ExportDraft out!$'; echo $?)
check "no limit without a range" $(has_line '^nLimitTimelineStart:0 nLimitTimelineEnd:0$'; echo $?)
check "output path from the settings" $(logged "OrmaSetOutPath(h1, \"$WORK/p/out.mp4\")"; echo $?)
check "frame rate from the settings" $(logged 'OrmaSetFPS(h1, 30)'; echo $?)
check "the export runs" $(logged 'OrmaEditMedia(h1)'; echo $?)
check "working copy deleted, nothing else written" $([ "$before" = "$(listing "$WORK/p")" ]; echo $?)

# One argument: the draft alone, video.mp4 beside it.
run "$WORK/p/Draft.json"
check "one argument logs the draft path" $(has_line "${PREFIX}draft json path:$WORK/p/Draft.json$"; echo $?)
check "default output beside the draft" $(logged "OrmaSetOutPath(h1, \"$WORK/p/video.mp4\")"; echo $?)
check "one argument exports" $(has_line "${PREFIX}export success!"; echo $?)

# A failed export still ends with status 1 and names the code.
rm -f "$WORK/calls.log"
( cd "$WORK" && ORMA_RECORDER_SCRIPT='OrmaVirtualVideoCreate=0' "$PROGRAM" "$WORK/p/Draft.json" "$WORK/p/export.json" >"$WORK/out.txt" )
STATUS=$?
check "failed export gives status 1" $([ "$STATUS" -eq 1 ]; echo $?)
check "failed export prints its code" $(has_line "${PREFIX}export failed, errorcode:-1515$"; echo $?)
check "failed export deletes the working copy" $([ "$before" = "$(listing "$WORK/p")" ]; echo $?)
finish
