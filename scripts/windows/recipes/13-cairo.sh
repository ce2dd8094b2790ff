# Cairo: draws captions and stickers, with FreeType/fontconfig fonts and
# the Windows backends; no X11 or OpenGL.
SOURCE=cairo
DEPS="zlib libpng freetype fontconfig pixman glib"
build() {
  autotools_build --enable-win32 --enable-win32-font --enable-ft --enable-fc --enable-png --enable-gobject \
    --disable-xlib --disable-xcb --disable-quartz --disable-gl --disable-glesv2 --disable-egl --disable-script \
    --disable-trace --disable-interpreter --disable-gtk-doc --disable-symbol-lookup --disable-full-testing
}
