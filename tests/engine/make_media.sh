#!/usr/bin/env bash
# Generates the media the engine tests render, with Debian's ffmpeg: plain
# colours, tones, pictures and a few files that must be refused.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
out=${1:?usage: make_media.sh FOLDER}
mkdir -p "$out"
cd "$out"
ff() { ffmpeg -v error -y "$@"; }
size=320x180
# Clips of one colour with a tone each (3 s, 25 fps), and one without sound.
ff -f lavfi -i "color=c=red:s=$size:r=25:d=3" -f lavfi -i "sine=f=440:d=3:sample_rate=44100" \
   -c:v libx264 -pix_fmt yuv420p -c:a aac -ac 2 -shortest red.mp4
ff -f lavfi -i "color=c=blue:s=$size:r=25:d=3" -f lavfi -i "sine=f=880:d=3:sample_rate=44100" \
   -c:v libx264 -pix_fmt yuv420p -c:a aac -ac 2 -shortest blue.mp4
ff -f lavfi -i "color=c=0x00ff00:s=$size:r=25:d=3" -c:v libx264 -pix_fmt yuv420p green.mp4
# One second: red for half a second, then green.
ff -f lavfi -i "color=c=red:s=$size:r=25:d=0.5" -f lavfi -i "color=c=0x00ff00:s=$size:r=25:d=0.5" \
   -filter_complex "[0][1]concat=n=2:v=1" -c:v libx264 -pix_fmt yuv420p redgreen.mp4
# A frame counter: frame n is grey with luma 16 + 3n (n < 75), key frames
# every 50 frames, so positions can be read back from the pixels.
ff -f lavfi -i "color=c=black:s=$size:r=25:d=3" -vf "format=yuv420p,geq=lum='16+3*N':cb=128:cr=128" \
   -c:v libx264 -g 50 -crf 10 -pix_fmt yuv420p counter.mp4
# A clip filmed sideways: left half red, right half blue, stored with a
# display matrix that turns it a quarter counter-clockwise (blue on top).
ff -f lavfi -i "color=c=red:s=160x180:r=25:d=1" -f lavfi -i "color=c=blue:s=160x180:r=25:d=1" \
   -filter_complex "[0][1]hstack" -c:v libx264 -pix_fmt yuv420p halves_upright.mp4
ff -i halves_upright.mp4 -c copy -metadata:s:v rotate=90 sideways.mp4
rm halves_upright.mp4
# Pictures: left half red and right half blue; the same twice as wide; yellow.
ff -f lavfi -i "color=c=red:s=160x180" -f lavfi -i "color=c=blue:s=160x180" \
   -filter_complex "[0][1]hstack" -frames:v 1 halves.png
ff -f lavfi -i "color=c=red:s=320x180" -f lavfi -i "color=c=blue:s=320x180" \
   -filter_complex "[0][1]hstack" -frames:v 1 wide.png
# Four quarters (red, green, blue, yellow), twice as wide as the canvas.
ff -f lavfi -i "color=c=red:s=160x180" -f lavfi -i "color=c=0x00ff00:s=160x180" \
   -f lavfi -i "color=c=blue:s=160x180" -f lavfi -i "color=c=yellow:s=160x180" \
   -filter_complex "[0][1][2][3]hstack=inputs=4" -frames:v 1 quarters.png
ff -f lavfi -i "color=c=yellow:s=$size" -frames:v 1 -q:v 2 yellow.jpg
# A black and white checkerboard of 8-pixel squares (detail that filters change).
ff -f lavfi -i "nullsrc=s=$size,geq=lum='if(mod(floor(X/8)+floor(Y/8),2),235,16)':cb=128:cr=128" \
   -frames:v 1 checker.png
ff -f lavfi -i "color=c=white:s=$size" -frames:v 1 white.bmp
# A camera-sized JPEG picture.
ff -f lavfi -i "color=c=cyan:s=1920x1080" -frames:v 1 -q:v 3 big.jpg
# A tone alone.
ff -f lavfi -i "sine=f=440:d=2:sample_rate=44100" -c:a libmp3lame tone.mp3
# Files that are not media: text named like a clip, and a playlist.
printf 'not a video\n' > text.mp4
printf '#EXTM3U\n#EXT-X-TARGETDURATION:3\n#EXTINF:3,\nred.mp4\n#EXT-X-ENDLIST\n' > list.m3u8
# Media attributes: a skin-coloured subject with soft edges (where green
# mixes in, as around hair) on a standard chroma green (3 s),
# a flat mid grey picture, and a HALD CLUT (level 4) that inverts colours.
ff -f lavfi -i "color=c=0x00b140:s=$size:r=25:d=3" \
   -vf "drawbox=x=110:y=50:w=100:h=80:color=0xd09070:t=fill,gblur=sigma=3" -c:v libx264 -pix_fmt yuv420p \
   greenscreen.mp4
ff -f lavfi -i "color=c=0x808080:s=$size" -frames:v 1 grey.png
ff -f lavfi -i "haldclutsrc=level=4" -vf negate -frames:v 1 hald_invert.png
# Sound: a short tone then silence (echo tails), a loud tone (limiting) and
# a tone in white noise (noise suppression), each with a black picture.
ff -f lavfi -i "color=c=black:s=$size:r=25:d=2" -f lavfi -i "sine=f=440:d=0.3:sample_rate=44100,apad=pad_dur=1.7" \
   -c:v libx264 -pix_fmt yuv420p -c:a aac -ac 2 -shortest burst.mp4
ff -f lavfi -i "color=c=black:s=$size:r=25:d=2" -f lavfi -i "aevalsrc=0.8*sin(2*PI*440*t):s=44100:d=2" \
   -c:v libx264 -pix_fmt yuv420p -c:a aac -ac 2 -shortest loud.mp4
ff -f lavfi -i "color=c=black:s=$size:r=25:d=3" \
   -filter_complex "sine=f=440:d=3:sample_rate=44100[t];anoisesrc=a=0.1:c=white:d=3:r=44100[n];[t][n]amix=inputs=2:normalize=0[a]" \
   -map 0:v -map "[a]" -c:v libx264 -pix_fmt yuv420p -c:a aac -ac 2 -shortest noisy.mp4
# Luma mattes: white on the left half, black on the right, as a picture and
# as a one-second video.
ff -f lavfi -i "color=c=white:s=160x180" -f lavfi -i "color=c=black:s=160x180" \
   -filter_complex "[0][1]hstack" -frames:v 1 matte.png
ff -f lavfi -i "color=c=white:s=160x180:r=25:d=1" -f lavfi -i "color=c=black:s=160x180:r=25:d=1" \
   -filter_complex "[0][1]hstack" -c:v libx264 -pix_fmt yuv420p matte.mp4
# Faces (face count, big eye, thin face).
bash "$here/make_face.sh" "$PWD"
bash "$here/make_corpus.sh" "$PWD/corpus"
touch .complete
