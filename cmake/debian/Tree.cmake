# Run by CPack once the packages' files are in place: adds what Debian's policy asks of every package, compresses man
# pages, and takes the debug symbols out of the static library.

string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# The licence in the form of a paragraph, in which a dot stands for an empty line.
file(READ ${CPACK_ZK_SOURCE}/LICENSE licence)
string(REGEX MATCH "Copyright \\(c\\) ([^\n]*)" _ "${licence}")
set(holder ${CMAKE_MATCH_1})
string(REGEX REPLACE "^.*Copyright[^\n]*\n+" "" licence "${licence}")
string(STRIP "${licence}" licence)
string(REGEX REPLACE "\n\n" "\n.\n" licence "${licence}")
string(REPLACE "\n" "\n " licence " ${licence}")
set(copyright "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: zkupdater

Files: *
Copyright: ${holder}
License: Expat

License: Expat
${licence}
")

set(changelog "${CPACK_DEBIAN_PACKAGE_SOURCE} (${version}) unstable; urgency=medium

  * Packages of zkupdater ${CPACK_PACKAGE_VERSION}; changelog.gz tells what is new.

 -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${now}
")

file(COPY ${CPACK_ZK_SOURCE}/docs/recovery.md ${CPACK_ZK_SOURCE}/docs/security.md
  DESTINATION ${CPACK_TEMPORARY_DIRECTORY}/program/usr/share/doc/${CPACK_DEBIAN_PROGRAM_PACKAGE_NAME})
file(COPY ${CPACK_ZK_SOURCE}/docs/embedding.md ${CPACK_ZK_SOURCE}/docs/file-formats.md
  ${CPACK_ZK_SOURCE}/docs/first-steps.md ${CPACK_ZK_SOURCE}/docs/protocol.svg
  DESTINATION ${CPACK_TEMPORARY_DIRECTORY}/development/usr/share/doc/${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME})
file(COPY ${CPACK_ZK_SOURCE}/examples/first_steps
  DESTINATION ${CPACK_TEMPORARY_DIRECTORY}/development/usr/share/doc/${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME}/examples)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(tree ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
  string(TOUPPER ${component} name)
  set(folder ${tree}/share/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME})
  file(WRITE ${folder}/copyright "${copyright}")
  file(WRITE ${folder}/changelog.Debian "${changelog}")
  file(COPY_FILE ${CPACK_ZK_SOURCE}/CHANGELOG.md ${folder}/changelog)
  file(GLOB pages ${tree}/share/man/man*/*.[1-9])
  foreach(file IN LISTS pages ITEMS ${folder}/changelog ${folder}/changelog.Debian)
    execute_process(COMMAND gzip -9n ${file} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()

  file(GLOB_RECURSE archives ${tree}/lib/*.a)
  foreach(archive IN LISTS archives)
    execute_process(COMMAND ${CPACK_ZK_STRIP} --strip-debug --enable-deterministic-archives ${archive}
      COMMAND_ERROR_IS_FATAL ANY)
  endforeach()

  # Whatever the umask.
  execute_process(COMMAND chmod -R u=rwX,go=rX ${tree} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
