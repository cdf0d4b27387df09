# Debian packages: `cpack --preset release` makes them of the release build, in build/packages. Each component of
# Install.cmake becomes one package; the symbols that the build has taken out of the binaries become another.

get_target_property(has_symbols zkupdater ZK_SYMBOLS)
if(NOT has_symbols)
  return()
endif()

set(ZK_PACKAGER "zkupdater packagers <packagers@zkupdater.invalid>" CACHE STRING "Who answers for the packages")

# Where debuggers look for the symbols of an installed binary: under its build id.
install(CODE "
  foreach(file IN ITEMS \"$<TARGET_FILE:zkupdater>\" \"$<TARGET_FILE:zkupdater_shared>\")
    execute_process(COMMAND \"${CMAKE_READELF}\" --notes \"\${file}\" OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
    if(NOT notes MATCHES \"Build ID: (..)([0-9a-f]+)\")
      message(FATAL_ERROR \"\${file} has no build id\")
    endif()
    set(folder \"\${CMAKE_INSTALL_PREFIX}/lib/debug/.build-id/\${CMAKE_MATCH_1}\")
    file(INSTALL \"\${file}.debug\" DESTINATION \"\${folder}\" RENAME \"\${CMAKE_MATCH_2}.debug\")
  endforeach()
" COMPONENT symbols EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL program library development symbols)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/Tree.cmake)
set(CPACK_ZK_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_ZK_STRIP ${CMAKE_STRIP})

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE zkupdater)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${ZK_PACKAGER})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(package_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
set(library_package libzkupdater${PROJECT_VERSION_MAJOR})

# Programs that use the library, which has the C interface only, run with any later one of the same soname.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME zkupdater)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "installer that replaces a running desktop application
An application that has unpacked its new version starts zkupdater and quits.
The installer waits until it has exited, keeps a copy of the old version, puts
the new one in its place and starts it. The old version is never removed
before its copy is on the disk, and one installer at a time works on an
update.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS zkupdater)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "library for applications that have themselves updated
It starts the installer zkupdater, tells the application when to quit and, on
its next start, what became of the update. It also has named semaphores that
survive the death of a holder, and four-part version numbers. Its interface is
for C, and so for every language that can call C.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzkupdater-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${library_package} (= ${package_version}), zkupdater (= ${package_version})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "files to develop applications that have themselves updated
Headers for C and C++, the static library, an example, and what CMake and
pkg-config need to find them.")

set(CPACK_DEBIAN_SYMBOLS_PACKAGE_NAME zkupdater-dbg)
set(CPACK_DEBIAN_SYMBOLS_PACKAGE_SECTION debug)
set(CPACK_DEBIAN_SYMBOLS_PACKAGE_DEPENDS "zkupdater (= ${package_version})")
set(CPACK_DEBIAN_SYMBOLS_PACKAGE_RECOMMENDS "${library_package} (= ${package_version})")
set(CPACK_DEBIAN_SYMBOLS_DESCRIPTION "debug symbols for zkupdater and ${library_package}
Debuggers find them by themselves.")

include(CPack)
