# How compilers and linkers do these things on macOS. The linker of a build on Linux knows no such options.

set(ZK_LIBRARY_OPTIONS)

# An executable is always loaded to an address that nobody can guess, and nothing that can be written is executed.
macro(zk_harden_executables)
endmacro()

# Of a shared library, only the names of the C interface can be seen.
function(zk_export_c_interface target)
  if(NOT CMAKE_CROSSCOMPILING)
    target_link_options(${target} PRIVATE LINKER:-exported_symbol,_zk_*)
  endif()
endfunction()

# The symbols of an executable in the build folder go to a bundle of their own, which debuggers find beside it.
function(zk_separate_symbols target)
  if(NOT CMAKE_CROSSCOMPILING)
    add_custom_command(TARGET ${target} POST_BUILD
      COMMAND dsymutil ${target}
      WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
      VERBATIM)
  endif()
endfunction()
