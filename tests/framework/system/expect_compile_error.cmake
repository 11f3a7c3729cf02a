# cmake -DCOMPILER=... -DINCLUDE=... -DSOURCE=... -DCASE=... [-DMESSAGE=...] -P this_file
# Compiles one case of SOURCE. With MESSAGE the compiler must fail with this message; without it the
# compiler must succeed.
execute_process(
  COMMAND ${COMPILER} -std=c++20 -fsyntax-only -I${INCLUDE} -DCASE_${CASE} ${SOURCE}
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output)
if(NOT MESSAGE)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${CASE} should compile:\n${output}")
  endif()
  return()
endif()
if(result EQUAL 0)
  message(FATAL_ERROR "${CASE} should not compile")
endif()
string(FIND "${output}" "${MESSAGE}" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${CASE} fails, but not with \"${MESSAGE}\":\n${output}")
endif()
