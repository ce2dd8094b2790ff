# A second argument that is a preview command: with a window it puts the run
# into preview mode; with window 0 it is an ordinary export settings file.
source "$(dirname "$0")/lib.bash" "$1"

write_draft "$WORK/d.json"
echo '{"type": "ThemesPreview", "hWnd": "0", "pipeName": "p"}' >"$WORK/pv0.json"
run "$WORK/d.json" "$WORK/pv0.json"
check "window 0 is an ordinary export" $(logged 'OrmaSetFrameSize(h1, 320, 180)'; echo $?)
check "window 0 logs the export path" $(has_line "export path:$WORK/pv0.json"; echo $?)

# Nobody hosts the pipe "p": the control thread ends on its connect error and
# the preview keeps waiting for a "stop" that cannot come, until it is ended.
echo '{"type": "ThemesPreview", "hWnd": "0x1A2B", "pipeName": "p"}' >"$WORK/pv1.json"
rm -f "$WORK/calls.log"
( cd "$WORK" && ORMA_RECORDER_LOG="$WORK/calls.log" timeout 2 "$PROGRAM" "$WORK/d.json" "$WORK/pv1.json" \
    >"$WORK/out.txt" 2>"$WORK/err.txt" )
STATUS=$?
check "a window goes through the theme step" $(has_line "draft json path:$WORK/d.json"; echo $?)
check "a window selects the preview" $(logged 'OrmaSetPreviewWindowsHwnd(h1, 6699)'; echo $?)
check "a preview sets no frame size" $(logged 'OrmaSetFrameSize'; [ $? -ne 0 ]; echo $?)
check "the preview is started" $(logged 'OrmaPreview(h1)'; echo $?)
check "a missing pipe is reported" $(grep -qx 'CreateFile failed: 2' "$WORK/err.txt"; echo $?)
check "without a pipe the preview waits until ended" $([ "$STATUS" -eq 124 ]; echo $?)

echo '{"type": "themespreview", "hWnd": "1A2B"}' >"$WORK/pv2.json"
run "$WORK/d.json" "$WORK/pv2.json"
check "lower-case type is no preview command" $(logged 'OrmaSetFrameSize(h1, 320, 180)'; echo $?)
finish
