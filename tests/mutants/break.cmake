# Writes BROKEN, a copy of SOURCE with what the mutant NAME changes. A text that is not there exactly
# once is an error: the source has moved on, and the mutant must follow.

function(mutant name)
  if(NOT name STREQUAL NAME)
    return()
  endif()
  cmake_parse_arguments(MUTANT "" "FILE;FROM;TO;TESTS" "" ${ARGN})
  file(READ ${SOURCE} text)
  string(FIND "${text}" "${MUTANT_FROM}" first)
  string(FIND "${text}" "${MUTANT_FROM}" last REVERSE)
  if(first EQUAL -1 OR NOT first EQUAL last)
    message(FATAL_ERROR "mutant ${name}: ${MUTANT_FILE} must hold once:\n${MUTANT_FROM}")
  endif()
  string(REPLACE "${MUTANT_FROM}" "${MUTANT_TO}" text "${text}")
  file(WRITE ${BROKEN} "${text}")
endfunction()

include(${CMAKE_CURRENT_LIST_DIR}/mutants.cmake)
