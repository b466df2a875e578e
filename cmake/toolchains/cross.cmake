# What the toolchains beside this file share: Debian's cross compiler, the libraries that
# scripts/platforms unpacked for the platform, and the emulator that runs its programs. Included with
#
#     VEKTRACE_DEBIAN     Debian's name of the architecture
#     VEKTRACE_MULTIARCH  its folder's name below /usr/lib
#     VEKTRACE_COMPILER   the prefix of its compiler
#     VEKTRACE_MACHINE    what its kernel calls the machine, and the emulator with it
#     VEKTRACE_FLAGS      what is to be defined for it, or nothing

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${VEKTRACE_MACHINE})
set(CMAKE_CXX_COMPILER ${VEKTRACE_COMPILER}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${VEKTRACE_MULTIARCH})

cmake_path(SET CMAKE_SYSROOT NORMALIZE
           ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${VEKTRACE_DEBIAN}/root)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
# A package may also be one that was just installed into a folder of its own.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(VEKTRACE_PKG_CONFIG_LIBDIR
    ${CMAKE_SYSROOT}/usr/lib/${VEKTRACE_MULTIARCH}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

# The sysroot once more for who compiles with these flags and without CMake.
set(CMAKE_CXX_FLAGS_INIT "--sysroot=${CMAKE_SYSROOT} ${VEKTRACE_FLAGS}")

# What starts the platform's programs. An x86-64 processor runs those of i386 itself, and then there
# is nothing but their loader. CMake would take an option -L as its own where it starts a test.
set(loader ${CMAKE_SYSROOT}/lib/ld-linux.so.2)
set(VEKTRACE_RUNS_ITSELF FALSE)
if(VEKTRACE_DEBIAN STREQUAL i386 AND EXISTS ${loader})
  execute_process(
    COMMAND ${loader} --version
    RESULT_VARIABLE result
    OUTPUT_QUIET ERROR_QUIET)
  if(result EQUAL 0)
    set(VEKTRACE_RUNS_ITSELF TRUE)
  endif()
endif()
if(VEKTRACE_RUNS_ITSELF)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run_i386 ${CMAKE_SYSROOT})
else()
  set(CMAKE_CROSSCOMPILING_EMULATOR env QEMU_LD_PREFIX=${CMAKE_SYSROOT} qemu-${VEKTRACE_MACHINE})
endif()
