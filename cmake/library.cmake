# SPDX-License-Identifier: Apache-2.0
# libmercato: every source of the folders below, and the table definitions as text.
set(MERCATO_FOLDERS values platform frame records collaborators product search upload catalog classification server)

set(MERCATO_SOURCES)
foreach(folder IN LISTS MERCATO_FOLDERS)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${folder}/*.cpp)
  list(APPEND MERCATO_SOURCES ${found})
endforeach()
set(postgres_sources ${MERCATO_SOURCES})
list(FILTER postgres_sources INCLUDE REGEX "^platform/store/postgres/")
list(FILTER MERCATO_SOURCES EXCLUDE REGEX "^platform/store/postgres/")
set(odbc_sources ${MERCATO_SOURCES})
list(FILTER odbc_sources INCLUDE REGEX "^platform/store/odbc/")
list(FILTER MERCATO_SOURCES EXCLUDE REGEX "^platform/store/odbc/")
foreach(driver POSTGRES ODBC)
  if(MERCATO_${driver})
    set_property(SOURCE platform/store/known_drivers.cpp APPEND PROPERTY COMPILE_DEFINITIONS MERCATO_${driver})
  endif()
endforeach()

# schema/*.sql becomes one source, so that a store can be created without any file beside the library.
file(GLOB MERCATO_SCHEMA CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/schema/*.sql)
set(schema_source ${PROJECT_BINARY_DIR}/generated/schema_texts.cpp)
add_custom_command(
  OUTPUT ${schema_source}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${schema_source} "-DFILES=${MERCATO_SCHEMA}" -P ${PROJECT_SOURCE_DIR}/cmake/embed_schema.cmake
  DEPENDS ${MERCATO_SCHEMA} ${PROJECT_SOURCE_DIR}/cmake/embed_schema.cmake
  VERBATIM)

# The functions of a PostgreSQL store, likewise.
set(postgres_functions ${PROJECT_SOURCE_DIR}/platform/store/postgres_dialect/functions.sql)
set(postgres_functions_source ${PROJECT_BINARY_DIR}/generated/postgres_function_texts.cpp)
add_custom_command(
  OUTPUT ${postgres_functions_source}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${postgres_functions_source} -DFILE=${postgres_functions}
          -P ${PROJECT_SOURCE_DIR}/cmake/embed_functions.cmake
  DEPENDS ${postgres_functions} ${PROJECT_SOURCE_DIR}/cmake/embed_functions.cmake
  VERBATIM)

# What all objects of the library have in common. Nobody puts other functions in the place of the library's own, so its calls of
# itself need no table to go through.
function(compile_for_library target)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include ${PROJECT_BINARY_DIR}/generated/include)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  if(MERCATO_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 10)
  endif()
endfunction()

# Compiled once, linked twice: into the shared library, which exports what include/mercato/ declares and nothing else, and
# into an archive for what stands on the inside: the tool, tests, benchmarks, fuzz targets. Nothing links both.
add_library(mercato_objects OBJECT ${MERCATO_SOURCES} ${schema_source} ${postgres_functions_source})
set(libraries SQLite::SQLite3 pugixml::pugixml CURL::libcurl fmt::fmt spdlog::spdlog ICU::uc ICU::i18n LibXml2::LibXml2 PkgConfig::LIBZIP ${CMAKE_DL_LIBS})
target_link_libraries(mercato_objects PRIVATE ${libraries})
compile_for_library(mercato_objects)
set(objects $<TARGET_OBJECTS:mercato_objects>)
# A library of objects of its own, so that no other source finds the client library's headers.
if(MERCATO_POSTGRES)
  add_library(mercato_postgres_objects OBJECT ${postgres_sources})
  target_include_directories(mercato_postgres_objects SYSTEM PRIVATE ${LIBPQ_INCLUDEDIR})
  compile_for_library(mercato_postgres_objects)
  list(APPEND objects $<TARGET_OBJECTS:mercato_postgres_objects>)
  list(APPEND libraries ${LIBPQ_LINK_LIBRARIES})
endif()

if(MERCATO_ODBC)
  add_library(mercato_odbc_objects OBJECT ${odbc_sources})
  target_include_directories(mercato_odbc_objects SYSTEM PRIVATE ${ODBC_INCLUDE_DIRS})
  compile_for_library(mercato_odbc_objects)
  list(APPEND objects $<TARGET_OBJECTS:mercato_odbc_objects>)
  list(APPEND libraries ${ODBC_LINK_LIBRARIES})
endif()

add_library(mercato SHARED ${objects})
target_include_directories(mercato PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/generated/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(mercato PUBLIC cxx_std_20)
target_link_libraries(mercato PRIVATE ${libraries})
# While the major version is 0, a new minor version is another interface, and so another library.
set(so_version ${PROJECT_VERSION_MAJOR})
if(so_version EQUAL 0)
  set(so_version ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
endif()
set_target_properties(mercato PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION ${so_version} INSTALL_RPATH "")
add_library(mercato::mercato ALIAS mercato)
# What templates of others leave behind is nobody's to use either.
set(exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
target_link_options(mercato PRIVATE LINKER:-Bsymbolic-functions LINKER:--version-script=${exports})
set_target_properties(mercato PROPERTIES LINK_DEPENDS ${exports})

add_library(mercato_internal STATIC ${objects})
target_include_directories(mercato_internal PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include ${PROJECT_BINARY_DIR}/generated/include)
target_compile_features(mercato_internal PUBLIC cxx_std_20)
target_link_libraries(mercato_internal PUBLIC ${libraries})
set_target_properties(mercato_internal PROPERTIES LINKER_LANGUAGE CXX)

configure_file(${PROJECT_SOURCE_DIR}/cmake/version.h.in ${PROJECT_BINARY_DIR}/generated/include/mercato/version.h @ONLY)

# Files of the installation lie in the build tree where they lie in an installed one, seen from the library.
configure_file(${PROJECT_SOURCE_DIR}/xmlschemas/UNSPSC_Schema.xml
  ${PROJECT_BINARY_DIR}/share/mercato/xmlschemas/UNSPSC_Schema.xml COPYONLY)

if(MERCATO_PRECOMPILE)
  target_precompile_headers(mercato_objects PRIVATE ${PROJECT_SOURCE_DIR}/include/mercato/class_table.h)
endif()
