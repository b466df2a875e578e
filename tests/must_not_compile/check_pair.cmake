# Compiles the file CASE with COMPILE (a command, its arguments separated by semicolons) twice:
# without its fault, which must succeed, and with it (-DFAULT), which must fail for the reasons that
# the case states in lines of the form
#
#     // error: REGEX
#
# Every such line must be found in an error of the compiler, and every error must be one of these:
# a case that fails for another reason proves nothing. LINKED, where given, are libraries: the case
# is then a whole program, linked as OUTPUT, and the fault may be found by the linker.

set(ENV{LC_ALL} C)  # messages in English, quotes in ASCII

set(command ${COMPILE} -std=c++17 ${CASE})
if(LINKED)
  list(APPEND command -o ${OUTPUT} ${LINKED})
else()
  list(APPEND command -fsyntax-only)
endif()

file(STRINGS ${CASE} reasons REGEX "^// error: ")
list(TRANSFORM reasons REPLACE "^// error: " "")
if(NOT reasons)
  message(FATAL_ERROR "${CASE} states no reason to fail")
endif()

execute_process(COMMAND ${command} RESULT_VARIABLE result ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "does not compile without its fault:\n${errors}")
endif()

execute_process(COMMAND ${command} -DFAULT RESULT_VARIABLE result ERROR_VARIABLE errors)
if(result EQUAL 0)
  message(FATAL_ERROR "compiles with its fault")
endif()

# Line by line: the compiler also quotes the code, in which each name occurs.
string(REPLACE ";" "," lines "${errors}")
string(REGEX MATCHALL "[^\n]*(error: |undefined )[^\n]*" lines "${lines}")
list(FILTER lines EXCLUDE REGEX "linker command failed|ld returned")
foreach(reason ${reasons})
  set(found ${lines})
  list(FILTER found INCLUDE REGEX "${reason}")
  if(NOT found)
    message(FATAL_ERROR "no error says \"${reason}\":\n${errors}")
  endif()
endforeach()
list(JOIN reasons "|" anyReason)
list(FILTER lines EXCLUDE REGEX "${anyReason}")
if(lines)
  message(FATAL_ERROR "an error with another reason: ${lines}\nin:\n${errors}")
endif()
