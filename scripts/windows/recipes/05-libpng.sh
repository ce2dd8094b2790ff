# libpng: Cairo's PNG pictures and FreeType's colour glyphs.
SOURCE=libpng1.6
DEPS="zlib"
build() {
  autotools_build --disable-tools
}
