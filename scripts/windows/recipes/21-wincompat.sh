# The POSIX interfaces MLT's Windows build expects from other libraries,
# written here on the Windows API (scripts/windows/compat/): iconv on the
# code-page conversions and dlopen on LoadLibrary. Debian has no Windows
# build of either. Static, so they add no DLL to the package.
SOURCE=""
LOCAL=compat
DEPS=""
build() {
  local o
  for o in iconv dlfcn; do $CC -O2 -Wall -c "$o.c" -o "$o.o"; done
  $AR rcs libiconv.a iconv.o
  $AR rcs libdl.a dlfcn.o
  mkdir -p "$ORMA_WINDOWS_PREFIX/lib/cmake/dlfcn-win32" "$ORMA_WINDOWS_PREFIX/include"
  cp libiconv.a libdl.a "$ORMA_WINDOWS_PREFIX/lib/"
  cp iconv.h dlfcn.h "$ORMA_WINDOWS_PREFIX/include/"
  cp dlfcn-win32Config.cmake "$ORMA_WINDOWS_PREFIX/lib/cmake/dlfcn-win32/"
}
