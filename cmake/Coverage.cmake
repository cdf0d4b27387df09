# The target `coverage` runs the unit tests of the folders that hold this system's logic, the executable's main job, and
# applications that use the C interface. It prints the line and branch coverage of these folders, from clang's
# source-based counts.

set(coverage_folders updater c host semaphore errors version)
set(coverage_tests updater_tests c_tests host_tests semaphore_tests errors_tests version_tests)

find_program(LLVM_PROFDATA NAMES llvm-profdata llvm-profdata-14 REQUIRED)
find_program(LLVM_COV NAMES llvm-cov llvm-cov-14 REQUIRED)

set(coverage_objects $<TARGET_FILE:zkupdater> -object $<TARGET_FILE:zkupdater_shared>)
foreach(test IN LISTS coverage_tests)
  list(APPEND coverage_objects -object $<TARGET_FILE:${test}>)
endforeach()
list(TRANSFORM coverage_folders PREPEND ${CMAKE_SOURCE_DIR}/ OUTPUT_VARIABLE coverage_sources)

add_custom_target(coverage
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${CMAKE_BINARY_DIR}/profiles
  COMMAND ${CMAKE_COMMAND} -E env LLVM_PROFILE_FILE=${CMAKE_BINARY_DIR}/profiles/%p-%m.profraw
    ${CMAKE_CTEST_COMMAND} --quiet --output-on-failure --parallel 2
    -R "^(updater|c|host|semaphore|errors|version)_tests[.]"
  COMMAND ${CMAKE_COMMAND} -E env LLVM_PROFILE_FILE=${CMAKE_BINARY_DIR}/profiles/%p-%m.profraw
    ZK_BUILD=${CMAKE_BINARY_DIR} PYTHONDONTWRITEBYTECODE=1
    /usr/bin/python3 -m pytest -q -p no:cacheprovider --basetemp=${CMAKE_BINARY_DIR}/coverage-files
    ${CMAKE_SOURCE_DIR}/tests/acceptance/main_job_test.py ${CMAKE_SOURCE_DIR}/tests/acceptance/c_interface_test.py
  COMMAND ${LLVM_PROFDATA} merge -sparse -o ${CMAKE_BINARY_DIR}/coverage.profdata ${CMAKE_BINARY_DIR}/profiles
  COMMAND ${LLVM_COV} report ${coverage_objects} -instr-profile ${CMAKE_BINARY_DIR}/coverage.profdata
    -show-branch-summary ${coverage_sources}
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
  DEPENDS zkupdater zkupdater_shared ${coverage_tests}
  VERBATIM USES_TERMINAL)
