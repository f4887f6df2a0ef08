# SPDX-License-Identifier: Apache-2.0
# The driver for stores behind ODBC is left out where the driver manager is missing, or where MERCATO_ODBC is off.
if(MERCATO_ODBC)
  pkg_check_modules(ODBC odbc)
  if(NOT ODBC_FOUND)
    message(STATUS "Stores behind ODBC are left out: the driver manager unixODBC was not found (package unixodbc-dev)")
    set(MERCATO_ODBC OFF)
  endif()
endif()
