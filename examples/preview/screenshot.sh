#!/usr/bin/env bash
# Takes the screenshot of the example player for its README: the demo draft
# (its media made first by scripts/demo-media.sh, which does nothing when
# they are there) played in the player on a private Xvfb
# display, the screen dumped with xwd 2.5 s in and cropped to the player's
# window with ffmpeg.
#   examples/preview/screenshot.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
# The media script knows whether its media are complete; asking it keeps
# this script right when the media change.
bash scripts/demo-media.sh
work=$(mktemp -d)
exec 3>"$work/display"
Xvfb -displayfd 3 -screen 0 1280x720x24 -nolisten tcp >/dev/null 2>&1 &
server=$!
trap 'kill $server; rm -rf "$work"' EXIT
for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.1; done
export DISPLAY=":$(head -1 "$work/display")" SDL_AUDIODRIVER=dummy
python3 examples/preview/player.py --program "$build/ormadraft" --close-after 5 \
  "$PWD/examples/demo/draft.json" >"$work/player.log" &
player=$!
sleep 2.5
xwd -silent -root >"$work/screen.xwd"
wait $player
# Without a window manager the player's window sits at the top left corner:
# its 640×400 pixels are taken from the dump as a PPM (Debian's ffmpeg reads
# this dump's greys as white) and written as PNG.
python3 - "$work/screen.xwd" "$work/player.ppm" <<'PY'
import struct, sys
dump = open(sys.argv[1], "rb").read()
h = struct.unpack(">25I", dump[:100])
start, order, line, masks = h[0] + h[19] * 12, "little" if h[7] == 0 else "big", h[12], h[14:17]
rows = []
for y in range(400):
    for x in range(640):
        v = int.from_bytes(dump[start + y * line + x * 4:start + y * line + x * 4 + 4], order)
        rows.append(bytes((v & m) >> ((m & -m).bit_length() - 1) for m in masks))
open(sys.argv[2], "wb").write(b"P6 640 400 255\n" + b"".join(rows))
PY
ffmpeg -v error -y -i "$work/player.ppm" -frames:v 1 examples/preview/screenshot.png
grep -q "ormadraft ended with status 1" "$work/player.log" && echo "screenshot: examples/preview/screenshot.png"
