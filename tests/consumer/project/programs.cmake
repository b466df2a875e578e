# The consumer's programs: the same target names however the libraries were found. Who wanted no
# stream library has no program that uses it.

add_executable(bytes ${CMAKE_CURRENT_LIST_DIR}/bytes.cpp)
target_link_libraries(bytes PRIVATE vektrace::vekutil)

add_executable(messages ${CMAKE_CURRENT_LIST_DIR}/messages.cpp)
target_link_libraries(messages PRIVATE vektrace::vektrace)

if(TARGET vektrace::vekstream)
  add_executable(streams ${CMAKE_CURRENT_LIST_DIR}/streams.cpp)
  target_link_libraries(streams PRIVATE vektrace::vekstream)
endif()
