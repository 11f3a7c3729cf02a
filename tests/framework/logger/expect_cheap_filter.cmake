# cmake -DCOMPILER=... -DINCLUDE=... -DSOURCE=... -P this_file
# A call that does not pass the filter is a load, a bit test and a branch. One of the two paths from
# the branch to a return has no call, no locked instruction and no other branch.
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
# Up to the branch, then one of its two paths: the compiler chooses which one returns.
string(REGEX MATCH "\n\tj[a-z]+[ \t]+([^ \t\n]+)[^\n]*\n" branch "${body}")
if(NOT branch)
  message(FATAL_ERROR "A filtered call has no branch:\n${body}")
endif()
set(label "${CMAKE_MATCH_1}")
string(FIND "${body}" "${branch}" place)
string(SUBSTRING "${body}" 0 ${place} path)
string(LENGTH "${branch}" length)
math(EXPR place "${place} + ${length}")
string(SUBSTRING "${body}" ${place} -1 straight)
string(FIND "${body}" "\n${label}:" place)
string(SUBSTRING "${body}" ${place} -1 away)
set(isCheap FALSE)
foreach(way IN ITEMS "${straight}" "${away}")
  string(FIND "${way}" "\tret" end)
  string(SUBSTRING "${way}" 0 ${end} way)
  if(NOT way MATCHES "\t(call|j[a-z]+|lock|xchg)")
    set(isCheap TRUE)
  endif()
endforeach()
if(NOT isCheap OR path MATCHES "\t(call|lock|xchg)" OR NOT path MATCHES "\ttest[bl]"
   OR NOT path MATCHES "PassingLevels")
  message(FATAL_ERROR "A filtered call runs:\n${body}")
endif()
