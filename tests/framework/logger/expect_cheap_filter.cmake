# cmake -DCOMPILER=... -DINCLUDE=... -DSOURCE=... -P this_file
# A call that doesn't pass the filter is a load, a test of a bit and a branch: before the first
# return of the compiled function stands one branch and neither a call nor a locked instruction.
execute_process(
  COMMAND ${COMPILER} -std=c++20 -O2 -S -o - -I${INCLUDE} -DCASE_FILTERED ${SOURCE}
  OUTPUT_VARIABLE assembly
  RESULT_VARIABLE result
  ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${errors}")
endif()
string(REGEX MATCH "\nFilteredCall:[^\n]*\n(.*)" found "${assembly}")
if(NOT found)
  message(FATAL_ERROR "FilteredCall is not in the assembly")
endif()
set(body "${CMAKE_MATCH_1}")
string(FIND "${body}" "\tret" end)
string(SUBSTRING "${body}" 0 ${end} path)
string(REGEX MATCHALL "\t(call|j[a-z]+|lock|xchg)[ \t]" steps "${path}")
list(LENGTH steps count)
if(path MATCHES "\tcall|\tlock|\txchg" OR NOT count EQUAL 1 OR NOT path MATCHES "\ttest[bl]"
   OR NOT path MATCHES "PassingLevels")
  message(FATAL_ERROR "A filtered call runs:\n${path}")
endif()
