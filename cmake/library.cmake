# libmercato: every source of the folders below, and the table definitions as text.
set(MERCATO_FOLDERS values platform frame records collaborators product upload catalog classification server)

set(MERCATO_SOURCES)
foreach(folder IN LISTS MERCATO_FOLDERS)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${folder}/*.cpp)
  list(APPEND MERCATO_SOURCES ${found})
endforeach()

# schema/*.sql becomes one source, so that a store can be created without any file beside the library.
file(GLOB MERCATO_SCHEMA CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/schema/*.sql)
set(schema_source ${PROJECT_BINARY_DIR}/generated/schema_texts.cpp)
add_custom_command(
  OUTPUT ${schema_source}
  COMMAND ${CMAKE_COMMAND} -DOUTPUT=${schema_source} "-DFILES=${MERCATO_SCHEMA}" -P ${PROJECT_SOURCE_DIR}/cmake/embed_schema.cmake
  DEPENDS ${MERCATO_SCHEMA} ${PROJECT_SOURCE_DIR}/cmake/embed_schema.cmake
  VERBATIM)

add_library(mercato SHARED ${MERCATO_SOURCES} ${schema_source})
target_include_directories(mercato PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(mercato PUBLIC cxx_std_20)
target_link_libraries(mercato PRIVATE SQLite::SQLite3 pugixml::pugixml CURL::libcurl fmt::fmt spdlog::spdlog ICU::uc ICU::i18n LibXml2::LibXml2 PkgConfig::LIBZIP ${CMAKE_DL_LIBS})
set_target_properties(mercato PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "")
add_library(mercato::mercato ALIAS mercato)
# Nobody puts other functions in the place of the library's own, so its calls of itself need no table to go through.
target_compile_options(mercato PRIVATE -fno-semantic-interposition)
target_link_options(mercato PRIVATE LINKER:-Bsymbolic-functions)
if(MERCATO_UNITY)
  set_target_properties(mercato PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 10)
endif()

# Files of the installation lie in the build tree where they lie in an installed one, seen from the library.
configure_file(${PROJECT_SOURCE_DIR}/xmlschemas/UNSPSC_Schema.xml
  ${PROJECT_BINARY_DIR}/share/mercato/xmlschemas/UNSPSC_Schema.xml COPYONLY)

if(MERCATO_PRECOMPILE)
  target_precompile_headers(mercato PRIVATE ${PROJECT_SOURCE_DIR}/include/mercato/class_table.h)
endif()
