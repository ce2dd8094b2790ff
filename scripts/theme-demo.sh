#!/usr/bin/env bash
# The theme demo: fills the sample theme travel-summer with the demo's media
# (examples/themes/summer.json) and writes out/theme.mp4 through the program,
# started from another folder with the request's bare file name, as a caller
# would. The new draft goes to the drafts folder of docs/porting.md.
#   scripts/theme-demo.sh BUILD_DIR
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
program="$PWD/$build/ormadraft"
bash scripts/demo.sh "$build" --media-only
bash scripts/make-theme-media.sh
rm -f out/theme.mp4
# The exit status is 1 after every export attempt; the result is the file.
(cd examples/themes && "$program" summer.json) || true
if [ -s out/theme.mp4 ]; then
  echo "theme-demo: wrote out/theme.mp4"
  ffprobe -v error -show_entries stream=codec_name,width,height:format=duration -of compact=p=0 out/theme.mp4 || true
else
  echo "theme-demo: no video was written" >&2
  exit 1
fi
