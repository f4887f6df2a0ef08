# SPDX-License-Identifier: Apache-2.0
# The installed package: library, public headers, tool, a CMake package and a pkg-config file; the definitions of the tables, the
# schemas of documents, samples, and what there is to read. Nothing else.
include(CMakePackageConfigHelpers)

install(TARGETS mercato EXPORT mercatoTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT mercatoTargets NAMESPACE mercato:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/mercato ${PROJECT_BINARY_DIR}/generated/include/mercato
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT headers FILES_MATCHING PATTERN "*.h")

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/mercatoConfig.cmake.in
  ${PROJECT_BINARY_DIR}/mercatoConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mercatoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/mercatoConfig.cmake ${PROJECT_BINARY_DIR}/mercatoConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato)

# The prefix counts from the file itself, so that the package can be installed anywhere.
file(RELATIVE_PATH MERCATO_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/mercato.pc.in ${PROJECT_BINARY_DIR}/mercato.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mercato.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(TARGETS mercato_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/schema ${PROJECT_SOURCE_DIR}/xmlschemas ${PROJECT_SOURCE_DIR}/samples
        DESTINATION ${CMAKE_INSTALL_DATADIR}/mercato FILES_MATCHING PATTERN "*.sql" PATTERN "*.xml")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
