# SPDX-License-Identifier: Apache-2.0
# The console (web/) becomes one source of C++, which holds its files. It is left out where Node is missing, or where MERCATO_CONSOLE
# is off. Nothing is written into the source tree: web/build.mjs works on a copy in the build folder.
if(MERCATO_CONSOLE)
  find_program(MERCATO_NODE node)
  find_program(MERCATO_NPM npm)
  if(NOT MERCATO_NODE OR NOT MERCATO_NPM)
    message(STATUS "The console is left out: Node was not found (packages nodejs and npm)")
    set(MERCATO_CONSOLE OFF)
  endif()
endif()

set(console_source ${CMAKE_BINARY_DIR}/generated/console_files.cpp)
if(MERCATO_CONSOLE)
  file(GLOB_RECURSE console_inputs CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/web/src/*)
  add_custom_command(OUTPUT ${console_source}
    COMMAND ${MERCATO_NODE} ${PROJECT_SOURCE_DIR}/web/build.mjs ${CMAKE_BINARY_DIR}/console ${console_source}
    DEPENDS ${console_inputs} ${PROJECT_SOURCE_DIR}/web/build.mjs ${PROJECT_SOURCE_DIR}/web/index.html
      ${PROJECT_SOURCE_DIR}/web/tsconfig.json ${PROJECT_SOURCE_DIR}/web/package.json ${PROJECT_SOURCE_DIR}/web/package-lock.json
    COMMENT "Building the console" VERBATIM)
else()
  file(CONFIGURE OUTPUT ${console_source} CONTENT "#include \"host/console_files.h\"\n\nstd::span<const mercato::host::ConsoleFile> mercato::host::console_files() { return {}; }\n")
endif()
add_library(mercato_console STATIC ${console_source})
target_include_directories(mercato_console PUBLIC ${PROJECT_SOURCE_DIR})
