# x264: the H.264 encoder of the exported videos.
SOURCE=x264
DEPS=""
build() {
  ./configure --host=x86_64-w64-mingw32 --cross-prefix=x86_64-w64-mingw32- --prefix="$ORMA_WINDOWS_PREFIX" \
    --enable-shared --disable-cli --disable-opencl --disable-lavf --disable-swscale --disable-ffms --disable-gpac \
    --disable-lsmash --extra-cflags="-I$ORMA_WINDOWS_PREFIX/include"
  make -j"$jobs"
  make install
}
