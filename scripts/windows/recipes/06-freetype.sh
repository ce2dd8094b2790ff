# FreeType: glyph outlines for Cairo, Pango and fontconfig. Built without
# HarfBuzz (which builds on FreeType), Brotli and bzip2.
SOURCE=freetype
DEPS="zlib libpng"
build() {
  meson_build -Dharfbuzz=disabled -Dbrotli=disabled -Dbzip2=disabled -Dpng=enabled -Dzlib=system -Dtests=disabled
}
