# Runs a command in a fresh folder and compares its exit status, what it says and which files it
# leaves behind:
#
#   cmake -D FOLDER=... -D EXPECTED=... -D EXIT=... [-D INPUTS=A;B] [-D LEAVES=C;D]
#         -P compare_output.cmake -- COMMAND...
#
# FOLDER    where the command runs; made anew, so that its text names files without a path
# EXPECTED  the standard output is to be that of EXPECTED.stdout.txt, the standard error that
#           of EXPECTED.stderr.txt; where there is no such file, nothing is to be said
# EXIT      the exit status that is to be returned
# INPUTS    files that are copied into the folder before
# LEAVES    names of the files that the command is to make there; no other may be left behind
#
# These golden files change in one way only: with VEKTRACE_ACCEPT=1 in the environment, what was
# said becomes what is expected. To accept new text run
#
#   VEKTRACE_ACCEPT=1 ctest --test-dir BUILD -L golden
#
# and read the difference before committing it. Status and files cannot be accepted.

cmake_minimum_required(VERSION 3.25)

set(command "")
set(in_command FALSE)
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(i RANGE ${last})
  if(in_command)
    list(APPEND command "${CMAKE_ARGV${i}}")
  elseif("${CMAKE_ARGV${i}}" STREQUAL "--")
    set(in_command TRUE)
  endif()
endforeach()

file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
set(files_expected ${LEAVES})
foreach(input IN LISTS INPUTS)
  file(COPY "${input}" DESTINATION "${FOLDER}")
  cmake_path(GET input FILENAME name)
  list(APPEND files_expected "${name}")
endforeach()

execute_process(
  COMMAND ${command}
  WORKING_DIRECTORY "${FOLDER}"
  RESULT_VARIABLE status
  OUTPUT_VARIABLE said_out
  ERROR_VARIABLE said_err)

set(faults "")
if(NOT "${status}" STREQUAL "${EXIT}")
  string(APPEND faults "exit status ${status}, expected ${EXIT}\n")
endif()

file(GLOB files RELATIVE "${FOLDER}" "${FOLDER}/*" "${FOLDER}/.*")
list(FILTER files EXCLUDE REGEX "^\\.\\.?$")
list(SORT files)
list(SORT files_expected)
if(NOT "${files}" STREQUAL "${files_expected}")
  string(APPEND faults "files left: ${files}, expected: ${files_expected}\n")
endif()

foreach(stream out err)
  set(golden "${EXPECTED}.std${stream}.txt")
  if("$ENV{VEKTRACE_ACCEPT}" STREQUAL "1")
    file(REMOVE "${golden}")
    if(NOT "${said_${stream}}" STREQUAL "")
      file(WRITE "${golden}" "${said_${stream}}")
    endif()
  endif()
  set(expected "")
  if(EXISTS "${golden}")
    file(READ "${golden}" expected)
  endif()
  if(NOT "${said_${stream}}" STREQUAL "${expected}")
    string(APPEND faults "---- std${stream} is\n${said_${stream}}"
                         "---- expected by ${golden}\n${expected}----\n")
  endif()
endforeach()

if(faults)
  message("${faults}")
  message(FATAL_ERROR "not as expected: ${EXPECTED}")
endif()
