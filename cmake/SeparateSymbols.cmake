# zk_separate_symbols(<target>)
#
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
