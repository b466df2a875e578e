# The libraries that ours is compared with. Each takes part when it is installed; the line that says
# so is read by scripts/bench.

function(bench_peer name found)
  if(NOT found)
    message(STATUS "bench: ${name} is left out, it is not installed")
    return()
  endif()
  message(STATUS "bench: ${name} takes part")
  string(TOUPPER ${name} macro)
  target_sources(bench PRIVATE contenders/${name}.cpp)
  target_compile_definitions(bench PRIVATE BENCH_HAS_${macro})
  target_link_libraries(bench PRIVATE ${ARGN})
endfunction()

find_package(fmt QUIET)
bench_peer(fmt "${fmt_FOUND}" fmt::fmt)

find_package(absl QUIET)
bench_peer(absl "${absl_FOUND}" absl::strings absl::str_format absl::time)

find_package(spdlog QUIET)
bench_peer(spdlog "${spdlog_FOUND}" spdlog::spdlog)

# The generated code has warnings of its own: a library, whose headers count as the system's.
find_package(Protobuf QUIET)
if(Protobuf_FOUND)
  add_library(record_proto STATIC)
  protobuf_generate(
    TARGET record_proto LANGUAGE cpp
    PROTOS ${CMAKE_CURRENT_SOURCE_DIR}/contenders/record.proto
    IMPORT_DIRS ${CMAKE_CURRENT_SOURCE_DIR}/contenders)
  target_include_directories(record_proto SYSTEM PUBLIC ${CMAKE_CURRENT_BINARY_DIR})
  target_link_libraries(record_proto PUBLIC protobuf::libprotobuf)
endif()
bench_peer(protobuf "${Protobuf_FOUND}" record_proto)

find_path(MSGPACK_INCLUDE_DIR msgpack.hpp)
if(MSGPACK_INCLUDE_DIR)
  add_library(msgpack_headers INTERFACE)
  target_include_directories(msgpack_headers SYSTEM INTERFACE ${MSGPACK_INCLUDE_DIR})
  target_compile_definitions(msgpack_headers INTERFACE MSGPACK_NO_BOOST)
endif()
bench_peer(msgpack "${MSGPACK_INCLUDE_DIR}" msgpack_headers)

find_path(TINS_INCLUDE_DIR tins/pdu.h)
find_library(TINS_LIBRARY tins)
if(TINS_INCLUDE_DIR AND TINS_LIBRARY)
  bench_peer(tins TRUE ${TINS_LIBRARY})
else()
  bench_peer(tins FALSE)
endif()
