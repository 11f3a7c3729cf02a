# Creates an import library from a module definition file only, so that the executable links without
# the library whose exports the file lists.
function(add_import_library target definition)
  set(library ${CMAKE_CURRENT_BINARY_DIR}/${target}${CMAKE_STATIC_LIBRARY_SUFFIX})
  if(MSVC)
    set(command ${CMAKE_AR} /nologo /machine:x64 /def:${definition} /out:${library})
  else()
    # Without its path, which would become part of symbols.
    set(command ${CMAKE_DLLTOOL} --input-def ${definition} --output-lib
                ${target}${CMAKE_STATIC_LIBRARY_SUFFIX})
  endif()
  add_custom_command(
    OUTPUT ${library}
    COMMAND ${command}
    DEPENDS ${definition}
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    VERBATIM)
  add_custom_target(${target}_file DEPENDS ${library})
  add_library(${target} INTERFACE)
  add_dependencies(${target} ${target}_file)
  target_link_libraries(${target} INTERFACE ${library})
endfunction()
