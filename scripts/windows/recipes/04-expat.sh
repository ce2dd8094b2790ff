# Expat: fontconfig's configuration files.
SOURCE=expat
DEPS=""
build() {
  # The code tests "#if XML_DTD == 1", which the CMake configuration header
  # defines without a value (Autotools, which Debian uses, gives it 1).
  sed -i 's/^#cmakedefine \(XML_[A-Z_]*\)$/#cmakedefine \1 1/' expat/expat_config.h.cmake 2>/dev/null ||
    sed -i 's/^#cmakedefine \(XML_[A-Z_]*\)$/#cmakedefine \1 1/' expat_config.h.cmake
  SRC_SUBDIR=$(test -f expat/CMakeLists.txt && echo expat || echo .)
  cmake_build -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF
}
