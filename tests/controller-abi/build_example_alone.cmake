# cmake -DCOMPILER=... -DABI=folder-of-the-header -DEXAMPLE=source -DFOLDER=...
#       -P build_example_alone.cmake
#
# Builds the example library from two files in an otherwise empty folder, with the command that
# docs/writing-a-controller.md gives.
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER}/controller-abi)
file(COPY ${ABI}/orrin_ctrl_abi.h DESTINATION ${FOLDER}/controller-abi)
file(COPY ${EXAMPLE} DESTINATION ${FOLDER})
get_filename_component(name ${EXAMPLE} NAME)
execute_process(
  COMMAND ${COMPILER} -std=c11 -O2 -Wall -Wextra -Werror -I. -shared -static -o my-controller.dll
          ${name}
  WORKING_DIRECTORY ${FOLDER} COMMAND_ERROR_IS_FATAL ANY)
