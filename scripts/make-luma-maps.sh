#!/usr/bin/env bash
# Regenerates the luma maps of the starter transitions with Debian's ffmpeg.
# A luma map is a grey picture: dark pixels switch to the next scene first.
set -euo pipefail
cd "$(dirname "$0")/../resources/transitions"
make_map() { # folder file expression
  mkdir -p "$1"
  ffmpeg -v error -y -f lavfi -i "nullsrc=s=640x360,format=gray" \
    -vf "geq=lum='$3'" -frames:v 1 -pix_fmt gray "$1/$2"
}
# Top-left corner first, bottom-right last.
make_map luma-diagonal diagonal.png '255*(X+Y)/(W+H)'
# A clock hand sweeping from twelve o'clock.
make_map luma-clock clock.png '255*mod(atan2(X-W/2,H/2-Y)+2*PI,2*PI)/(2*PI)'
# Eight vertical blinds opening left to right.
make_map luma-blinds blinds.png '255*mod(X,W/8)/(W/8)'
