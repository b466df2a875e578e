# What makes the installed libraries findable: the CMake package and the pkg-config files.

include(CMakePackageConfigHelpers)

set(VEKTRACE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vektrace)

set(libraries vekutil vektrace)
set(VEKTRACE_COMPONENTS util trace)
if(VEKTRACE_BUILD_STREAM)
  list(APPEND libraries vekstream)
  list(APPEND VEKTRACE_COMPONENTS stream)
endif()

# A static library leaves it to the program to link what it uses itself.
set(VEKTRACE_STREAM_DEPENDENCIES)
set(VEKTRACE_PC_PRIVATE)
get_target_property(type vektrace TYPE)
if(type STREQUAL STATIC_LIBRARY AND VEKTRACE_HAS_ZLIB)
  list(APPEND VEKTRACE_STREAM_DEPENDENCIES ZLIB)
  list(APPEND VEKTRACE_PC_PRIVATE zlib)
endif()
if(type STREQUAL STATIC_LIBRARY AND VEKTRACE_HAS_ZSTD)
  list(APPEND VEKTRACE_STREAM_DEPENDENCIES VektraceZstd)
  list(APPEND VEKTRACE_PC_PRIVATE libzstd)
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/FindVektraceZstd.cmake
          DESTINATION ${VEKTRACE_PACKAGE_DIR})
endif()
list(JOIN VEKTRACE_PC_PRIVATE ", " VEKTRACE_PC_PRIVATE)

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/vektraceConfig.cmake.in ${PROJECT_BINARY_DIR}/vektraceConfig.cmake
  INSTALL_DESTINATION ${VEKTRACE_PACKAGE_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/vektraceConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vektraceConfig.cmake
              ${PROJECT_BINARY_DIR}/vektraceConfigVersion.cmake
        DESTINATION ${VEKTRACE_PACKAGE_DIR})

# With an absolute folder the tree cannot be moved, and its path stands as it is.
foreach(folder LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${folder}})
    set(VEKTRACE_PC_${folder} ${CMAKE_INSTALL_${folder}})
  else()
    set(VEKTRACE_PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()

# The prefix is found from the place of the .pc file, so that an installed tree may be moved.
file(RELATIVE_PATH VEKTRACE_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
     ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VEKTRACE_PC_TO_PREFIX ${VEKTRACE_PC_TO_PREFIX})
foreach(library IN LISTS libraries)
  install(
    EXPORT ${library}Targets
    NAMESPACE vektrace::
    DESTINATION ${VEKTRACE_PACKAGE_DIR})
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${library}.pc.in ${PROJECT_BINARY_DIR}/${library}.pc
                 @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
