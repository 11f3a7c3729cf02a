# cmake -DCHECK=command;line -DPAGE=docs/writing-a-controller.md -P expectations_explained.cmake
#
# The page has a row for each identifier in the program's JSON report, and no others.
execute_process(COMMAND ${CHECK} --json no-such-library.dll OUTPUT_VARIABLE report
                RESULT_VARIABLE result)
if(NOT result EQUAL 1)
  message(FATAL_ERROR "the check of a missing file ended with ${result} instead of 1")
endif()

set(ids)
string(JSON count LENGTH "${report}" expectations)
math(EXPR last "${count} - 1")
foreach(index RANGE ${last})
  string(JSON id GET "${report}" expectations ${index} id)
  list(APPEND ids ${id})
endforeach()

file(READ ${PAGE} page)
string(REGEX REPLACE ".*### The expectations\n" "" page "${page}")
string(REGEX REPLACE "\n### .*" "" page "${page}")
string(REGEX MATCHALL "\n\\| `[^`]+` " rows "${page}")
list(TRANSFORM rows REPLACE "^\n\\| `([^`]+)` $" "\\1")

if(NOT "${ids}" STREQUAL "${rows}")
  message(FATAL_ERROR "the program reports\n  ${ids}\nand ${PAGE} explains\n  ${rows}")
endif()
