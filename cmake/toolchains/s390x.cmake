# 64-bit, big-endian.
set(VEKTRACE_DEBIAN s390x)
set(VEKTRACE_MULTIARCH s390x-linux-gnu)
set(VEKTRACE_COMPILER s390x-linux-gnu)
set(VEKTRACE_MACHINE s390x)
set(VEKTRACE_FLAGS "")
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
