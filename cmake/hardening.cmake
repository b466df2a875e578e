# Included when VEKTRACE_HARDENING is on: what makes a fault in memory harder to use, and builds
# that do not depend on where, when and by whom they are made. Packagers who bring their own flags
# leave it off.

include_guard()
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_compile_options(-fstack-protector-strong -fstack-clash-protection -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
# Run-time paths relative to the file, also before the installation: its length would show.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
# Fortified functions are inline: without optimisation there are none.
add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
