# Pango: lays out the captions (pangocairo and pangoft2, as on Linux).
SOURCE=pango1.0
DEPS="glib harfbuzz fribidi cairo fontconfig freetype"
build() {
  meson_build -Dintrospection=disabled -Dgtk_doc=false -Dinstall-tests=false -Dfontconfig=enabled \
    -Dfreetype=enabled -Dcairo=enabled -Dlibthai=disabled -Dxft=disabled
}
