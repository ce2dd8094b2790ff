# libffi: GLib's GObject closures.
SOURCE=libffi
DEPS=""
build() {
  autotools_build --disable-docs --disable-multi-os-directory
}
