# cmake -DRULE=Symbols|Manifest -DLINK=... -DDLLTOOL=... -DREADOBJ=... -DWINDRES=...
#       "-DOBJECTS=..." -DROOT=... -DRESOURCES=... -DFOLDER=... -P this_file
# Links like Visual C++, with a linker that follows the same rules. Missing symbols don't matter
# here, not even an entry point.
cmake_minimum_required(VERSION 3.24)

set(link ${LINK} /machine:x64 /subsystem:console /entry:wmain /nodefaultlib /force:unresolved
         /out:${FOLDER}/${RULE}.exe)

if(RULE STREQUAL "Symbols")
  # One member of an import library defines both `NAME` and `__imp_NAME`. A program that replaces
  # only one of them and uses the other defines it twice.
  file(READ ${ROOT}/tests/support/platform_hooks.h text)
  string(REGEX MATCHALL "CALL[(]\"[a-z0-9]+\", [A-Za-z]+" calls "${text}")
  list(TRANSFORM calls REPLACE ".* " "")
  list(JOIN calls "\n" names)
  file(WRITE ${FOLDER}/platform.def "LIBRARY platform.dll\nEXPORTS\n${names}\n")
  execute_process(COMMAND ${DLLTOOL} -m i386:x86-64 -d ${FOLDER}/platform.def -l
                          ${FOLDER}/platform.lib COMMAND_ERROR_IS_FATAL ANY)
  execute_process(
    COMMAND ${link} /manifest:no ${OBJECTS} ${FOLDER}/platform.lib
    RESULT_VARIABLE result
    ERROR_VARIABLE errors
    OUTPUT_QUIET)
else()
  # By default the generator for Visual Studio lets the linker embed a manifest.
  file(READ ${ROOT}/tarnwick-service/CMakeLists.txt text)
  string(REGEX MATCH "/MANIFEST:[A-Z]+" option "${text}")
  if(NOT option)
    set(option /MANIFEST:EMBED)
  endif()
  execute_process(
    COMMAND ${WINDRES} -O res tarnwick-service-resource.rc ${FOLDER}/resources.res
    WORKING_DIRECTORY ${RESOURCES} COMMAND_ERROR_IS_FATAL ANY)
  execute_process(
    COMMAND ${link} ${option} ${FOLDER}/resources.res
    RESULT_VARIABLE result
    ERROR_VARIABLE errors)
  execute_process(COMMAND ${READOBJ} --coff-resources ${FOLDER}/${RULE}.exe
                  OUTPUT_VARIABLE resources)
  if(result EQUAL 0 AND NOT resources MATCHES "Type: MANIFEST")
    message(FATAL_ERROR "no manifest:\n${resources}")
  endif()
endif()

string(REGEX MATCHALL "error: [^\n]*" found "${errors}")
if(NOT result EQUAL 0 OR found)
  message(FATAL_ERROR "${errors}")
endif()
