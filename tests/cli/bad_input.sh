# Drafts that cannot be loaded: "json load fail", status 0, no crash, nothing
# deleted and nothing written.
source "$(dirname "$0")/lib.bash" "$1"

mkdir -p "$WORK/bad"
: >"$WORK/bad/empty.json"
# A picture saved under a draft's name: a PNG signature, then 4088 bytes
# that are the same on every run, so that two runs print the same lines.
python3 -c 'import random, sys
sys.stdout.buffer.write(b"\x89PNG\r\n\x1a\n" + random.Random(4096).randbytes(4088))' >"$WORK/bad/binary.json"
printf '{"scenes": [ {"media": [' >"$WORK/bad/malformed.json"
echo '{"ver": 5, "mediaInfo": [{"path": "a.png"}]}' >"$WORK/bad/noscenes.json"
echo '{"ver": 5, "scenes": [{"identifier": "s"}]}' >"$WORK/bad/nomedia.json"
mkdir -p "$WORK/bad/folder.json"
long="$WORK/bad/$(printf 'x%.0s' $(seq 1 300))/$(printf 'y%.0s' $(seq 1 300))/$(printf 'z%.0s' $(seq 1 3000)).json"
before=$(listing "$WORK/bad")
for draft in "$WORK/bad/missing.json" "$WORK/bad/empty.json" "$WORK/bad/binary.json" "$WORK/bad/malformed.json" \
             "$WORK/bad/noscenes.json" "$WORK/bad/nomedia.json" "$WORK/bad/folder.json" "$long"; do
  name=$(basename "$draft" | cut -c1-20)
  run "$draft"
  check "$name: status 0" $([ "$STATUS" -eq 0 ]; echo $?)
  check "$name: json load fail" $(has_line "${PREFIX}json load fail$"; echo $?)
  check "$name: no export" $(logged 'OrmaVirtualVideoCreate'; [ $? -ne 0 ]; echo $?)
  check "$name: nothing written or deleted" $([ "$before" = "$(listing "$WORK/bad")" ]; echo $?)
done
run "$WORK/bad/binary.json"
check "binary: names the first byte that is not JSON" $(has_line "${PREFIX}draft .*binary\.json: not JSON \(at byte 0\)$"; echo $?)
finish
