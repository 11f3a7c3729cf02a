# cmake -DCOMPILER=... -DABI=folder-of-the-header -DEXAMPLE=source -DPAGE=... -DFOLDER=...
#       -P build_example_alone.cmake
#
# Builds the example library from two files in an otherwise empty folder, with the two-line command
# in the page for authors.
cmake_minimum_required(VERSION 3.24)

file(READ ${PAGE} page)
if(NOT page MATCHES "\n    [^ \n]*-gcc[^ \n]* ([^\n]*)\\\\\n +([^\n]*)\n")
  message(FATAL_ERROR "${PAGE} has no command that builds a library")
endif()
separate_arguments(arguments UNIX_COMMAND "${CMAKE_MATCH_1} ${CMAKE_MATCH_2}")

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/controller-abi)
file(COPY ${ABI}/orrin_ctrl_abi.h DESTINATION ${FOLDER}/controller-abi)
file(COPY ${EXAMPLE} DESTINATION ${FOLDER})
execute_process(COMMAND ${COMPILER} ${arguments} WORKING_DIRECTORY ${FOLDER} COMMAND_ERROR_IS_FATAL
                                                                             ANY)
if(NOT EXISTS ${FOLDER}/orrin-ctrl.dll)
  message(FATAL_ERROR "${arguments} makes no orrin-ctrl.dll")
endif()
