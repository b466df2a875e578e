# What the stream library decompresses with. VEKTRACE_HAS_ZLIB and VEKTRACE_HAS_ZSTD say what is
# there and wanted; the targets are ZLIB::ZLIB and vektrace::libzstd.

include_guard()

option(VEKTRACE_WITH_ZLIB "Read gzip input, where zlib is found" ON)
option(VEKTRACE_WITH_ZSTD "Read zstd input, where libzstd is found" ON)

set(VEKTRACE_HAS_ZLIB OFF)
set(VEKTRACE_HAS_ZSTD OFF)
if(VEKTRACE_WITH_ZLIB)
  find_package(ZLIB QUIET)
  set(VEKTRACE_HAS_ZLIB ${ZLIB_FOUND})
  if(NOT ZLIB_FOUND)
    message(STATUS "zlib is not found: without gzip input")
  endif()
endif()
if(VEKTRACE_WITH_ZSTD)
  list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
  find_package(VektraceZstd QUIET)
  list(POP_FRONT CMAKE_MODULE_PATH)
  set(VEKTRACE_HAS_ZSTD ${VektraceZstd_FOUND})
  if(NOT VektraceZstd_FOUND)
    message(STATUS "libzstd is not found: without zstd input")
  endif()
endif()
