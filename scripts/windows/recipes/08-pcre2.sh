# PCRE2: GLib's regular expressions.
SOURCE=pcre2
DEPS=""
build() {
  autotools_build --enable-pcre2-16 --enable-pcre2-32 --disable-pcre2grep-libz --disable-pcre2grep-libbz2
}
