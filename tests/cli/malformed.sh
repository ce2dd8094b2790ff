# The malformed-input corpus (tests/malformed, made by its make_corpus.py):
# damaged drafts, export settings, preview command files and theme requests.
# Every one ends within 10 s with the exit status of the command-line rules
# (0 when the draft cannot be loaded, 1 otherwise), never a crash or a
# sanitizer report, and says what happened. The corpus's resource files
# (transitions, animations, masks, effects, stickers, word art, caption
# styles, look-up tables) are read by the core library:
# tests/engine_unit/malformed_resources_test.cpp runs them.
source "$(dirname "$0")/lib.bash" "$1"
corpus=$(cd "$(dirname "$0")/../malformed" && pwd)

write_draft "$WORK/good.json"
echo '{"video": {"fps": 25}}' >"$WORK/good-settings.json"

# one KIND FILE ARGS...: runs the program and checks how it ended.
one() {
  local kind=$1 file=$2
  shift 2
  ( cd "$WORK" && timeout 10 "$PROGRAM" "$@" >"$WORK/out.txt" 2>"$WORK/err.txt" )
  local status=$?
  if [ "$status" -ne 0 ] && [ "$status" -ne 1 ]; then
    check "$kind/$(basename "$file") ends with 0 or 1 (got $status)" 1
  elif grep -qE 'runtime error|AddressSanitizer|LeakSanitizer' "$WORK/err.txt"; then
    check "$kind/$(basename "$file") runs clean: $(head -c 300 "$WORK/err.txt")" 1
  elif [ "$kind" != themes ] && ! grep -qE 'json load fail|export success|export failed' "$WORK/out.txt"; then
    check "$kind/$(basename "$file") says how it ended" 1
  else
    check ok 0
  fi
}

for f in "$corpus"/drafts/*.json; do
  cp "$f" "$WORK/draft.json"
  one drafts "$f" draft.json good-settings.json
done
for f in "$corpus"/settings/*.json; do
  cp "$f" "$WORK/settings.json"
  one settings "$f" good.json settings.json
done
for f in "$corpus"/preview/*.json; do
  cp "$f" "$WORK/preview.json"
  one preview "$f" good.json preview.json
done
for f in "$corpus"/themes/*.json; do
  cp "$f" "$WORK/theme.json"
  one themes "$f" theme.json
done
finish
