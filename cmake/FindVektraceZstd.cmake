# Finds libzstd by its header and library: the target vektrace::libzstd. Also installed, for users of
# the static libraries; the name is ours so that it takes the place of nobody else's module.

include(FindPackageHandleStandardArgs)

find_path(VEKTRACE_ZSTD_INCLUDE_DIR zstd.h)
find_library(VEKTRACE_ZSTD_LIBRARY zstd)
mark_as_advanced(VEKTRACE_ZSTD_INCLUDE_DIR VEKTRACE_ZSTD_LIBRARY)
find_package_handle_standard_args(
  VektraceZstd REQUIRED_VARS VEKTRACE_ZSTD_LIBRARY VEKTRACE_ZSTD_INCLUDE_DIR)

if(VektraceZstd_FOUND AND NOT TARGET vektrace::libzstd)
  add_library(vektrace::libzstd UNKNOWN IMPORTED)
  set_target_properties(
    vektrace::libzstd PROPERTIES IMPORTED_LOCATION ${VEKTRACE_ZSTD_LIBRARY}
                                 INTERFACE_INCLUDE_DIRECTORIES ${VEKTRACE_ZSTD_INCLUDE_DIR})
endif()
