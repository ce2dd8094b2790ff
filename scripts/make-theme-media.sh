#!/usr/bin/env bash
# Makes the media of the sample themes in resources/TemplateThemes/ with
# Debian's ffmpeg: the placeholder clips and pictures a theme shows until a
# caller's media replace them, the fixed opening and closing clips, an overlay
# badge, a logo and the theme music. Everything is drawn here (colours, test
# patterns, the DejaVu font when it is installed); nothing is downloaded.
# The build runs it (target theme_media); it only makes what is missing, so
# running it again costs nothing. The files are not kept in git.
#   scripts/make-theme-media.sh [THEME_LIBRARY]
set -euo pipefail
cd "$(dirname "$0")/.."
lib=${1:-resources/TemplateThemes}
ff() { ffmpeg -nostdin -v error -y "$@"; }
font=/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf
size=640x360

# label TEXT: a drawtext filter (or none without the font) for a centred label.
label() {
  if [ -f "$font" ]; then
    printf ",drawtext=fontfile=%s:text='%s':fontsize=64:fontcolor=white:borderw=3:x=(w-tw)/2:y=(h-th)/2" "$font" "$1"
  fi
}

# clip FILE SECONDS COLOUR TEXT [sound]: a coloured clip with a label, with a
# quiet tone when "sound" is given.
clip() {
  local file=$1 seconds=$2 colour=$3 text=$4 sound=${5:-}
  [ -s "$file" ] && return 0
  mkdir -p "$(dirname "$file")"
  if [ -n "$sound" ]; then
    ff -f lavfi -i "color=c=$colour:s=$size:r=25:d=$seconds$(label "$text")" \
       -f lavfi -i "sine=f=330:d=$seconds:sample_rate=48000" -shortest \
       -c:v libx264 -preset veryfast -crf 30 -pix_fmt yuv420p -c:a aac -b:a 64k -ac 2 "$file.tmp.mp4"
  else
    ff -f lavfi -i "color=c=$colour:s=$size:r=25:d=$seconds$(label "$text")" \
       -c:v libx264 -preset veryfast -crf 30 -pix_fmt yuv420p "$file.tmp.mp4"
  fi
  mv "$file.tmp.mp4" "$file"
}

# still FILE COLOUR TEXT: a picture with a label.
still() {
  local file=$1 colour=$2 text=$3
  [ -s "$file" ] && return 0
  mkdir -p "$(dirname "$file")"
  ff -f lavfi -i "color=c=$colour:s=$size$(label "$text")" -frames:v 1 "$file.tmp.png"
  mv "$file.tmp.png" "$file"
}

# music FILE SECONDS: a soft plucked arpeggio. The themes play their music
# once from the start to the end of the filled video, never restarting it,
# so it is long (five minutes): a phrase of 10 s (the arpeggio repeats every
# 2 s) looped, which is quick to make. A shorter file from an earlier
# version of the themes is made again.
music() {
  local file=$1 seconds=$2
  if [ -s "$file" ]; then
    local have
    have=$(ffprobe -v error -show_entries format=duration -of csv=p=0 "$file" 2>/dev/null || echo 0)
    awk -v have="$have" -v want="$seconds" 'BEGIN { exit !(have + 0.5 >= want) }' && return 0
  fi
  ff -f lavfi -i "aevalsrc=0.25*sin(2*PI*t*262*pow(2\,floor(mod(2*t\,4))*3/12))*exp(-3*mod(t\,0.5)):s=48000:d=10" \
     -ac 2 "$file.phrase.wav"
  ff -stream_loop -1 -i "$file.phrase.wav" -t "$seconds" -c:a aac -b:a 64k "$file.tmp.m4a"
  rm -f "$file.phrase.wav"
  mv "$file.tmp.m4a" "$file"
}

# badge FILE COLOUR: a round badge with transparency.
badge() {
  local file=$1 colour=$2
  [ -s "$file" ] && return 0
  ff -f lavfi -i "color=c=$colour:s=128x128,format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='if(lt(hypot(X-64,Y-64),60),230,0)'" \
     -frames:v 1 "$file.tmp.png"
  mv "$file.tmp.png" "$file"
}

summer=$lib/01_travel/01_summer
clip "$summer/intro.mp4" 2 0x1d3557 "Summer"
clip "$summer/p1.mp4" 3 0x457b9d "1" sound
clip "$summer/p2.mp4" 3 0x2a9d8f "2" sound
clip "$summer/p3.mp4" 3 0xe9c46a "3" sound
clip "$summer/outro.mp4" 2 0x1d3557 "The End"
badge "$summer/badge.png" 0xf4a261
music "$summer/music.m4a" 300

slides=$lib/Slideshow
for i in 1 2 3 4 5; do
  colours=(0 0x264653 0x2a9d8f 0xe9c46a 0xf4a261 0xe76f51)
  still "$slides/photo$i.png" "${colours[$i]}" "Photo $i"
done
music "$slides/music.m4a" 300

layers=$lib/02_family/01_layers
clip "$layers/scene1.mp4" 4 0x6d597a "A" sound
clip "$layers/scene2.mp4" 4 0xb56576 "B" sound
badge "$layers/logo.png" 0xffffff
