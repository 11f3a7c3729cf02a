# cmake -P check_json.cmake FILE...: ends with an error if a file is not valid JSON.
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(index RANGE 3 ${last})
  file(READ "${CMAKE_ARGV${index}}" text)
  string(JSON kind ERROR_VARIABLE error TYPE "${text}")
  if(error)
    message(SEND_ERROR "${CMAKE_ARGV${index}}: ${error}")
  endif()
endforeach()
