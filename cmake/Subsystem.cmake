# zk_subsystem(<name> LINKS <target>...)
#
# One static library per top folder. Its include root is its own folder, and it sees only the folders of what it links:
# an include that leads upwards does not compile.
function(zk_subsystem name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "LINKS")
  add_library(zk_${name} STATIC)
  add_library(zk::${name} ALIAS zk_${name})
  target_include_directories(zk_${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(zk_${name} PUBLIC ${ARG_LINKS})
  target_compile_features(zk_${name} PUBLIC cxx_std_20)
  # All of it goes into the shared library, too (c/).
  set_target_properties(zk_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_compile_options(zk_${name} PRIVATE ${ZK_LIBRARY_OPTIONS})
endfunction()
