# Installation and the Debian package. Included by the top-level
# CMakeLists.txt after the program and the core library are defined.
#
#   cmake --install build [--prefix DIR]    installs under the prefix
#   make -C build package                   writes out/ormadraft_<version>_<arch>.deb
#
# The layout (prefix /usr):
#   bin/ormadraft                                   the program; RUNPATH to the private folder
#   lib/<multiarch>/ormadraft/libOrmaCore.so.0      the core library, private, with its soname
#   lib/<multiarch>/ormadraft/orma-mlt-modules/     a relative link to MLT's core module
#   share/ormadraft/                                everything of resources/
#   share/man/man1/ormadraft.1.gz                   the manual (docs/man/ormadraft.1.scd)
#   share/doc/ormadraft/                            README.md, copyright, changelog.gz
# The program finds share/ormadraft from its own folder (platform/resource_folders.h),
# so an installation under any prefix works; the build folder works the same
# way through its "resources" link.

set(ORMA_PRIVATE_LIBDIR ${CMAKE_INSTALL_LIBDIR}/ormadraft)
set(ORMA_SHARE_DIR ${CMAKE_INSTALL_DATADIR}/ormadraft)
set(ORMA_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/ormadraft)

# ---- The program and the core library ----
# The soname carries the major version; the program is the library's only
# user, so the library lives in a private folder and no development link
# (libOrmaCore.so) is installed.
set_target_properties(OrmaCore PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
file(RELATIVE_PATH ORMA_BIN_TO_PRIVATE ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_PREFIX}/${ORMA_PRIVATE_LIBDIR})
set_target_properties(ormadraft PROPERTIES INSTALL_RPATH "$ORIGIN/${ORMA_BIN_TO_PRIVATE}")
install(TARGETS ormadraft RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS OrmaCore LIBRARY DESTINATION ${ORMA_PRIVATE_LIBDIR} NAMELINK_SKIP)

pkg_get_variable(MLT_MODULE_DIR mlt-framework-7 moduledir)
# MLT's core module, linked into the folder that the engine starts MLT on
# (engine/core/libraries.cpp: "orma-mlt-modules" beside the library). The link
# is relative, made at install time from the final location, so it holds for
# any prefix and inside the package (where DESTDIR is the staging folder).
install(CODE "
  set(prefix \"\${CMAKE_INSTALL_PREFIX}\")
  set(folder \"\${prefix}/${ORMA_PRIVATE_LIBDIR}/orma-mlt-modules\")
  file(RELATIVE_PATH target \"\${folder}\" \"${MLT_MODULE_DIR}/libmltcore.so\")
  file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${folder}\")
  message(STATUS \"Installing: \$ENV{DESTDIR}\${folder}/libmltcore.so -> \${target}\")
  file(CREATE_LINK \"\${target}\" \"\$ENV{DESTDIR}\${folder}/libmltcore.so\" SYMBOLIC)
")

# ---- Resources, manual, documents ----
install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/ DESTINATION ${ORMA_SHARE_DIR})

find_program(SCDOC scdoc)
find_program(GZIP gzip REQUIRED)
if(SCDOC)
  set(ORMA_MAN_SOURCE ${PROJECT_SOURCE_DIR}/docs/man/ormadraft.1.scd)
  add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/ormadraft.1 ${PROJECT_BINARY_DIR}/ormadraft.1.gz
    COMMAND ${SCDOC} < ${ORMA_MAN_SOURCE} > ${PROJECT_BINARY_DIR}/ormadraft.1
    COMMAND ${GZIP} -9 -n -c ${PROJECT_BINARY_DIR}/ormadraft.1 > ${PROJECT_BINARY_DIR}/ormadraft.1.gz
    DEPENDS ${ORMA_MAN_SOURCE}
    COMMENT "Writing the manual ormadraft.1"
    VERBATIM)
  add_custom_target(manual ALL DEPENDS ${PROJECT_BINARY_DIR}/ormadraft.1.gz)
  install(FILES ${PROJECT_BINARY_DIR}/ormadraft.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
else()
  message(WARNING "scdoc not found: no manual is built or installed (scripts/install-deps.sh installs it)")
endif()

# Debian wants its changelog compressed and reproducible.
add_custom_command(
  OUTPUT ${PROJECT_BINARY_DIR}/changelog.gz
  COMMAND ${GZIP} -9 -n -c ${PROJECT_SOURCE_DIR}/packaging/changelog > ${PROJECT_BINARY_DIR}/changelog.gz
  DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog
  VERBATIM)
add_custom_target(package_changelog ALL DEPENDS ${PROJECT_BINARY_DIR}/changelog.gz)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/packaging/copyright
              ${PROJECT_BINARY_DIR}/changelog.gz
        DESTINATION ${ORMA_DOC_DIR})

# ---- The Debian package ----
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ormadraft)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# The package's Maintainer: the project, not a person. The project has no
# mail address of its own yet; whoever publishes the package sets theirs here.
set(ORMA_PACKAGE_MAINTAINER "ormadraft project <ormadraft@example.org>"
    CACHE STRING "Maintainer field of the Debian package")
set(CPACK_PACKAGE_CONTACT "${ORMA_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "renders video-editing drafts to video files")
# The extended description; CPack puts the summary above it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "ormadraft reads a draft, the JSON document of an interactive video editor
(scenes with transitions, captions, stickers, overlays, effects, music),
rebuilds it as a timeline in its core library on MLT and FFmpeg and renders
the finished video file, printing its progress on the console.")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The staging tree is installed with DESTDIR, so the install-time link above
# is computed from /usr, the package's real prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Dependencies from the libraries actually linked (dpkg-shlibdeps); the
# Haar cascades and the fonts are data that the engine finds at run time.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "opencv-data, fonts-noto-cjk, fonts-dejavu-core")
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_SOURCE_DIR}/out)
include(CPack)
