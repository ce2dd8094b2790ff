#!/usr/bin/env bash
# Makes the picture at the top of the README: a contact sheet of the demo
# video, twelve frames 2.5 s apart (the middle of each demo scene), each
# labelled with its time, in a 4 x 3 grid, as a small JPEG.
#   scripts/contact-sheet.sh [VIDEO [PICTURE]]
# defaults: out/demo.mp4 (made by `make demo`) and docs/images/demo-contact-sheet.jpg.
set -euo pipefail
cd "$(dirname "$0")/.."
video=${1:-out/demo.mp4}
picture=${2:-docs/images/demo-contact-sheet.jpg}
if [ ! -s "$video" ]; then
  echo "contact-sheet: $video is missing; make it with 'make demo'" >&2
  exit 1
fi
mkdir -p "$(dirname "$picture")"
# One frame every 2.5 s from 1.25 s on, 288 pixels wide, its time written in
# its corner; then the grid with a 4-pixel margin and spacing.
ffmpeg -v error -y -i "$video" -an -frames:v 1 \
  -vf "select='gte(t,1.25)*lt(mod(t-1.25,2.5),0.0333)',scale=288:-2,drawtext=text='%{pts\:hms}':x=6:y=h-th-6:fontsize=13:fontcolor=white:box=1:boxcolor=black@0.55:boxborderw=3,tile=4x3:margin=4:padding=4:color=0x202020" \
  -q:v 4 "$picture"
echo "contact-sheet: wrote $picture ($(stat -c %s "$picture") bytes)"
