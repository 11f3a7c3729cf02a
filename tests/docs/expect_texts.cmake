# cmake -DSOURCES=FOLDER -DPAGE=FILE [-DMISSING=FILE] -P this_file
# The page contains, letter by letter, every text with which the product reports a failure: lines of
# levels E and W, lines of other levels with "failed", texts on standard output and on the debugger
# channel. In the page a word in capitals, for example N or PATH, replaces a conversion.
#
# Each row of the page for a line of the log (| E | `...` |) quotes a text of the sources.
#
# With MISSING the page breaks these rules for exactly the texts that this file lists, and the check must
# find each.
cmake_minimum_required(VERSION 3.24)

# The texts of one source.
function(texts_of source result)
  file(READ ${source} code)
  string(REGEX REPLACE "\n *//[^\n]*" "" code "${code}")
  # Escapes, and literals in several pieces.
  string(REPLACE "\\\\" "/" code "${code}")
  string(REPLACE "\\n" "" code "${code}")
  string(REPLACE "\\\"" "'" code "${code}")
  string(REGEX REPLACE "\"[ \n]+L\"" "" code "${code}")
  # Characters that separate or join elements of a CMake list.
  string(REPLACE ";" "@" code "${code}")
  string(REGEX REPLACE "[][]" "?" code "${code}")
  # The texts of a LogSite, which precede the message.
  string(REGEX REPLACE "{(File|L\"[^\"]*\"), (L\"[^\"]*\"|[a-z]+)}" "Site" code "${code}")

  string(CONCAT call "(LogError|LogWarning|LogLine|LogTrace|InternalTrace|CrashTrace|SystemTrace|"
         "ConsolePrint|Fail)\\([^@\"]*L\"[^\"]*\"")
  string(REGEX MATCHALL "${call}" found "${code}")
  # Texts for the debugger are composed of pieces.
  if(code MATCHES "OutputDebugStringW\\(L|const std::wstring text =")
    string(REGEX MATCHALL "L\"[^\"]*\"" pieces "${code}")
    list(APPEND found ${pieces})
  endif()
  set(texts "")
  foreach(one IN LISTS found)
    string(REGEX REPLACE ".*L\"([^\"]*)\"$" "\\1" text "${one}")
    string(STRIP "${text}" text)
    string(REGEX REPLACE "%[a-z]+" "" words "${text}")
    if(NOT words MATCHES "[A-Za-z]")
      continue()
    endif()
    if(words MATCHES "fail" OR NOT one MATCHES "^LogTrace|\\(TraceLevel|\\([a-z:]*LevelTrace")
      list(APPEND texts "${text}")
    endif()
  endforeach()
  set(${result} "${texts}" PARENT_SCOPE)
endfunction()

# The expression that finds a text in the page.
function(expression_of text result)
  string(REGEX REPLACE "([.*+^$()|])" "\\\\\\1" expression "${text}")
  string(REGEX REPLACE "%[a-z]+" "[A-Z]+" expression "${expression}")
  string(REPLACE "?" "." expression "${expression}")
  string(REPLACE "'" "['\"]" expression "${expression}")
  set(${result} "${expression}" PARENT_SCOPE)
endfunction()

# The text with one letter in place of each part that the page may word differently.
function(plain_form variable)
  string(REGEX REPLACE "%[a-z]+|[0-9]+|[A-Z][A-Z]+" "N" form "${${variable}}")
  string(REPLACE "\"" "'" form "${form}")
  set(${variable} "${form}" PARENT_SCOPE)
endfunction()

# The texts that the rows of the page quote.
function(texts_of_rows result)
  set(rows "${page}")
  string(REPLACE ";" "@" rows "${rows}")
  string(REGEX REPLACE "[][]" "?" rows "${rows}")
  string(REGEX MATCHALL "\n. [EWT] . `[^|]*" rows "${rows}")
  set(texts "")
  foreach(row IN LISTS rows)
    string(REGEX MATCHALL "`[^`]*`" quotes "${row}")
    foreach(quote IN LISTS quotes)
      string(REPLACE "`" "" quote "${quote}")
      list(APPEND texts "${quote}")
    endforeach()
  endforeach()
  set(${result} "${texts}" PARENT_SCOPE)
endfunction()

file(READ ${PAGE} page)
file(GLOB_RECURSE sources ${SOURCES}/framework/*.cpp ${SOURCES}/tarnwick-service/*.cpp)
set(count 0)
set(missing "")
set(forms "")
foreach(source IN LISTS sources)
  texts_of(${source} texts)
  foreach(text IN LISTS texts)
    math(EXPR count "${count} + 1")
    set(form "${text}")
    plain_form(form)
    list(APPEND forms "${form}")
    expression_of("${text}" expression)
    if(NOT page MATCHES "${expression}")
      list(APPEND missing "${text}")
      if(NOT DEFINED MISSING)
        file(RELATIVE_PATH name ${SOURCES} ${source})
        message(SEND_ERROR "${name}: not in ${PAGE}:\n${text}")
      endif()
    endif()
  endforeach()
endforeach()
texts_of_rows(quotes)
foreach(quote IN LISTS quotes)
  set(form "${quote}")
  plain_form(form)
  if(NOT form IN_LIST forms)
    list(APPEND missing "${quote}")
    if(NOT DEFINED MISSING)
      message(SEND_ERROR "${PAGE}: not in the sources:\n${quote}")
    endif()
  endif()
endforeach()
if(DEFINED MISSING)
  file(STRINGS ${MISSING} expected)
  if(NOT missing STREQUAL expected)
    message(FATAL_ERROR "The check misses\n${missing}\ninstead of\n${expected}")
  endif()
elseif(count LESS 70)
  message(FATAL_ERROR "Only ${count} texts were found in the sources")
endif()
message(STATUS "${count} texts looked for")
