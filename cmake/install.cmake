# The installed package: library, headers, tool, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS mercato EXPORT mercatoTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT mercatoTargets NAMESPACE mercato:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/mercato DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/mercatoConfig.cmake.in
  ${PROJECT_BINARY_DIR}/mercatoConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mercatoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/mercatoConfig.cmake ${PROJECT_BINARY_DIR}/mercatoConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato)

# The prefix counts from the file itself, so that the package can be installed anywhere.
file(RELATIVE_PATH MERCATO_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/mercato.pc.in ${PROJECT_BINARY_DIR}/mercato.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mercato.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/xmlschemas DESTINATION ${CMAKE_INSTALL_DATADIR}/mercato FILES_MATCHING PATTERN "*.xml")
install(TARGETS mercato_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
