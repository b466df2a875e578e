# vektrace_library(NAME SOURCES ... HEADERS ... [LINKS ...])
#
# One library of the project: the target NAME, its alias vektrace::NAME (the same name that the
# installed package gives it) and its installed headers. The repository's root is the include root.

include_guard()
include(${CMAKE_CURRENT_LIST_DIR}/warnings.cmake)

function(vektrace_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;HEADERS;LINKS")
  add_library(${name} ${arg_SOURCES})
  add_library(vektrace::${name} ALIAS ${name})
  target_sources(
    ${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})
  target_compile_features(${name} PUBLIC cxx_std_17)
  target_link_libraries(${name} PUBLIC ${arg_LINKS})
  vektrace_warnings(${name})
  set_target_properties(
    ${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                       POSITION_INDEPENDENT_CODE ON
                       # Side by side wherever they are installed, also after a move.
                       INSTALL_RPATH "$ORIGIN")
  if(VEKTRACE_INSTALL)
    install(
      TARGETS ${name}
      EXPORT ${name}Targets
      LIBRARY COMPONENT vektrace_runtime NAMELINK_COMPONENT vektrace_development
      FILE_SET HEADERS)
  endif()
endfunction()
