# libintl from GNU gettext: GLib and Pango translate their messages through
# it. Only the runtime library is built, without iconv (Windows converts
# code pages itself). Native language support stays on: without it the
# intl folder builds and installs nothing, and GLib finds no libintl.
SOURCE=gettext
DEPS=""
build() {
  SRC_SUBDIR=gettext-runtime
  mkdir -p _build
  (cd _build && ../gettext-runtime/configure --host=x86_64-w64-mingw32 --prefix="$ORMA_WINDOWS_PREFIX" \
    --enable-shared --disable-static --disable-java --disable-csharp --disable-libasprintf --disable-openmp \
    --without-libiconv-prefix --without-emacs --disable-c++ --disable-curses)
  # Debian's patches leave the Autotools files newer than what they made;
  # the build must not try to make them again (no automake here).
  local keep="ACLOCAL=true AUTOCONF=true AUTOMAKE=true AUTOHEADER=true"
  make -C _build/intl -j"$jobs" $keep
  make -C _build/intl install $keep
}
