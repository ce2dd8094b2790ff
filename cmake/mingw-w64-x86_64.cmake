# CMake toolchain for the Windows (x86-64) build, cross-compiled on Debian
# with MinGW-w64's posix flavour (the one whose libstdc++ has std::thread).
# Used by the program's own Windows build and by every CMake library that
# scripts/windows/build-deps.sh builds. Libraries, headers and pkg-config
# files come from the MinGW sysroot and the dependency prefix named by
# ORMA_WINDOWS_PREFIX (cache variable or environment), never from the Linux
# system. The prefix of the libraries is keyed by a hash of this file, so a
# change here rebuilds every library.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(ORMA_MINGW_HOST x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${ORMA_MINGW_HOST}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ORMA_MINGW_HOST}-g++-posix)
set(CMAKE_RC_COMPILER ${ORMA_MINGW_HOST}-windres)
set(CMAKE_AR ${ORMA_MINGW_HOST}-gcc-ar-posix CACHE FILEPATH "")
set(CMAKE_RANLIB ${ORMA_MINGW_HOST}-gcc-ranlib-posix CACHE FILEPATH "")

# The prefix reaches try_compile projects through the environment as well,
# since they read this file again without the cache.
if(NOT ORMA_WINDOWS_PREFIX AND DEFINED ENV{ORMA_WINDOWS_PREFIX})
  set(ORMA_WINDOWS_PREFIX $ENV{ORMA_WINDOWS_PREFIX})
endif()
set(ORMA_WINDOWS_PREFIX "${ORMA_WINDOWS_PREFIX}" CACHE PATH "Prefix of the cross-built Windows libraries")
set(ENV{ORMA_WINDOWS_PREFIX} "${ORMA_WINDOWS_PREFIX}")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORMA_WINDOWS_PREFIX)

set(CMAKE_FIND_ROOT_PATH /usr/${ORMA_MINGW_HOST} ${ORMA_WINDOWS_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config sees the prefix only.
if(ORMA_WINDOWS_PREFIX)
  set(ENV{PKG_CONFIG_LIBDIR} "${ORMA_WINDOWS_PREFIX}/lib/pkgconfig:${ORMA_WINDOWS_PREFIX}/share/pkgconfig")
  set(ENV{PKG_CONFIG_PATH} "")
endif()

