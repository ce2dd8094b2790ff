#!/usr/bin/env bash
# Every file under examples/ through the real program, so that no example
# can stop working unnoticed. Each JSON file is one of:
#   - a draft (it has "scenes"): exported with the export settings file
#     beside it (export.json), its size overridden to 320x180 to keep the
#     test short; the video must have the draft's length and size;
#   - an export settings file used that way, or a media-group file named by
#     a theme request: checked through the file that uses it;
#   - a theme request ("type" "TemplateThemes"): run as the examples' README
#     says, from the top folder of a copy of the project's examples, against
#     the sample themes the build uses (their own canvas: a request takes no
#     export settings); the video must read to its end.
# Success is the program's last line ("... -- export success! time:T(s)").
# A JSON file that is none of these fails the test, so a new example must
# be added here. examples/preview/ (the Tk player, its screenshot and the
# script that takes it) is run by preview.example_player; READMEs and
# pictures are documentation.
#   render_examples.sh BUILD_DIR SOURCE_DIR
set -uo pipefail
build=$(cd "$1" && pwd)
root=$(cd "$2" && pwd)
program=$build/ormadraft
scratch=$(mktemp -d /tmp/ormadraft-examples-XXXXXX)
trap 'rm -rf "$scratch"' EXIT
passed=0
failed=0
check() { # name, condition result (0 ok)
  if [ "$2" -eq 0 ]; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAIL: $1"; fi
}
json() { # FILE EXPRESSION: a value of a JSON file (python3's json), "" when missing
  python3 -c 'import json, sys
try:
    value = eval(sys.argv[2], {"d": json.load(open(sys.argv[1], encoding="utf-8"))})
except Exception:
    value = ""
print(value if value is not None else "")' "$1" "$2"
}
# probe FILE: "width height duration" of the video stream and the file.
probe() {
  ffprobe -v error -select_streams v:0 -show_entries stream=width,height:format=duration -of csv=p=0 "$1" |
    tr '\n,' '  '
}
# readable FILE: every packet of the file reads without an error message
# (a stream copy: decoding every frame cost more than the renders here).
readable() { [ -s "$1" ] && [ -z "$(ffmpeg -nostdin -v error -i "$1" -c copy -f null - 2>&1 | head -3)" ]; }

# The media the examples name (out/demo-media, made once per checkout and
# shared with the demo and the package test) and the sample themes' media.
bash "$root/scripts/demo-media.sh" >/dev/null || { echo "FAIL: the demo media cannot be made"; exit 1; }
bash "$root/scripts/make-theme-media.sh" || { echo "FAIL: the theme media cannot be made"; exit 1; }
cp -r "$root/examples" "$scratch/examples"
mkdir -p "$scratch/out" "$scratch/drafts"
ln -s "$root/out/demo-media" "$scratch/out/demo-media"
ln -s "$root/resources" "$scratch/resources" # the demo names transitions and effects of the project's own
export ORMADRAFT_DRAFTS=$scratch/drafts
unset ORMADRAFT_THEMES ORMADRAFT_RESOURCES

declare -A used # files checked through another one
declare -A kind # every JSON file: draft, request or other (one python3 run for all)
while IFS=$'\t' read -r -d '' file what; do kind[$file]=$what; done < <(
  find "$scratch/examples" -name '*.json' -print0 | python3 -c '
import json, sys
for path in sys.stdin.read().split("\0")[:-1]:
    try:
        d = json.load(open(path, encoding="utf-8"))
    except Exception:
        d = None
    what = "other"
    if isinstance(d, dict) and d.get("scenes") is not None:
        what = "draft"
    elif isinstance(d, dict) and d.get("type") == "TemplateThemes":
        what = "request"
    sys.stdout.write(path + "\t" + what + "\0")
')
started=$SECONDS

# Drafts first: they mark their export settings files as used.
while IFS= read -r -d '' file; do
  [ "${kind[$file]}" = draft ] || continue
  name=${file#"$scratch/"}
  folder=$(dirname "$file")
  settings=$folder/export.json
  small=$scratch/out/$(basename "$folder")-settings.json
  video=$scratch/out/$(basename "$folder").mp4
  if [ -f "$settings" ]; then
    used[$settings]=1
    python3 - "$settings" "$small" "$video" <<'PY'
import json, sys
settings = json.load(open(sys.argv[1], encoding="utf-8"))
settings.setdefault("video", {}).update({"w": 320, "h": 180})
settings["outUrl"] = sys.argv[3]
json.dump(settings, open(sys.argv[2], "w"))
PY
  else
    printf '{"video": {"w": 320, "h": 180}, "outUrl": "%s"}\n' "$video" >"$small"
  fi
  t0=$SECONDS
  (cd "$scratch" && "$program" "$file" "$small" >"$scratch/out.txt" 2>"$scratch/err.txt")
  last=$(tail -n 1 "$scratch/out.txt")
  check "$name exports (last line: $last; $(tail -n 2 "$scratch/err.txt" | tr '\n' ' '))" \
    $([[ $last == *"export success!"* ]]; echo $?)
  read -r width height duration <<<"$(probe "$video")"
  want=$(json "$file" 'd.get("duration", "")')
  check "$name gives 320x180 (got ${width:-?}x${height:-?})" $([ "${width:-}" = 320 ] && [ "${height:-}" = 180 ]; echo $?)
  check "$name lasts its \"duration\" $want s (got ${duration:-?})" \
    $(awk -v a="${duration:-0}" -v b="$want" 'BEGIN { exit !(b > 0 && a - b < 0.1 && b - a < 0.1) }'; echo $?)
  check "$name reads to its end" $(readable "$video"; echo $?)
  echo "examples: $name in $((SECONDS - t0)) s"
done < <(find "$scratch/examples" -name '*.json' -print0 | sort -z)

# Theme requests: they mark their media-group files as used.
while IFS= read -r -d '' file; do
  [ "${kind[$file]}" = request ] || continue
  name=${file#"$scratch/"}
  folder=$(dirname "$file")
  output=$(json "$file" 'd["outputPath"]')
  [[ $output == /* ]] || output=$folder/$output
  for group in $(json "$file" '" ".join(m["path"] for m in d.get("medias", []) if ".json" in m.get("path", "").lower())'); do
    [[ $group == /* ]] || group=$scratch/$group # taken as written, from the folder the program runs in
    used[$(realpath -m "$group")]=1
  done
  rm -f "$output"
  t0=$SECONDS
  (cd "$scratch" && "$program" "$name" >"$scratch/out.txt" 2>"$scratch/err.txt")
  last=$(tail -n 1 "$scratch/out.txt")
  check "$name exports (last line: $last; $(tail -n 2 "$scratch/err.txt" | tr '\n' ' '))" \
    $([[ $last == *"export success!"* ]]; echo $?)
  read -r width height duration <<<"$(probe "$output")"
  check "$name writes a video ($output: ${width:-?}x${height:-?}, ${duration:-?} s)" \
    $(awk -v a="${duration:-0}" 'BEGIN { exit !(a >= 1) }'; echo $?)
  check "$name reads to its end" $(readable "$output"; echo $?)
  echo "examples: $name in $((SECONDS - t0)) s"
done < <(find "$scratch/examples" -name '*.json' -print0 | sort -z)

# Every JSON file was rendered or used by one that was.
while IFS= read -r -d '' file; do
  name=${file#"$scratch/"}
  [ "${kind[$file]}" = other ] || continue
  check "$name is rendered, or used by an example that is" $([ -n "${used[$(realpath -m "$file")]:-}" ]; echo $?)
done < <(find "$scratch/examples" -name '*.json' -print0 | sort -z)
check "examples/preview is run by preview.example_player" \
  $(grep -qF '"examples", "preview", "player.py"' "$root/tests/preview/example_player_test.py"; echo $?)

echo "examples: all rendered in $((SECONDS - started)) s"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
