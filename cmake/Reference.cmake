# The target `reference` makes the reference of the public headers with doxygen, and fails if anything in them is not
# documented.

list(TRANSFORM headers REPLACE "(.+)" "\"\\1\"" OUTPUT_VARIABLE quoted)
list(JOIN quoted " " ZK_REFERENCE_INPUT)
configure_file(cmake/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(reference
  COMMAND doxygen ${PROJECT_BINARY_DIR}/Doxyfile
  COMMAND ${CMAKE_COMMAND} -E echo "the reference is in ${PROJECT_BINARY_DIR}/reference/html/index.html"
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  VERBATIM)
