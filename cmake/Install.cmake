# What `cmake --install` puts into place: the executable, both libraries, the public headers, what CMake and pkg-config
# need to find them, man pages, and the documents for those who use it. The components are those of the packages
# (Packaging.cmake), which share the documents out themselves.

if(PROJECT_IS_TOP_LEVEL AND CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
  # Under any prefix: Debian's loader, compilers and pkg-config look there below /usr/local, too.
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE STRING "Folder of the libraries, below the prefix")
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# All that the public headers include is public, too; the way into the operating system (system/System.h) is not.
set(ZK_PUBLIC_HEADERS
  c/zkupdater.h
  errors/NSErrorOSStatus.h
  errors/NSErrorPOSIX.h
  errors/POSIXErrorTable.h
  host/ZKUpdateOutcome.h
  host/ZKUpdateStart.h
  platform/objects/NSAutoreleasePool.h
  platform/objects/NSDictionary.h
  platform/objects/NSError.h
  platform/objects/NSNumber.h
  platform/objects/NSObject.h
  platform/objects/NSString.h
  platform/objects/NSURL.h
  platform/system/ErrorNumbers.h
  platform/system/SemaphoreHandle.h
  semaphore/ZKPOSIXSemaphore.h
  version/ZKVersion.h
)

install(TARGETS zkupdater zkupdater_shared zkupdater_static EXPORT zkupdater
  RUNTIME COMPONENT program
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zkupdater NAMESPACE zk:: FILE zkupdaterTargets.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zkupdater
  COMPONENT development)

# Side by side in one folder, the headers include each other without folders.
list(TRANSFORM ZK_PUBLIC_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE headers)
install(CODE "
  set(headers \"${headers}\")
  foreach(header IN LISTS headers)
    cmake_path(GET header FILENAME name)
    set(installed \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_INCLUDEDIR}/zkupdater/\${name}\")
    message(STATUS \"Installing: \${installed}\")
    file(READ \"\${header}\" text)
    string(REGEX REPLACE \"(#include \\\")[a-z]+/\" \"\\\\1\" text \"\${text}\")
    file(WRITE \"\$ENV{DESTDIR}\${installed}\" \"\${text}\")
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${installed}\")
  endforeach()
" COMPONENT development)

configure_package_config_file(cmake/zkupdaterConfig.cmake.in ${PROJECT_BINARY_DIR}/zkupdaterConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zkupdater)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zkupdaterConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zkupdaterConfig.cmake ${PROJECT_BINARY_DIR}/zkupdaterConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zkupdater COMPONENT development)

file(RELATIVE_PATH ZK_PREFIX_FROM_PKGCONFIG /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
# The shared library has the C interface only. Where both libraries are, linkers prefer it.
foreach(package zkupdater zkupdater-static)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endforeach()
install(FILES docs/zkupdater.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
install(FILES docs/zkupdater.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT program)
install(FILES docs/embedding.md docs/file-formats.md docs/protocol.svg docs/recovery.md docs/security.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documents)
