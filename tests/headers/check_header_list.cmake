# Compares TESTED, the headers of the targets, with the headers that lie in the library folders of
# the REPOSITORY. Those in a detail/ folder are not public.

file(GLOB present RELATIVE ${REPOSITORY} ${REPOSITORY}/libvekutil/*.h ${REPOSITORY}/libvektrace/*.h
     ${REPOSITORY}/libvekstream/*.h)
list(SORT present)
list(SORT TESTED)
if(NOT present)
  message(FATAL_ERROR "no header found in ${REPOSITORY}")
endif()
if(NOT present STREQUAL TESTED)
  message(FATAL_ERROR "in the folders: ${present}\nof the targets: ${TESTED}")
endif()
