# pixman: Cairo's pixel operations.
SOURCE=pixman
DEPS=""
build() {
  meson_build -Dtests=disabled -Dgtk=disabled -Dlibpng=disabled -Dopenmp=disabled
}
