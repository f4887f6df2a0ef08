# SPDX-License-Identifier: Apache-2.0
# The reference of the public headers, by Doxygen. A header that does not say what it declares ends it with an error.
add_custom_target(reference
  COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/reference
  COMMAND ${CMAKE_COMMAND} -E env MERCATO_VERSION=${PROJECT_VERSION} MERCATO_REFERENCE=${PROJECT_BINARY_DIR}/reference
          doxygen docs/reference/Doxyfile
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
