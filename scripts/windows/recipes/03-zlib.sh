# zlib: PNG pictures, FreeType, FFmpeg. Debian's source leaves out zlib's
# win32 folder, whose resource script only adds version information to the
# DLL: a bare version resource stands in. zlib.pc names "-lz", so the import library
# is also installed under that name.
SOURCE=zlib
DEPS=""
build() {
  mkdir -p win32 && printf '1 VERSIONINFO\nFILEVERSION 1,2,13,0\nBEGIN\nEND\n' >win32/zlib1.rc
  cmake_build -DINSTALL_PKGCONFIG_DIR="$ORMA_WINDOWS_PREFIX/lib/pkgconfig"
  cp "$ORMA_WINDOWS_PREFIX/lib/libzlib.dll.a" "$ORMA_WINDOWS_PREFIX/lib/libz.dll.a"
}
