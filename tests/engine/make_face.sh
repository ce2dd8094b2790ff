#!/usr/bin/env bash
# Draws the test pictures of the face attributes with Debian's ffmpeg: a
# plain cartoon face that OpenCV's frontal-face and eye cascades find
# reliably (no photograph or third-party picture is used).
#
#   face.png       320x180: one face, centred, 90 pixels wide
#   blank.png      320x180: the background alone
#   face_late.mp4  3 s at 25 fps: the background for 1.5 s, then the face
#
# The face is built in "face units" (u, v): u = 1 is half the face's width
# (a quarter of the picture's height), v runs down from the face's centre.
# Layers, each painted over the previous: a blue-grey background, a dark
# hair cap, a skin-coloured ellipse of 1 x 1.3 units, dark eyebrows, white
# eyes with dark irises at u = +-0.40, v = -0.22, a darker nose ridge with
# two dark nostrils and a red mouth; then a slight blur (sigma 1.2 pixels).
# What makes the cascades fire is the pattern of a real face's shading:
# dark brows and eyes over a bright band of cheeks, a bright bridge between
# the eyes and a dark mouth line below.
set -euo pipefail
out=${1:?usage: make_face.sh FOLDER}
mkdir -p "$out"
face() { # face W H: the geq filter of a face picture W x H
  local L="st(1,(X-W/2)/(H*0.25));st(2,(Y-H*0.53)/(H*0.25));st(0,0);"
  L+="if(lte(ld(1)*ld(1)/1.15+pow((ld(2)+0.25)/1.35,2),1)*lt(ld(2),-0.75),st(0,2));" # hair
  L+="if(lte(ld(1)*ld(1)+pow(ld(2)/1.3,2),1)*gte(ld(2),-0.75),st(0,1));"            # skin
  L+="if(lte(pow((abs(ld(1))-0.40)/0.26,2)+pow((ld(2)+0.48)/0.07,2),1),st(0,3));"  # brows
  L+="if(lte(pow((abs(ld(1))-0.40)/0.21,2)+pow((ld(2)+0.22)/0.11,2),1),st(0,4));"  # eyes
  L+="if(lte(pow((abs(ld(1))-0.40)/0.09,2)+pow((ld(2)+0.22)/0.10,2),1),st(0,5));"  # irises
  L+="if(lte(pow(ld(1)/0.09,2)+pow((ld(2)-0.10)/0.32,2),1),st(0,6));"             # nose
  L+="if(lte(pow((abs(ld(1))-0.08)/0.05,2)+pow((ld(2)-0.38)/0.04,2),1),st(0,5));" # nostrils
  L+="if(lte(pow(ld(1)/0.32,2)+pow((ld(2)-0.68)/0.08,2),1),st(0,7));"             # mouth
  # colour of each layer: background skin hair brow eye iris nose mouth
  col() { echo "${L}if(eq(ld(0),0),$1,if(eq(ld(0),1),$2,if(eq(ld(0),2),$3,if(eq(ld(0),3),$4,if(eq(ld(0),4),$5,if(eq(ld(0),5),$6,if(eq(ld(0),6),$7,$8)))))))"; }
  echo "format=rgb24,geq=r='$(col 90 226 60 70 240 35 190 150)':g='$(col 110 178 40 45 240 25 140 60)':b='$(col 140 145 30 35 235 25 110 60)',gblur=sigma=1.2"
}
ff() { ffmpeg -v error -y "$@"; }
ff -f lavfi -i "color=c=black:s=320x180" -vf "$(face 320 180)" -frames:v 1 "$out/face.png"
ff -f lavfi -i "color=c=0x5a6e8c:s=320x180" -frames:v 1 "$out/blank.png"
ff -f lavfi -i "color=c=0x5a6e8c:s=320x180:r=25:d=1.5" -loop 1 -framerate 25 -t 1.5 -i "$out/face.png" \
   -filter_complex "[0]format=yuv420p[a];[1]format=yuv420p[b];[a][b]concat=n=2:v=1" -c:v libx264 -pix_fmt yuv420p \
   "$out/face_late.mp4"
