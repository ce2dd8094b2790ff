# CMake package of the dlfcn library (scripts/windows/compat) under the name
# MLT's build looks for on Windows.
get_filename_component(_dl_prefix "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
if(NOT TARGET dlfcn-win32::dl)
  add_library(dlfcn-win32::dl STATIC IMPORTED)
  set_target_properties(dlfcn-win32::dl PROPERTIES IMPORTED_LOCATION "${_dl_prefix}/lib/libdl.a"
                                                   INTERFACE_INCLUDE_DIRECTORIES "${_dl_prefix}/include")
endif()
unset(_dl_prefix)
