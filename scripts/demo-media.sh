#!/usr/bin/env bash
# Makes the media of the demo draft (examples/demo/draft.json) in
# out/demo-media with Debian's ffmpeg, once: the clips, pictures, music,
# logo and look-up table the draft names by relative paths. Used by
# scripts/demo.sh and by the package test.
set -euo pipefail
cd "$(dirname "$0")/.."

media=out/demo-media
mkdir -p "$media"
# Tests that run at the same time (the package test, the farm's demo test)
# may both ask for the media: the first makes them, the others wait for it.
exec 9>"$media/.lock"
flock 9
if [ ! -f "$media/.complete-4" ]; then
  echo "demo: making the demo media in $media"
  ff() { ffmpeg -v error -y "$@"; }
  # A moving test pattern with a tone, and moving colour gradients with another
  # (seeded, like the backdrop, so that every checkout renders the same demo).
  ff -f lavfi -i "testsrc2=s=1280x720:r=30:d=6" -f lavfi -i "sine=f=330:d=6:sample_rate=48000" \
     -c:v libx264 -preset veryfast -pix_fmt yuv420p -c:a aac -ac 2 -shortest "$media/pattern.mp4"
  ff -f lavfi -i "gradients=s=1280x720:r=30:d=6:speed=0.03:n=4:seed=3" -f lavfi -i "sine=f=523:d=6:sample_rate=48000" \
     -c:v libx264 -preset veryfast -pix_fmt yuv420p -c:a aac -ac 2 -shortest "$media/gradients.mp4"
  # A portrait clip (for the blurred background) and a one-second clip.
  ff -f lavfi -i "testsrc=s=540x960:r=30:d=4" -c:v libx264 -preset veryfast -pix_fmt yuv420p "$media/portrait.mp4"
  ff -f lavfi -i "smptehdbars=s=1280x720:r=30:d=1" -f lavfi -i "sine=f=880:d=1:sample_rate=48000" \
     -c:v libx264 -preset veryfast -pix_fmt yuv420p -c:a aac -ac 2 -shortest "$media/bars.mp4"
  # Pictures: a fractal, and a wide backdrop.
  ff -f lavfi -i "mandelbrot=s=960x720:end_pts=1" -frames:v 1 "$media/fractal.png"
  ff -f lavfi -i "gradients=s=2400x720:n=6:seed=7" -frames:v 1 -q:v 3 "$media/backdrop.jpg"
  # A green-screen clip: a fractal tile gliding over studio green.
  ff -f lavfi -i "color=c=0x00b140:s=640x360:r=30:d=3" -f lavfi -i "mandelbrot=s=200x200:r=30" \
     -filter_complex "[0][1]overlay=x='40+t*120':y=80:shortest=1" \
     -c:v libx264 -preset veryfast -pix_fmt yuv420p "$media/greenscreen.mp4"
  # Music: a plucked arpeggio over the whole demo; a chirp as a sound effect.
  ff -f lavfi -i "aevalsrc=0.3*sin(2*PI*t*220*pow(2\,floor(mod(4*t\,4))*4/12))*exp(-4*mod(t\,0.25)):s=48000:d=30" \
     -ac 2 -c:a aac "$media/music.m4a"
  ff -f lavfi -i "aevalsrc=0.6*sin(2*PI*(400+900*t)*t):s=48000:d=0.8" "$media/chirp.wav"
  # A logo with transparency, and a warm look-up table.
  # (drawbox keeps the alpha it finds, so the box is padded with clear pixels.)
  ff -f lavfi -i "color=c=orange@0.85:s=224x64,format=rgba,drawbox=x=16:y=16:w=64:h=32:color=white:t=fill,pad=240:80:8:8:color=black@0" \
     -frames:v 1 "$media/logo.png"
  python3 scripts/make-cube.py "$media/warm.cube" 1.15 0.05 1.02 0.75
  touch "$media/.complete-4"
fi
