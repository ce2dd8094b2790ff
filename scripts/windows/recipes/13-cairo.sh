# Cairo: draws captions and stickers, with FreeType/fontconfig fonts and
# the Windows backends; no X11 or OpenGL. Only the library and its GObject
# wrapper are built (not the test suite, which "make all" builds too).
SOURCE=cairo
DEPS="zlib libpng freetype fontconfig pixman glib"
build() {
  # Cairo builds with _FORTIFY_SOURCE, whose checked string functions
  # MinGW-w64 keeps in libssp; libtool makes a DLL only when it finds the
  # library's file on the linker path, so the compiler's own folder is named.
  local ssp
  ssp=$(dirname "$($CC -print-file-name=libssp.dll.a)")
  mkdir -p _build
  (cd _build && LIBS="-L$ssp -lssp" ../configure --host=x86_64-w64-mingw32 --prefix="$ORMA_WINDOWS_PREFIX" \
    --enable-shared --disable-static --enable-win32 --enable-win32-font --enable-ft --enable-fc --enable-png \
    --enable-gobject --disable-xlib --disable-xcb --disable-quartz --disable-gl --disable-glesv2 --disable-egl \
    --disable-script --disable-trace --disable-interpreter --disable-gtk-doc --disable-symbol-lookup \
    --disable-full-testing)
  # Debian's patches leave the Autotools files newer than what they made;
  # the build must not try to make them again (no automake here).
  local keep="ACLOCAL=true AUTOCONF=true AUTOMAKE=true AUTOHEADER=true" dir
  for dir in src util/cairo-gobject; do
    make -C _build/$dir -j"$jobs" $keep
    make -C _build/$dir install $keep
  done
  # The library must be a DLL: libtool falls back to a static archive when
  # it cannot make one, which would leave the build looking complete.
  ls "$ORMA_WINDOWS_PREFIX"/bin/libcairo-2.dll
}
