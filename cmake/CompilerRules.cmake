# The options that every file here is compiled with.

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(PROJECT_IS_TOP_LEVEL)
  # Inside another project a new warning of a newer compiler must not stop the build.
  add_compile_options(-Werror)
endif()

if(ZK_SANITIZE)
  add_compile_options(-fsanitize=${ZK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # That check opens descriptors, but some tests run out of them on purpose.
  add_compile_options(-fno-sanitize=vptr)
  add_link_options(-fsanitize=${ZK_SANITIZE})
endif()

if(ZK_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()

if(ZK_FUZZ)
  # Every library gives the fuzzer coverage feedback, but only the fuzz targets get its main().
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()

if(PROJECT_IS_TOP_LEVEL AND CMAKE_BUILD_TYPE MATCHES "^Rel" AND NOT ZK_SANITIZE)
  # Errors that nobody has found yet are harder to exploit in a release build. The sanitizers have checks of their own.
  zk_harden_executables()
  add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
