# MLT 7: the engine's timeline. Only the framework and the core module are
# built (the engine reads media with FFmpeg itself).
# The mirror no longer holds the upstream tarball of the release's MLT
# (7.12.0), so the next release's (7.30.0) is used: the same MLT 7 API
# and module layout the engine is written against.
SOURCE=mlt
NEXT_SUITE=trixie
DEPS="wincompat"
build() {
  local off=""
  for m in AVFORMAT DECKLINK FREI0R GDK GLAXNIMATE GLAXNIMATE_QT6 JACKRACK KDENLIVE MOVIT NDI NORMALIZE \
    OLDFILM OPENCV PLUS PLUSGPL QT QT6 RESAMPLE RTAUDIO RUBBERBAND SDL1 SDL2 SOX SPATIALAUDIO VIDSTAB VORBIS \
    XINE XML; do off+=" -DMOD_$m=OFF"; done
  cmake_build $off -DMOD_CORE=ON -DBUILD_TESTING=OFF -DBUILD_DOCS=OFF -DSWIG_PYTHON=OFF -DMLT_BUILD_EXECUTABLE=OFF
}
