# SPDX-License-Identifier: Apache-2.0
# The driver for PostgreSQL is left out where its client library is missing, or where MERCATO_POSTGRES is off.
if(MERCATO_POSTGRES)
  pkg_check_modules(LIBPQ libpq>=14)  # the first with pipelines
  if(NOT LIBPQ_FOUND)
    message(STATUS "Stores on PostgreSQL are left out: its client library was not found (package libpq-dev)")
    set(MERCATO_POSTGRES OFF)
  endif()
endif()

# Lets sources of this folder include the client library's headers, which no other source can, and know of the driver.
function(use_libpq)
  set_source_files_properties(${ARGN} PROPERTIES
    COMPILE_DEFINITIONS MERCATO_POSTGRES COMPILE_OPTIONS "-isystem;${LIBPQ_INCLUDEDIR}")
endfunction()
