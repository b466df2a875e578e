# Whether the file README contains the files QUOTED, word for word, each as a fenced block.

file(READ ${README} readme)
foreach(quoted IN LISTS QUOTED)
  file(READ ${quoted} text)
  string(FIND "${readme}" "\n${text}```\n" position)
  if(text STREQUAL "" OR position EQUAL -1)
    message(FATAL_ERROR "${README} does not quote ${quoted} as it is")
  endif()
endforeach()
