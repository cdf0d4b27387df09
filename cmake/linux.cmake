# How compilers and linkers do these things on Linux.

# Nobody replaces the functions of the shared library at run time.
set(ZK_LIBRARY_OPTIONS -fno-semantic-interposition)

# Options for a release build that make errors harder to exploit.
macro(zk_harden_executables)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
endmacro()

# Of a shared library, only the names of the C interface can be seen.
function(zk_export_c_interface target)
  set(exported ${PROJECT_SOURCE_DIR}/c/Exported.map)
  target_link_options(${target} PRIVATE LINKER:--version-script=${exported})
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exported})
endfunction()

# The symbols of an executable in the build folder go to a file of their own, which debuggers find beside it.
function(zk_separate_symbols target)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${target} ${target}.debug
    COMMAND ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=${target}.debug ${target}
    BYPRODUCTS ${CMAKE_BINARY_DIR}/${target}.debug
    WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
    VERBATIM)
endfunction()
