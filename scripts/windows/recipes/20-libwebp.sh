# libwebp: animated WebP stickers (libwebpdemux).
SOURCE=libwebp
DEPS=""
build() {
  autotools_build --enable-libwebpdemux --enable-libwebpmux --disable-gif --disable-jpeg --disable-png \
    --disable-tiff --disable-gl --disable-sdl --disable-wic
}
