#!/usr/bin/env bash
# Fills each sample theme of resources/TemplateThemes with 1 to 10 of the
# demo's media (clips of 1, 3, 4 and 6 s and pictures, in a fixed cycle)
# through the program, and makes a contact sheet of each video
# (scripts/contact-sheet.sh, a frame every half second), so that a theme
# can be looked at for every count: out/theme-sheets/ID-N.png beside the
# video ID-N.mp4. The themes are rendered from a copy whose canvas is
# 320x180 (their rectangles are fractions of the canvas, so it is the same
# theme), next to links to the real resource folders.
#   scripts/theme-sheets.sh BUILD_DIR [ID...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
shift || true
ids=("$@")
[ ${#ids[@]} -gt 0 ] || ids=(travel-summer Slideshow family-layers)
program=$PWD/$build/ormadraft
bash scripts/demo.sh "$build" --media-only >/dev/null
bash scripts/make-theme-media.sh
out=$PWD/out/theme-sheets
mkdir -p "$out"
scratch=$(mktemp -d /tmp/ormadraft-theme-sheets-XXXXXX)
trap 'rm -rf "$scratch"' EXIT
for folder in resources/*; do
  [ "$(basename "$folder")" = TemplateThemes ] || ln -s "$PWD/$folder" "$scratch/"
done
cp -r resources/TemplateThemes "$scratch/"
find "$scratch/TemplateThemes" -name config.json -exec python3 -c '
import json, sys
for path in sys.argv[1:]:
    theme = json.load(open(path, encoding="utf-8"))
    theme["size"] = {"width": 320, "height": 180}
    json.dump(theme, open(path, "w", encoding="utf-8"), ensure_ascii=False, indent=2)
' {} +

media=(pattern.mp4 fractal.png gradients.mp4 bars.mp4 portrait.mp4 backdrop.jpg greenscreen.mp4)
for id in "${ids[@]}"; do
  for count in 1 2 3 4 5 6 7 8 9 10; do
    medias=""
    for ((i = 0; i < count; i++)); do
      medias+="${medias:+, }{\"path\": \"$PWD/out/demo-media/${media[i % ${#media[@]}]}\"}"
    done
    printf '{"ver": 1, "type": "TemplateThemes", "id": "%s", "outputPath": "%s", "medias": [%s]}\n' \
      "$id" "$out/$id-$count.mp4" "$medias" >"$scratch/request.json"
    rm -f "$out/$id-$count.mp4"
    ORMADRAFT_THEMES=$scratch/TemplateThemes ORMADRAFT_DRAFTS=$scratch/drafts \
      "$program" "$scratch/request.json" >"$scratch/run.txt" 2>&1 || true
    if ! tail -n 1 "$scratch/run.txt" | grep -q 'export success!'; then
      echo "theme-sheets: $id with $count media failed: $(tail -n 1 "$scratch/run.txt")" >&2
      continue
    fi
    bash scripts/contact-sheet.sh "$out/$id-$count.mp4" "$out/$id-$count.png" 0.5 10 >/dev/null
    echo "theme-sheets: $id with $count media: $out/$id-$count.png"
  done
done
