# Cairo: draws captions and stickers, with FreeType/fontconfig fonts and
# the Windows backends; no X11 or OpenGL.
SOURCE=cairo
DEPS="zlib libpng freetype fontconfig pixman glib"
build() {
  mkdir -p _build
  (cd _build && ../configure --host=x86_64-w64-mingw32 --prefix="$ORMA_WINDOWS_PREFIX" --enable-shared \
    --disable-static --enable-win32 --enable-win32-font --enable-ft --enable-fc --enable-png --enable-gobject \
    --disable-xlib --disable-xcb --disable-quartz --disable-gl --disable-glesv2 --disable-egl --disable-script \
    --disable-trace --disable-interpreter --disable-gtk-doc --disable-symbol-lookup --disable-full-testing)
  # Debian's patches leave the Autotools files newer than what they made;
  # the build must not try to make them again (no automake here).
  local keep="ACLOCAL=true AUTOCONF=true AUTOMAKE=true AUTOHEADER=true"
  make -C _build -j"$jobs" $keep
  make -C _build install $keep
}
