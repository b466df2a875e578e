# vektrace_plugin(NAME SOURCE...): a plugin of the program vektrace, the shared object NAME.so.
#
# It uses the program's own libvektrace. Where that is a part of the program the plugin is linked
# without it, and its references to it stay open until the program loads it.

include_guard()
include(${CMAKE_CURRENT_LIST_DIR}/warnings.cmake)

function(vektrace_plugin name)
  add_library(${name} MODULE ${ARGN})
  get_target_property(type vektrace TYPE)
  if(type STREQUAL SHARED_LIBRARY)
    target_link_libraries(${name} PRIVATE vektrace::vektrace)
  else()
    target_compile_features(${name} PRIVATE cxx_std_17)
    target_include_directories(
      ${name} PRIVATE $<TARGET_PROPERTY:vektrace::vektrace,INTERFACE_INCLUDE_DIRECTORIES>)
  endif()
  set_target_properties(${name} PROPERTIES PREFIX "")
  vektrace_warnings(${name})
endfunction()
