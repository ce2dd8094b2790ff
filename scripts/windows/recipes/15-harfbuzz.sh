# HarfBuzz: shapes the captions' text.
SOURCE=harfbuzz
DEPS="freetype glib"
build() {
  meson_build -Dtests=disabled -Ddocs=disabled -Dglib=enabled -Dfreetype=enabled -Dcairo=disabled -Dchafa=disabled \
    -Dgobject=disabled -Dicu=disabled -Dintrospection=disabled -Dbenchmark=disabled
}
