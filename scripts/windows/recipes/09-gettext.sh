# libintl from GNU gettext: GLib and Pango translate their messages through
# it. Only the runtime library is built, without iconv (Windows converts
# code pages itself).
SOURCE=gettext
DEPS=""
build() {
  SRC_SUBDIR=gettext-runtime
  mkdir -p _build
  (cd _build && ../gettext-runtime/configure --host=x86_64-w64-mingw32 --prefix="$ORMA_WINDOWS_PREFIX" \
    --enable-shared --disable-static --disable-java --disable-csharp --disable-libasprintf --disable-openmp \
    --disable-nls --without-libiconv-prefix --without-emacs --disable-c++ --disable-curses)
  make -C _build/intl -j"$jobs"
  make -C _build/intl install
}
