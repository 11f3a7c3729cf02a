# cmake -DCOMPILER=... -DSTANDARD=c11|c++11... -DABI=folder-of-the-header -DFOLDER=...
#       -P compile_alone.cmake
#
# Copies the header into an otherwise empty folder and compiles a source there that includes only
# this header, as the library that defines the exports and as their caller.
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
file(COPY ${ABI}/orrin_ctrl_abi.h DESTINATION ${FOLDER})

if(STANDARD MATCHES "\\+\\+")
  set(language c++)
else()
  set(language c)
endif()
file(WRITE ${FOLDER}/alone.source "#include \"orrin_ctrl_abi.h\"\n"
     "int32_t Free(OrrinController* controller);\n"
     "int32_t Free(OrrinController* controller) {\n"
     "    return OrrinFreeComponentModelController(controller);\n"
     "}\n")

foreach(definition -UORRIN_CTRL_EXPORTS -DORRIN_CTRL_EXPORTS)
  execute_process(
    COMMAND ${COMPILER} -x ${language} -std=${STANDARD} -Wall -Wextra -Wpedantic -Wconversion
            -Wundef -Werror ${definition} -c alone.source -o alone.obj
    WORKING_DIRECTORY ${FOLDER} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
