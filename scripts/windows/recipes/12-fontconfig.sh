# fontconfig: finds the fonts the captions name.
SOURCE=fontconfig
DEPS="expat freetype"
build() {
  meson_build -Ddoc=disabled -Dtests=disabled -Dtools=disabled -Dcache-build=disabled -Dnls=disabled
}
