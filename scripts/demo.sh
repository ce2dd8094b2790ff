#!/usr/bin/env bash
# The demo: makes its media with Debian's ffmpeg (scripts/demo-media.sh,
# nothing is downloaded), then renders examples/demo/draft.json with
# examples/demo/export.json to out/demo.mp4 through the program, printing
# its progress lines.
#   scripts/demo.sh BUILD_DIR [--media-only]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
program="$build/ormadraft"
if [ ! -x "$program" ]; then
  echo "demo: $program is missing; build first (make build)" >&2
  exit 1
fi

bash scripts/demo-media.sh
# The theme demo only needs the media.
[ "${2:-}" = "--media-only" ] && exit 0

mkdir -p out
rm -f out/demo.mp4
# The program's exit status is 1 after every export attempt; the result is
# in its last line and in the file.
"$program" "$PWD/examples/demo/draft.json" "$PWD/examples/demo/export.json" || true
if [ -s out/demo.mp4 ]; then
  echo "demo: wrote out/demo.mp4"
  ffprobe -v error -show_entries stream=codec_name,width,height,r_frame_rate:format=duration \
    -of compact=p=0 out/demo.mp4 || true
else
  echo "demo: no video was written" >&2
  exit 1
fi
