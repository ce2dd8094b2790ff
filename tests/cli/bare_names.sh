# A draft named without any folder, run from its own folder, finds its media
# there and writes its video there; the working copy is removed as usual.
source "$(dirname "$0")/lib.bash" "$1"

write_draft "$WORK/d.json"
echo '{}' >"$WORK/e.json"
run d.json e.json
check "relative media are joined to the current folder" $(logged 'OrmaSceneCreateMedia("./a.png")'; echo $?)
check "the video goes to the current folder" $(logged 'OrmaSetOutPath(h1, "./video.mp4")'; echo $?)
check "the export succeeds" $(has_line 'export success!'; echo $?)
check "no working copy is left" $(ls "$WORK" | grep -q '^d_'; [ $? -ne 0 ]; echo $?)

run ./d.json e.json
check "./d.json gives the same media path" $(logged 'OrmaSceneCreateMedia("./a.png")'; echo $?)

run d.json
check "one bare argument is a draft in the current folder too" $(logged 'OrmaSceneCreateMedia("./a.png")'; echo $?)
finish
