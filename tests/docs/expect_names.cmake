# cmake -DFOLDER=FOLDER -DBUILD=FOLDER -DCTEST=PROGRAM -P this_file
# Everything that a document names exists: files and folders of the tree, test programs, tests that a
# command of scripts/test.sh selects, rows of the measurement.
cmake_minimum_required(VERSION 3.24)

file(GLOB documents RELATIVE ${FOLDER} ${FOLDER}/*.md ${FOLDER}/docs/*.md ${FOLDER}/*/README.md)
set(count 0)
macro(expect condition_result document what)
  math(EXPR count "${count} + 1")
  if(NOT ${condition_result})
    message(SEND_ERROR "${document}: ${what} doesn't exist")
  endif()
endmacro()

# The first group of each match of an expression in the page.
function(matches_in page expression result)
  string(REGEX MATCHALL "${expression}" found "${page}")
  set(texts "")
  foreach(one IN LISTS found)
    string(REGEX MATCH "${expression}" one "${one}")
    list(APPEND texts "${CMAKE_MATCH_1}")
  endforeach()
  list(REMOVE_DUPLICATES texts)
  set(${result} "${texts}" PARENT_SCOPE)
endfunction()

# Whether ctest selects any test with this pattern.
function(selects pattern result)
  execute_process(
    COMMAND ${CTEST} --test-dir ${BUILD} -N -R "${pattern}"
    OUTPUT_VARIABLE list
    ERROR_QUIET)
  set(${result} FALSE PARENT_SCOPE)
  if(list MATCHES "Total Tests: [1-9]")
    set(${result} TRUE PARENT_SCOPE)
  endif()
endfunction()

foreach(document IN LISTS documents)
  file(READ ${FOLDER}/${document} page)
  string(REPLACE ";" "," page "${page}")
  string(REGEX REPLACE "[][]" "" page "${page}")

  set(top "framework|tarnwick-service|dev-controller|controller-abi|tools|tests|bench|cmake|scripts")
  matches_in("${page}" "[ `(]((${top})/[A-Za-z0-9_/.-]*[A-Za-z0-9_])" paths)
  foreach(path IN LISTS paths)
    set(known FALSE)
    if(EXISTS ${FOLDER}/${path})
      set(known TRUE)
    endif()
    expect(known ${document} ${path})
  endforeach()

  matches_in("${page}" "[ `/^']([a-z_]+_(tests|races))([ `]|\\.[A-Z]|\\.exe)" programs)
  list(REMOVE_ITEM programs add_end_to_end_tests)
  foreach(program IN LISTS programs)
    selects("^${program}\\." known)
    expect(known ${document} "the test program ${program}")
  endforeach()

  matches_in("${page}" "test\\.sh[^\n`]* -R '?([^ '`\n]+)" patterns)
  foreach(pattern IN LISTS patterns)
    selects("${pattern}" known)
    expect(known ${document} "a test for -R ${pattern}")
  endforeach()
endforeach()

# The rows of the measurement. Sources insert a number into some of them.
file(GLOB sources ${FOLDER}/bench/*/*.cpp)
set(code "")
foreach(source IN LISTS sources)
  file(READ ${source} text)
  string(APPEND code "${text}")
endforeach()
file(READ ${FOLDER}/docs/performance.md page)
matches_in("${page}" "\n\\| ([a-z][^|\n]*) \\|[^\n]*(reached|shown) \\|" rows)
foreach(row IN LISTS rows)
  string(REGEX REPLACE " \\(.*" "" row "${row}")
  string(REGEX REPLACE "[0-9]+" ";" pieces "${row}")
  set(known TRUE)
  foreach(piece IN LISTS pieces)
    string(FIND "${code}" "${piece}" place)
    if(place EQUAL -1)
      set(known FALSE)
    endif()
  endforeach()
  expect(known docs/performance.md "the row \"${row}\"")
endforeach()

list(LENGTH rows rowCount)
if(count LESS 50 OR rowCount EQUAL 0)
  message(FATAL_ERROR "Only ${count} names were found, ${rowCount} of them rows")
endif()
message(STATUS "${count} names looked up")
