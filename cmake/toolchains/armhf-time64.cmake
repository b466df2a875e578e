# 32-bit ARM, little-endian, 64-bit time_t.
set(VEKTRACE_DEBIAN armhf)
set(VEKTRACE_MULTIARCH arm-linux-gnueabihf)
set(VEKTRACE_COMPILER arm-linux-gnueabihf)
set(VEKTRACE_MACHINE arm)
set(VEKTRACE_FLAGS "-Wno-psabi -D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64")
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
