# Like toolchain-mingw64.cmake, but compiled by GCC. clang links: Debian's cross GCC supports only GNU
# ld, which takes 15 seconds for a test program.
include(${CMAKE_CURRENT_LIST_DIR}/mingw64-target.cmake)

set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)

set(link "clang++-${llvm_version} --target=${triple} -static -fuse-ld=lld-${llvm_version} -lpthread")
foreach(language C CXX)
  set(CMAKE_${language}_LINK_EXECUTABLE
      "${link} <LINK_FLAGS> <OBJECTS> -o <TARGET> -Wl,--out-implib,<TARGET_IMPLIB> <LINK_LIBRARIES>")
  set(CMAKE_${language}_CREATE_SHARED_LIBRARY
      "${link} -shared <LINK_FLAGS> -o <TARGET> -Wl,--out-implib,<TARGET_IMPLIB> <OBJECTS> <LINK_LIBRARIES>")
  set(CMAKE_${language}_CREATE_SHARED_MODULE "${CMAKE_${language}_CREATE_SHARED_LIBRARY}")
endforeach()
