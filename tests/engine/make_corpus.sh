#!/usr/bin/env bash
# Generates media in forms no editor test made, with Debian's ffmpeg (and a
# few lines of Python where ffmpeg writes no such file): phone, camera and
# web formats, sound-only files, odd pictures and broken files. Each is
# rendered by tests/engine/engine_media_corpus_test.cpp, which says what it
# must look like. Colours: red for the first half second, blue after, unless
# said otherwise.
set -euo pipefail
out=${1:?usage: make_corpus.sh FOLDER}
mkdir -p "$out"
cd "$out"
ff() { ffmpeg -v error -y "$@"; }
size=320x180
halves="color=c=red:s=$size:r=25:d=0.5[a];color=c=blue:s=$size:r=25:d=0.5[b];[a][b]concat=n=2:v=1"
tone="sine=f=440:d=1:sample_rate=44100"

# A phone held upright: stored sideways (left half red, right half blue,
# 320x180) with a display matrix that turns it a quarter counter-clockwise,
# so that it shows 180x320 with blue on top.
ff -f lavfi -i "color=c=red:s=160x180:r=30:d=1" -f lavfi -i "color=c=blue:s=160x180:r=30:d=1" -f lavfi -i "$tone" \
   -filter_complex "[0][1]hstack" -c:v libx264 -pix_fmt yuv420p -c:a aac -shortest portrait_stored.mp4
ff -i portrait_stored.mp4 -c copy -metadata:s:v rotate=90 portrait.mp4
rm portrait_stored.mp4
# Variable frame rate: every third frame dropped in the first half, the
# timestamps kept (red then blue).
ff -f lavfi -i "$halves" -vf "select='if(lt(t,0.5),not(eq(mod(n,3),1)),1)'" -fps_mode vfr \
   -c:v libx264 -pix_fmt yuv420p vfr.mp4
# Camera and web codecs.
ff -f lavfi -i "$halves" -c:v libx265 -pix_fmt yuv420p10le -x265-params log-level=error hevc10.mp4
ff -f lavfi -i "$halves" -f lavfi -i "$tone" -c:v libvpx-vp9 -b:v 200k -c:a libopus -shortest vp9.webm
ff -f lavfi -i "$halves" -c:v libaom-av1 -cpu-used 8 -b:v 100k av1.webm
ff -f lavfi -i "$halves" -f lavfi -i "$tone" -c:v prores_ks -profile:v 0 -c:a pcm_s16le -shortest prores.mov
ff -f lavfi -i "$halves" -f lavfi -i "$tone" -c:v mpeg2video -q:v 2 -c:a mp2 -shortest mpeg2.ts
# One frame of video (red), and a clip without sound.
ff -f lavfi -i "color=c=red:s=$size:r=25:d=0.04" -frames:v 1 -c:v libx264 -pix_fmt yuv420p one_frame.mp4
ff -f lavfi -i "$halves" -c:v libx264 -pix_fmt yuv420p silent.mp4
# Sound only.
ff -f lavfi -i "$tone" -c:a libmp3lame tone.mp3
ff -f lavfi -i "$tone" -c:a pcm_s16le tone.wav
ff -f lavfi -i "$tone" -c:a flac tone.flac
ff -f lavfi -i "$tone" -c:a aac tone.m4a
# Animated pictures.
ff -f lavfi -i "$halves" -vf "fps=10" animated.gif
ff -f lavfi -i "$halves" -vf "fps=10" -c:v libwebp_anim -loop 0 animated.webp
# Pictures: 16-bit, palette with transparency (left half transparent, right
# half blue), 1x1 yellow.
ff -f lavfi -i "color=c=red:s=160x180" -f lavfi -i "color=c=blue:s=160x180" \
   -filter_complex "[0][1]hstack,format=rgb48be" -frames:v 1 deep16.png
ff -f lavfi -i "color=c=blue@0.0:s=160x180:d=0.04,format=rgba" -f lavfi -i "color=c=blue:s=160x180:d=0.04,format=rgba" \
   -filter_complex "[0][1]hstack,split[p][q];[p]palettegen=reserve_transparent=1[pal];[q][pal]paletteuse=alpha_threshold=128" \
   -frames:v 1 palette.png
ff -f lavfi -i "color=c=yellow:s=2x2,format=rgb24,scale=1:1" -frames:v 1 one_pixel.png
# A camera JPEG stored sideways with an EXIF orientation of 6 (turn a
# quarter clockwise to view): stored, blue is on the left and red on the
# right; viewed, blue is on top.
ff -f lavfi -i "color=c=blue:s=90x160" -f lavfi -i "color=c=red:s=90x160" \
   -filter_complex "[0][1]hstack" -frames:v 1 -q:v 2 sideways_plain.jpg
python3 - sideways_plain.jpg exif_orientation.jpg <<'PY'
import struct, sys
data = open(sys.argv[1], 'rb').read()
assert data[:2] == b'\xff\xd8'
# A little-endian TIFF header with one IFD entry: Orientation (0x0112) = 6.
tiff = b'II*\x00' + struct.pack('<I', 8) + struct.pack('<H', 1) + \
       struct.pack('<HHII', 0x0112, 3, 1, 6) + struct.pack('<I', 0)
app1 = b'Exif\x00\x00' + tiff
open(sys.argv[2], 'wb').write(data[:2] + b'\xff\xe1' + struct.pack('>H', len(app1) + 2) + app1 + data[2:])
PY
rm sideways_plain.jpg
# A CMYK JPEG of one flat colour (pure cyan: C=255, M=Y=K=0 in the Adobe
# inverted convention), written by hand: baseline, 4 components, one 8x8
# block each, DC only.
python3 - cmyk.jpg <<'PY'
import struct, sys
def seg(marker, body): return b'\xff' + bytes([marker]) + struct.pack('>H', len(body) + 2) + body
out = b'\xff\xd8'
out += seg(0xEE, b'Adobe' + struct.pack('>HHHB', 100, 0, 0, 0))      # Adobe, no transform
out += seg(0xDB, b'\x00' + bytes([1] * 64))                            # quantiser 1 everywhere
out += seg(0xC0, struct.pack('>BHHB', 8, 8, 8, 4) + b''.join(bytes([i, 0x11, 0]) for i in (1, 2, 3, 4)))
# DC table: categories 0..11 with codes of length 4 (12 symbols); AC table: EOB only.
dc_counts = [0, 0, 0, 12] + [0] * 12
out += seg(0xC4, b'\x00' + bytes(dc_counts) + bytes(range(12)))
out += seg(0xC4, b'\x10' + bytes([1] + [0] * 15) + b'\x00')
out += seg(0xDA, bytes([4]) + b''.join(bytes([i, 0x00]) for i in (1, 2, 3, 4)) + b'\x00\x3f\x00')
# Adobe CMYK JPEGs store inverted values: 0 means full ink. Cyan: C=0, M=Y=K=255 stored.
bits = ''
for stored in (0, 255, 255, 255):
    dc = (stored - 128) * 8            # level shift, DC = 8 x mean
    if dc == 0:
        bits += '0000'
    else:
        size = abs(dc).bit_length()
        value = dc if dc > 0 else dc + (1 << size) - 1
        bits += format(size, '04b') + format(value, '0%db' % size)
    bits += '0'                        # AC: end of block (code '0')
bits += '1' * (-len(bits) % 8)
scan = bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8)).replace(b'\xff', b'\xff\x00')
out += scan + b'\xff\xd9'
open(sys.argv[1], 'wb').write(out)
PY
# A decompression bomb: a 20000x20000 grey PNG of a few hundred kilobytes.
python3 - huge.png <<'PY'
import struct, sys, zlib
w = h = 20000
def chunk(kind, body): return struct.pack('>I', len(body)) + kind + body + struct.pack('>I', zlib.crc32(kind + body))
z = zlib.compressobj(9)
row = b'\x00' + b'\x80' * w
idat = b''.join(z.compress(row) for _ in range(h)) + z.flush()
open(sys.argv[1], 'wb').write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', w, h, 8, 0, 0, 0, 0)) +
                              chunk(b'IDAT', idat) + chunk(b'IEND', b''))
PY
# Broken files: cut in half, empty, and named as something else.
head -c $(( $(stat -c %s silent.mp4) / 2 )) silent.mp4 > truncated.mp4
: > empty.mp4
cp one_pixel.png picture_named.mp4
cp silent.mp4 video_named.png
touch .complete
