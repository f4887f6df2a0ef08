# SPDX-License-Identifier: Apache-2.0
# Debian packages by `cpack`, one of each component of the installation: packaging/README.md.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mercato)
set(CPACK_PACKAGE_CONTACT "Mercato maintainers <maintainers@mercato.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development tool common)
set(CPACK_COMPONENTS_GROUPING IGNORE)
# The console has the code of Lit in it.
if(MERCATO_HOST AND MERCATO_CONSOLE)
  set(CPACK_MERCATO_CONSOLE_LICENCES ${PROJECT_BINARY_DIR}/console/node_modules/lit/LICENSE)
endif()
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/complete.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Libraries of another interface are installed side by side; what their names do not tell apart lies in `mercato-common`.
set(library libmercato${so_version})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "mercato-common (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "catalogue engine for purchasing systems: library
The product master of a purchasing system in the process of its host:
products, prices, catalogues, and who may see and order what, on a file of
SQLite's, on PostgreSQL or on SQL Server.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmercato-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "catalogue engine for purchasing systems: headers
What a program in C++20 is compiled with to use the library: headers, and
the files by which CMake and pkg-config find it.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME mercato)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION database)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "mercato-common (>= ${PROJECT_VERSION})")
if(MERCATO_HOST)
  string(APPEND CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS ", systemd | systemd-standalone-sysusers")
  set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/debian/postinst ${PROJECT_SOURCE_DIR}/packaging/debian/prerm
    ${PROJECT_SOURCE_DIR}/packaging/debian/postrm)
endif()
set(CPACK_COMPONENT_TOOL_DESCRIPTION "catalogue engine for purchasing systems: tool and service
All tasks of a catalogue's keeper as commands, the library for programs in
any language as JSON-RPC, and as a service over HTTP with a console for the
browser. The documentation is in it.")

set(CPACK_DEBIAN_COMMON_PACKAGE_NAME mercato-common)
set(CPACK_DEBIAN_COMMON_PACKAGE_SECTION database)
set(CPACK_DEBIAN_COMMON_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_COMMON_DESCRIPTION "catalogue engine for purchasing systems: common files
Definitions of the tables, schemas of documents and samples, which library
and tool share.")
include(CPack)
