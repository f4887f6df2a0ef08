# SPDX-License-Identifier: Apache-2.0
# What a package of Debian's has beside its own files, written by cpack before it packs each of them: copyright, a list of changes,
# and manual pages that are compressed.
find_program(GZIP gzip REQUIRED)
file(READ ${CMAKE_CURRENT_LIST_DIR}/debian/copyright copyright)
# What is compiled in has conditions of its own, which go with it; they are those of the machine that builds.
foreach(name libcli11-dev libtomlplusplus-dev nlohmann-json3-dev)
  if(EXISTS /usr/share/doc/${name}/copyright)
    file(READ /usr/share/doc/${name}/copyright text)
    string(APPEND copyright "\n\n==== ${name} ====\n\n${text}")
  endif()
endforeach()
foreach(licence ${CPACK_MERCATO_CONSOLE_LICENCES})
  file(READ ${licence} text)
  string(APPEND copyright "\n\n==== Lit ====\n\n${text}")
endforeach()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  file(WRITE ${share}/doc/${package}/copyright "${copyright}")
  file(WRITE ${share}/doc/${package}/changelog
    "mercato (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n  * What changed is told by CHANGELOG.md of the sources.\n\n -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  file(GLOB texts ${share}/doc/${package}/changelog ${share}/man/man1/*.1)
  execute_process(COMMAND ${GZIP} -9 -n ${texts} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
