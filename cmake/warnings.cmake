# The compiler flags of the build. Every target of this project links project_options.
# scripts/lint.sh has its own, longer list.
add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)

target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_definitions(project_options INTERFACE UNICODE _UNICODE)

if(MSVC)
  # cmake --compile-no-warning-as-error turns this off.
  set(CMAKE_COMPILE_WARNING_AS_ERROR ON)
  target_compile_options(project_options INTERFACE /W4 /utf-8 /permissive- /Zc:__cplusplus)
  target_compile_definitions(project_options INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  target_compile_options(
    project_options
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wshadow
              -Wconversion
              -Wsign-conversion
              -Wcast-align
              -Wundef
              -ffunction-sections
              -fdata-sections
              $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-fsized-deallocation>
              $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
              $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
              $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi>)
  target_link_options(project_options INTERFACE
                      $<$<NOT:$<BOOL:$<TARGET_PROPERTY:KEEPS_UNCALLED_FUNCTIONS>>>:-Wl,--gc-sections>)
  if(TARNWICK_UNDEFINED_TRAPS)
    # Not for enumerations: the platform's are flag sets, and the dump type from the registry may have
    # unnamed bits.
    target_compile_options(
      project_options INTERFACE -fsanitize=undefined -fno-sanitize=enum
                                $<IF:$<CXX_COMPILER_ID:GNU>,-fsanitize-undefined-trap-on-error,-fsanitize-trap=undefined>)
  endif()
  if(TARNWICK_COVERAGE)
    # Counts only the product, by the ends of its paths, including its headers in tests. Counting the
    # test library too turns links of seconds into minutes.
    target_compile_options(
      project_options
      INTERFACE --coverage -fprofile-update=atomic
                "-fprofile-filter-files=/(framework/[a-z]+|tarnwick-service)/[^/]+$"
                -fprofile-exclude-files=/tests/)
    target_link_options(project_options INTERFACE --coverage)
  endif()
endif()
