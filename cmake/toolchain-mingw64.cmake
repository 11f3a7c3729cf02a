# Cross-compiles for 64-bit Windows with clang and LLVM's linker, on the headers and run-time
# libraries of Debian's MinGW-w64 (POSIX threads), and runs the result on Wine.
include(${CMAKE_CURRENT_LIST_DIR}/mingw64-target.cmake)

set(CMAKE_C_COMPILER clang-${llvm_version})
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER clang++-${llvm_version})
set(CMAKE_CXX_COMPILER_TARGET ${triple})
set(CMAKE_AR llvm-ar-${llvm_version})
set(CMAKE_RANLIB llvm-ranlib-${llvm_version})

# Each program has a PDB next to it, with the program's name. The program itself has no debug
# information: LLDB ignores the PDB if the program has a symbol table or the DWARF of the run-time
# libraries. Neither file contains a time or a folder; cmake/same_bytes.cmake has the compiler's part.
add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-gcodeview>)
# As in libstdc++, whose std::call_once and std::promise don't link with the platform's own kind.
add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-femulated-tls>)
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -fuse-ld=lld-${llvm_version} -Wl,--pdb=,-s -Wl,-Xlink=/Brepro,-Xlink=-pdbaltpath:%_PDB%,-Xlink=-pdbsourcepath:C:/tarnwick-service -lpthread")
endforeach()
