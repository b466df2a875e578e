# The compilers of the tests that only compile: the configured one with its flags, and beside it
# g++ and clang++ where they are found, whose judgement of a header differs. For another platform
# there is the configured one only.
#
# VEKTRACE_COMPILERS holds their names; VEKTRACE_COMPILE_<name> is what compiles with <name>.

include_guard()
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/warnings.cmake)

if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  set(VEKTRACE_CONFIGURED_COMPILER g++)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
  set(VEKTRACE_CONFIGURED_COMPILER clang++)
else()
  cmake_path(GET CMAKE_CXX_COMPILER FILENAME VEKTRACE_CONFIGURED_COMPILER)
endif()
separate_arguments(flags UNIX_COMMAND "${CMAKE_CXX_FLAGS}")
set(VEKTRACE_COMPILE_${VEKTRACE_CONFIGURED_COMPILER}
    ${CMAKE_CXX_COMPILER} ${flags} -I${PROJECT_SOURCE_DIR})
set(VEKTRACE_COMPILERS ${VEKTRACE_CONFIGURED_COMPILER})

# Another compiler of this machine would judge for this machine.
if(CMAKE_CROSSCOMPILING)
  return()
endif()
find_program(VEKTRACE_GXX g++)
find_program(VEKTRACE_CLANGXX clang++)
mark_as_advanced(VEKTRACE_GXX VEKTRACE_CLANGXX)
foreach(path ${VEKTRACE_GXX} ${VEKTRACE_CLANGXX})
  cmake_path(GET path FILENAME compiler)
  if(path AND NOT compiler IN_LIST VEKTRACE_COMPILERS)
    set(VEKTRACE_COMPILE_${compiler} ${path} -I${PROJECT_SOURCE_DIR})
    list(APPEND VEKTRACE_COMPILERS ${compiler})
  endif()
endforeach()
