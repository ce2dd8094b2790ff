#!/usr/bin/env bash
# Makes the picture at the top of the README: a contact sheet of the demo
# video, twelve frames 2.5 s apart (the middle of each demo scene), each
# labelled with its time, in a 4 x 3 grid, as a small JPEG. Given a step,
# it shows any video whole instead: a frame every STEP seconds from STEP/2
# on, COLUMNS to a row (6 by default), as many rows as the video needs
# (scripts/theme-sheets.sh looks at filled themes this way).
#   scripts/contact-sheet.sh [VIDEO [PICTURE [STEP [COLUMNS]]]]
# defaults: out/demo.mp4 (made by `make demo`) and docs/images/demo-contact-sheet.jpg.
set -euo pipefail
cd "$(dirname "$0")/.."
video=${1:-out/demo.mp4}
picture=${2:-docs/images/demo-contact-sheet.jpg}
step=${3:-}
columns=${4:-6}
if [ ! -s "$video" ]; then
  echo "contact-sheet: $video is missing; make it with 'make demo'" >&2
  exit 1
fi
mkdir -p "$(dirname "$picture")"
# One frame in each window of a frame's length that starts at a multiple of
# the step (offset by half a step), its time written in its corner; then
# the grid with a 4-pixel margin and spacing.
frame=$(ffprobe -v error -select_streams v:0 -show_entries stream=r_frame_rate -of csv=p=0 "$video" |
  awk -F/ '{ printf "%.6f", ($2 ? $2 : 1) / $1 }')
# The time stands in the bottom left corner, or, for a whole video, in a
# strip under each frame, where it hides nothing that the video shows.
if [ -z "$step" ]; then
  step=2.5 width=288 grid=4x3 strip="" place="x=6:y=h-th-6"
else
  strip=",pad=iw:ih+18:0:0:color=0x202020" place="x=(w-tw)/2:y=h-th-3"
  duration=$(ffprobe -v error -show_entries format=duration -of csv=p=0 "$video")
  count=$(awk -v d="$duration" -v s="$step" 'BEGIN { n = int((d - s / 2) / s) + 1; print (n < 1 ? 1 : n) }')
  rows=$(((count + columns - 1) / columns))
  width=160 grid=${columns}x$rows
fi
offset=$(awk -v s="$step" 'BEGIN { print s / 2 }')
ffmpeg -v error -y -i "$video" -an -frames:v 1 \
  -vf "select='gte(t,$offset)*lt(mod(t-$offset,$step),$frame)',scale=$width:-2$strip,drawtext=text='%{pts\:hms}':$place:fontsize=13:fontcolor=white:box=1:boxcolor=black@0.55:boxborderw=3,tile=$grid:margin=4:padding=4:color=0x202020" \
  -q:v 4 "$picture"
echo "contact-sheet: wrote $picture ($(stat -c %s "$picture") bytes)"
