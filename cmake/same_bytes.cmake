# Reproducible builds: the same sources give the same bytes in every folder and at every time. Debug
# information names the sources below this folder instead of the checkout's. The path has a drive
# letter, because the compiler joins other paths with the build folder. The compiler cache names
# sources relative to the build folder.
set(source_folder_in_symbols "C:/tarnwick-service")
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang AND NOT MSVC)
  file(RELATIVE_PATH build_folder ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  file(RELATIVE_PATH way_back ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  string(REGEX REPLACE "/$" "" way_back ${way_back})
  set(same_bytes_options
      -gno-codeview-command-line
      -fdebug-prefix-map=${PROJECT_SOURCE_DIR}=${source_folder_in_symbols}
      -fdebug-prefix-map=${way_back}=${source_folder_in_symbols}
      -fdebug-compilation-dir=${source_folder_in_symbols}/${build_folder})
endif()
