# Like toolchain-mingw64.cmake, but compiled by GCC. clang links: Debian's cross GCC supports only GNU
# ld, which takes 15 seconds for a test program.
include(${CMAKE_CURRENT_LIST_DIR}/mingw64-target.cmake)

set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)

# Read after CMake has set link rules of its own.
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/link_by_clang.cmake)
