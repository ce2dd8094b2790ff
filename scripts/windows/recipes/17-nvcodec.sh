# nv-codec-headers: the NVENC interface FFmpeg is built against. Only headers
# and a pkg-config file, the same on every platform, so Debian's package of
# them is used as it is (the mirror no longer holds this release's source).
# FFmpeg loads the driver's nvEncodeAPI64.dll itself when an encoder is
# opened: a machine without an NVIDIA driver runs the same program, the open
# fails and the export falls back to the software encoder.
DEB=libffmpeg-nvenc-dev
DEPS=""
build() {
  mkdir -p "$ORMA_WINDOWS_PREFIX/include" "$ORMA_WINDOWS_PREFIX/lib/pkgconfig" \
    "$ORMA_WINDOWS_PREFIX/share/doc/nv-codec-headers"
  cp -r usr/include/ffnvcodec "$ORMA_WINDOWS_PREFIX/include/"
  sed "s|^prefix=.*|prefix=$ORMA_WINDOWS_PREFIX|" usr/share/pkgconfig/ffnvcodec.pc \
    >"$ORMA_WINDOWS_PREFIX/lib/pkgconfig/ffnvcodec.pc"
  cp usr/share/doc/libffmpeg-nvenc-dev/copyright "$ORMA_WINDOWS_PREFIX/share/doc/nv-codec-headers/"
}
