# Expat: fontconfig's configuration files.
SOURCE=expat
DEPS=""
build() {
  SRC_SUBDIR=$(test -f expat/CMakeLists.txt && echo expat || echo .)
  cmake_build -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF
}
