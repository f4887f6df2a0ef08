# SPDX-License-Identifier: Apache-2.0
# The installed package: library, public headers, tool, a CMake package and a pkg-config file; the definitions of the tables, the
# schemas of documents, samples, and what there is to read. Nothing else. Each component is a package (packages.cmake).
include(CMakePackageConfigHelpers)

install(TARGETS mercato EXPORT mercatoTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
install(EXPORT mercatoTargets NAMESPACE mercato:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato COMPONENT development)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/mercato ${PROJECT_BINARY_DIR}/generated/include/mercato
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/mercatoConfig.cmake.in
  ${PROJECT_BINARY_DIR}/mercatoConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mercatoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/mercatoConfig.cmake ${PROJECT_BINARY_DIR}/mercatoConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mercato COMPONENT development)

# The prefix counts from the file itself, so that the package can be installed anywhere.
file(RELATIVE_PATH MERCATO_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/mercato.pc.in ${PROJECT_BINARY_DIR}/mercato.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mercato.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(TARGETS mercato_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)

# The man page and the scripts for shells are what the tool itself prints.
foreach(text "manual|${CMAKE_INSTALL_MANDIR}/man1/mercato.1"
             "completion bash|${CMAKE_INSTALL_DATADIR}/bash-completion/completions/mercato"
             "completion zsh|${CMAKE_INSTALL_DATADIR}/zsh/site-functions/_mercato"
             "completion fish|${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d/mercato.fish")
  string(REPLACE "|" ";" text "${text}")
  list(GET text 0 words)
  list(GET text 1 file)
  separate_arguments(words)
  get_filename_component(folder ${file} DIRECTORY)
  install(CODE "
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${folder}\")
    file(MAKE_DIRECTORY \"\${folder}\")
    message(STATUS \"Installing: \${CMAKE_INSTALL_PREFIX}/${file}\")
    execute_process(COMMAND \"$<TARGET_FILE:mercato_tool>\" ${words} WORKING_DIRECTORY /
                    OUTPUT_FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${file}\" COMMAND_ERROR_IS_FATAL ANY)" COMPONENT tool)
endforeach()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/schema ${PROJECT_SOURCE_DIR}/xmlschemas ${PROJECT_SOURCE_DIR}/samples
        DESTINATION ${CMAKE_INSTALL_DATADIR}/mercato COMPONENT common FILES_MATCHING PATTERN "*.sql" PATTERN "*.xml")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool)

# What only a package has: the places are those of a system, and its user.
if(MERCATO_HOST)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/mercato.service DESTINATION lib/systemd/system COMPONENT tool EXCLUDE_FROM_ALL)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/sysusers.conf DESTINATION lib/sysusers.d RENAME mercato.conf
          COMPONENT tool EXCLUDE_FROM_ALL)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/mercato.toml DESTINATION ${CMAKE_INSTALL_DATADIR}/mercato
          COMPONENT tool EXCLUDE_FROM_ALL)
endif()
