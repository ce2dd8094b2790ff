#!/usr/bin/env bash
# Draws the starter stickers of resources/stickers/ with Debian's ffmpeg:
# shapes given as formulas (geq), drawn at twice their size and scaled down
# so that their edges are smooth. Four are frame folders, one an animated
# PNG, one an animated GIF and one an animated WebP. Run it again to make
# them anew; the output is the same from run to run.
set -euo pipefail
cd "$(dirname "$0")/.."
out=resources/stickers
ff() { ffmpeg -v error -y "$@"; }
big=256
small=128

# frames NAME COUNT RATE R G B ALPHA-FORMULA: COUNT frames frameNN.png of a
# shape in one colour whose alpha is the formula (x, y from -1 to 1 in ld(0),
# ld(1); the frame number in N).
frames() {
  local name=$1 count=$2 rate=$3 r=$4 g=$5 b=$6 alpha=$7
  local dir=$out/$name
  rm -rf "$dir"
  mkdir -p "$dir"
  ff -f lavfi -i "color=c=black@0:s=${big}x${big}:r=$rate,format=rgba" -frames:v "$count" \
    -vf "geq=r=$r:g=$g:b=$b:a='st(0,2*X/W-1);st(1,1-2*Y/H);$alpha',scale=$small:$small:flags=area" \
    "$dir/frame%02d.png"
}

xy='st(2,ld(0)*ld(0)+ld(1)*ld(1))'

# A heart that beats: (x² + y² − 1)³ − x²y³ < 0, growing and shrinking.
frames heart 12 12 230 30 70 \
  "st(3,1.3/(1+0.12*sin(2*PI*N/12)));st(0,ld(0)*ld(3));st(1,ld(1)*ld(3)+0.2);255*lt(pow(ld(0)*ld(0)+ld(1)*ld(1)-1,3)-ld(0)*ld(0)*pow(ld(1),3),0)"

# A five-pointed star turning a fifth of a turn per loop.
frames star 12 12 250 200 40 \
  "$xy;st(4,atan2(ld(1),ld(0))+2*PI/5*N/12);255*lt(sqrt(ld(2)),0.5+0.38*cos(5*ld(4)))"

# A four-pointed sparkle that twinkles.
frames sparkle 8 8 255 255 210 \
  "st(3,0.55+0.4*sin(PI*N/8));255*lt(sqrt(abs(ld(0)))+sqrt(abs(ld(1))),ld(3))"

# A ring that spreads and fades.
frames ring 15 15 80 200 255 \
  "$xy;st(4,0.15+0.75*N/15);255*(1-N/15)*lt(abs(sqrt(ld(2))-ld(4)),0.09)"

# A ball bouncing, as an animated PNG.
rm -rf "$out/ball"
mkdir -p "$out/ball"
ff -f lavfi -i "color=c=black@0:s=${big}x${big}:r=20,format=rgba" -frames:v 20 \
  -vf "geq=r=255:g=120:b=30:a='st(0,2*X/W-1);st(1,1-2*Y/H);st(5,-0.6+1.2*abs(sin(PI*N/20)));255*lt(hypot(ld(0),ld(1)-ld(5)),0.35)',scale=$small:$small:flags=area" \
  -plays 0 -f apng "$out/ball/ball.png"

# A band of colours waving, as an animated GIF. The source lasts one second:
# palettegen waits for the end of its input before the first frame leaves,
# so an endless source would never finish.
rm -rf "$out/wave"
mkdir -p "$out/wave"
ff -f lavfi -i "color=c=black:s=${small}x64:r=10:d=1,format=rgb24" -frames:v 10 \
  -vf "geq=r='128+127*sin(2*PI*(X/W+N/10))':g='128+127*sin(2*PI*(X/W+N/10)+2)':b='128+127*sin(2*PI*(X/W+N/10)+4)',split[a][b];[a]palettegen=max_colors=64[p];[b][p]paletteuse" \
  -loop 0 "$out/wave/wave.gif"

# A glowing dot that pulses, as a lossless animated WebP.
rm -rf "$out/pulse"
mkdir -p "$out/pulse"
ff -f lavfi -i "color=c=black@0:s=${big}x${big}:r=10:d=1,format=rgba" -frames:v 10 \
  -vf "geq=r=120:g=255:b=140:a='st(0,2*X/W-1);st(1,1-2*Y/H);st(2,0.35+0.25*sin(2*PI*(N+0.5)/10));255*max(0,1-hypot(ld(0),ld(1))/ld(2))',scale=$small:$small:flags=area" \
  -c:v libwebp_anim -lossless 1 -loop 0 "$out/pulse/pulse.webp"

# config.json of each folder.
list() { # NAME COUNT RATE
  local names=() i
  for ((i = 1; i <= $2; i++)); do names+=("\"$(printf 'frame%02d.png' "$i")\""); done
  local joined
  joined=$(IFS=,; echo "${names[*]}")
  printf '{\n  "name": "%s",\n  "fps": %s,\n  "loop": true,\n  "frames": [%s]\n}\n' "$1" "$3" "${joined//,/, }" \
    >"$out/$1/config.json"
}
list heart 12 12
list star 12 12
list sparkle 8 8
list ring 15 15
printf '{\n  "name": "ball",\n  "animation": "ball.png",\n  "loop": true\n}\n' >"$out/ball/config.json"
printf '{\n  "name": "wave",\n  "animation": "wave.gif",\n  "loop": true\n}\n' >"$out/wave/config.json"
printf '{\n  "name": "pulse",\n  "animation": "pulse.webp",\n  "loop": true\n}\n' >"$out/pulse/config.json"
echo "stickers written to $out"
