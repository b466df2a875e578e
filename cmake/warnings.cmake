# vektrace_warnings(TARGET): the warnings that all code of the project is free of. They become
# errors only where the build is configured with CMAKE_COMPILE_WARNING_AS_ERROR, as the continuous
# integration does.

include_guard()

set(VEKTRACE_WARNINGS
    -Wall
    -Wextra
    -Wpedantic
    -Wconversion
    -Wsign-conversion
    -Wshadow
    -Wold-style-cast
    -Wnon-virtual-dtor)

function(vektrace_warnings target)
  target_compile_options(${target} PRIVATE ${VEKTRACE_WARNINGS})
endfunction()
