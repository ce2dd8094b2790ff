# Export settings that are not used as written are said on standard error,
# one line each naming the file, the key and the value, and what is used
# instead: a settings file that cannot be read (a typo in its name) or is not
# JSON, values out of range, "audio" without "video", keys the format does
# not have, an odd output size. What reaches the core library and standard
# output stays as it was.
source "$(dirname "$0")/lib.bash" "$1"

err_has() { grep -qF -- "$1" "$WORK/err.txt"; }
err_lines() { grep -c '^ormadraft: ' "$WORK/err.txt"; }

mkdir -p "$WORK/p"
write_draft "$WORK/p/draft.json"
S="$WORK/p/export.json"

run "$WORK/p/draft.json" "$WORK/p/exprot.json"
check "a typo in the settings' name still exports" $(has_line "${PREFIX}export success!"; echo $?)
check "a typo in the settings' name: the file, why, and where the video goes" \
  $(err_has "ormadraft: export settings $WORK/p/exprot.json cannot be read (No such file or directory); every setting keeps its default and the video goes to $WORK/p/video.mp4"; echo $?)
check "a typo in the settings' name: the defaults reach the library" $(logged 'OrmaSetFPS(h1, 25)'; echo $?)
check "no ormadraft line on standard output" $(! grep -q '^ormadraft:' "$WORK/out.txt"; echo $?)

printf '{"video": {"fps": 30' >"$S"
run "$WORK/p/draft.json" "$S"
check "settings that are not JSON: where they stop" \
  $(err_has "ormadraft: export settings $S is not JSON (at byte 20); every setting keeps its default"; echo $?)

echo '{"video": {"fps": 200, "bitrate": 0, "encoder": 5}}' >"$S"
run "$WORK/p/draft.json" "$S"
check "fps 200: said with what is used" \
  $(err_has "ormadraft: export settings $S: \"video\".\"fps\" 200 is not a rate above 0 and at most 120; 25 frames per second are used"; echo $?)
check "fps 200: 25 reaches the library" $(logged 'OrmaSetFPS(h1, 25)'; echo $?)
check "bitrate 0: said" $(err_has "\"video\".\"bitrate\" 0 is not a positive whole number; 3000 kbit/s is used"; echo $?)
check "a number as encoder: said" $(err_has "\"video\".\"encoder\" 5 is not an encoder name; libx264 is used"; echo $?)

echo '{"audio": {"channels": 1, "samples": 48000}}' >"$S"
run "$WORK/p/draft.json" "$S"
check "audio without video: said" \
  $(err_has "ormadraft: export settings $S: \"audio\" is read only when \"video\" is given too; 2 channels at 44100 Hz and 128 kbit/s are used"; echo $?)
check "audio without video: the defaults reach the library" $(logged 'OrmaSetAudioChannels(h1, 2)'; echo $?)

echo '{"video": {"fps": 30}, "audio": {"channels": 7, "samples": 0, "bitrate": -5, "encoder": "aac"}}' >"$S"
run "$WORK/p/draft.json" "$S"
check "7 channels: said" $(err_has "\"audio\".\"channels\" 7 is not 1 to 6; 2 channels are used"; echo $?)
check "samples 0: said" $(err_has "\"audio\".\"samples\" 0 is not a positive sample rate; 44100 Hz is used"; echo $?)
check "a negative audio bit rate: said" \
  $(err_has "\"audio\".\"bitrate\" -5 is negative; the core library's own audio bit rate is used"; echo $?)
check "audio encoder: said to be unread" \
  $(err_has "\"audio\".\"encoder\" \"aac\" is not read; the sound is encoded as usual for the output's container"; echo $?)
check "one line each" $([ "$(err_lines)" -eq 4 ]; echo $?)

echo '{"video": {"fps": 30, "framerate": 60}, "outurl": "'"$WORK"'/p/o.mp4", "output": "x.mp4"}' >"$S"
run "$WORK/p/draft.json" "$S"
check "a key the format does not have: said" $(err_has "export settings $S: \"output\" is not a setting and is ignored"; echo $?)
check "a key inside video the format does not have: said" \
  $(err_has "export settings $S: \"video\".\"framerate\" is not a setting and is ignored"; echo $?)
check "keys are matched without regard to case" $(! err_has '"outurl"'; echo $?)

echo '{"video": {"fps": 30, "w": 321, "h": 181}}' >"$S"
run "$WORK/p/draft.json" "$S"
check "an odd size: said" \
  $(err_has "ormadraft: frame size 321x181, from \"video\" \"w\" and \"h\" of the export settings \"$S\", is written as 320x180"; echo $?)
check "an odd size: passed on as given" $(logged 'OrmaSetFrameSize(h1, 321, 181)'; echo $?)

echo '{"video": {"fps": 30, "bitrate": 4000, "encoder": "libx264"}, "audio": {"channels": 2}, "outUrl": "'"$WORK"'/p/o.mp4"}' >"$S"
run "$WORK/p/draft.json" "$S"
check "settings used as written: nothing on standard error" $([ ! -s "$WORK/err.txt" ]; echo $?)
finish
