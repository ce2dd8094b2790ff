# FFmpeg: reads every media file of a draft, encodes the export (libx264,
# native audio encoders) and runs the sound filters. Hardware decoding
# through D3D11VA and DXVA2, hardware encoding through NVENC where the
# machine has an NVIDIA driver; no programs, devices or network.
SOURCE=ffmpeg
DEPS="zlib x264 nvcodec"
build() {
  mkdir -p _build
  cd _build
  ../configure --target-os=mingw32 --arch=x86_64 --cross-prefix=x86_64-w64-mingw32- \
    --cc=x86_64-w64-mingw32-gcc-posix --cxx=x86_64-w64-mingw32-g++-posix --pkg-config=pkg-config \
    --prefix="$ORMA_WINDOWS_PREFIX" --enable-shared --disable-static --enable-gpl --enable-version3 \
    --disable-autodetect --enable-w32threads --enable-zlib --enable-libx264 --enable-d3d11va --enable-dxva2 \
    --enable-ffnvcodec --enable-nvenc \
    --disable-programs --disable-doc --disable-network --disable-avdevice --disable-postproc --disable-debug \
    --extra-cflags="-I$ORMA_WINDOWS_PREFIX/include" --extra-ldflags="-L$ORMA_WINDOWS_PREFIX/lib"
  make -j"$jobs"
  make install
}
