# How compilers and linkers do these things on macOS. The linker of a build on Linux knows no such options.

if(CMAKE_CROSSCOMPILING)
  # It shows every name that the compiler does not hide.
  set(ZK_LIBRARY_OPTIONS -fvisibility=hidden -fvisibility-inlines-hidden)
else()
  set(ZK_LIBRARY_OPTIONS)
endif()

# An executable is always loaded to an address that nobody can guess, and nothing that can be written is executed.
macro(zk_harden_executables)
endmacro()

# Of a shared library, only the names of the C interface can be seen, and in a build on Linux the compiler's own ones.
function(zk_export_c_interface target)
  if(CMAKE_CROSSCOMPILING)
    target_compile_options(zk_c PRIVATE "SHELL:-include \"${PROJECT_SOURCE_DIR}/cmake/VisibleInterface.h\"")
  else()
    target_link_options(${target} PRIVATE LINKER:-exported_symbol,_zk_*)
  endif()
endfunction()

# In a release build, copies the symbols of an executable or a shared library to a bundle beside it, <file>.dSYM, where
# debuggers find them.
function(zk_separate_symbols target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo" OR CMAKE_CROSSCOMPILING OR ZK_SANITIZE)
    return()
  endif()
  set(file $<TARGET_FILE:${target}>)
  add_custom_command(TARGET ${target} POST_BUILD COMMAND dsymutil ${file} VERBATIM)
  set_target_properties(${target} PROPERTIES ADDITIONAL_CLEAN_FILES ${file}.dSYM)
endfunction()
