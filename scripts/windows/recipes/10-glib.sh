# GLib: Pango's and HarfBuzz's base library.
SOURCE=glib2.0
DEPS="zlib libffi pcre2 gettext"
build() {
  meson_build -Dtests=false -Dinstalled_tests=false -Dnls=disabled -Dman=false -Dgtk_doc=false \
    -Dlibmount=disabled -Dselinux=disabled -Dxattr=false -Dlibelf=disabled -Dsysprof=disabled -Dglib_debug=disabled
}
