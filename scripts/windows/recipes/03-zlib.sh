# zlib: PNG pictures, FreeType, FFmpeg.
SOURCE=zlib
DEPS=""
build() {
  cmake_build -DINSTALL_PKGCONFIG_DIR="$ORMA_WINDOWS_PREFIX/lib/pkgconfig"
}
