# FriBidi: Pango's bidirectional text.
SOURCE=fribidi
DEPS=""
build() {
  meson_build -Ddocs=false
}
