# Link rules for objects that GCC compiled.
set(link "clang++-${llvm_version} --target=${triple} -static -fuse-ld=lld-${llvm_version}")
set(link "${link} -lpthread <LINK_FLAGS> <OBJECTS> -o <TARGET>")
set(link "${link} -Wl,--out-implib,<TARGET_IMPLIB> <LINK_LIBRARIES>")
foreach(language C CXX)
  set(CMAKE_${language}_LINK_EXECUTABLE "${link}")
  set(CMAKE_${language}_CREATE_SHARED_LIBRARY "${link} -shared")
  set(CMAKE_${language}_CREATE_SHARED_MODULE "${link} -shared")
endforeach()
