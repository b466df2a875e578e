# Sets VEKTRACE_VERSION from the header in which it is written, libvekutil/version.h.

set(header ${CMAKE_CURRENT_LIST_DIR}/../libvekutil/version.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
file(STRINGS ${header} numbers REGEX "^#define VEKTRACE_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
list(TRANSFORM numbers REPLACE ".* " "")
list(LENGTH numbers count)
if(NOT count EQUAL 3)
  message(FATAL_ERROR "${header} does not define the three numbers of the version")
endif()
list(JOIN numbers "." VEKTRACE_VERSION)
unset(header)
unset(numbers)
unset(count)
