# The build steps the recipes of scripts/windows/recipes/ call: CMake,
# Meson and Autotools builds of an unpacked Debian source into the Windows
# prefix, with the MinGW-w64 tools and pkg-config limited to the prefix.
# Sourced by build-deps.sh, which sets host, prefix, toolchain, here and jobs;
# the prefix's hash covers this file, so a change here rebuilds everything.

export ORMA_WINDOWS_PREFIX=$prefix
export PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig:$prefix/share/pkgconfig
export PKG_CONFIG_PATH=
export CC=$host-gcc-posix CXX=$host-g++-posix AR=$host-gcc-ar-posix RANLIB=$host-gcc-ranlib-posix
export WINDRES=$host-windres RC=$host-windres STRIP=$host-strip NM=$host-nm
export CPPFLAGS="-I$prefix/include" LDFLAGS="-L$prefix/lib"
export PATH=$prefix/bin:$PATH

cmake_build() {
  cmake -S "${SRC_SUBDIR:-.}" -B _build -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DORMA_WINDOWS_PREFIX="$prefix" -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_BUILD_TYPE=Release \
    -DBUILD_SHARED_LIBS=ON -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache "$@"
  cmake --build _build -j"$jobs"
  cmake --install _build
}

meson_build() {
  sed "s|@PREFIX@|$prefix|g; s|@HOST@|$host|g" "$here/meson-cross.ini.in" >_cross.ini
  meson setup _build "${SRC_SUBDIR:-.}" --cross-file _cross.ini --prefix "$prefix" --libdir lib \
    --buildtype release -Ddefault_library=shared --wrap-mode nofallback "$@"
  ninja -C _build -j"$jobs"
  meson install -C _build --no-rebuild
}

autotools_build() {
  mkdir -p _build
  (cd _build && ../"${SRC_SUBDIR:-.}"/configure --host=$host --prefix="$prefix" --enable-shared \
    --disable-static "$@")
  make -C _build -j"$jobs"
  make -C _build install
}

