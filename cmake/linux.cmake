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

# In a release build, moves the symbols of an executable or a shared library to a file of their own beside it,
# <file>.debug, where debuggers find them. The target's property ZK_SYMBOLS is then true.
function(zk_separate_symbols target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo" OR NOT CMAKE_OBJCOPY OR ZK_SANITIZE)
    return()
  endif()
  set(file $<TARGET_FILE:${target}>)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${file}.debug
    COMMAND ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=${file}.debug ${file}
    VERBATIM)
  set_target_properties(${target} PROPERTIES ZK_SYMBOLS TRUE ADDITIONAL_CLEAN_FILES ${file}.debug)
endfunction()
