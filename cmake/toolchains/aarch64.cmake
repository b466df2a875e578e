# 64-bit ARM, little-endian.
set(VEKTRACE_DEBIAN arm64)
set(VEKTRACE_MULTIARCH aarch64-linux-gnu)
set(VEKTRACE_COMPILER aarch64-linux-gnu)
set(VEKTRACE_MACHINE aarch64)
set(VEKTRACE_FLAGS "")
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
