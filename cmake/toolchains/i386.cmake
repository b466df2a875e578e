# 32-bit x86, little-endian, 32-bit time_t.
set(VEKTRACE_DEBIAN i386)
set(VEKTRACE_MULTIARCH i386-linux-gnu)
set(VEKTRACE_COMPILER i686-linux-gnu)
set(VEKTRACE_MACHINE i386)
set(VEKTRACE_FLAGS "")
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
