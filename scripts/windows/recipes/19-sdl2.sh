# SDL2: the preview's sound (WASAPI, DirectSound).
SOURCE=libsdl2
DEPS=""
build() {
  cmake_build -DSDL_TEST=OFF -DSDL_SHARED=ON -DSDL_STATIC=OFF
}
