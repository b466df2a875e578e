# vektrace_public_headers(VARIABLE): the headers that the libraries install, as they are included.
# Asked from the targets, so that no header is forgotten here.

include_guard()

function(vektrace_public_headers variable)
  set(headers)
  foreach(library vekutil vektrace vekstream)
    get_target_property(files ${library} HEADER_SET)
    foreach(file ${files})
      cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
      list(APPEND headers ${file})
    endforeach()
  endforeach()
  if(NOT headers)
    message(FATAL_ERROR "the libraries have no public headers")
  endif()
  set(${variable} ${headers} PARENT_SCOPE)
endfunction()
