#!/usr/bin/env bash
# Takes the screenshot of the example player for its README: the demo draft
# (make demo makes its media) played in the player on a private Xvfb
# display, the screen dumped with xwd 2.5 s in and cropped to the player's
# window with ffmpeg.
#   examples/preview/screenshot.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
[ -f out/demo-media/.complete-3 ] || { echo "screenshot: run make demo first (it makes the media)" >&2; exit 1; }
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
# Without a window manager the player's window sits at the top left corner.
ffmpeg -v error -y -i "$work/screen.xwd" -vf "crop=640:400:0:0" -frames:v 1 examples/preview/screenshot.png
grep -q "ormadraft ended with status 1" "$work/player.log" && echo "screenshot: examples/preview/screenshot.png"
