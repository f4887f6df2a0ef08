// SPDX-License-Identifier: Apache-2.0
// The store behind a driver of ODBC's: SQL Server, whose dialect the library writes, or a server whose dialect has a
// printer. Of the connection string these properties are the library's, all others are the driver manager's:
//
//   Dialect=TSQL         what the server speaks: TSQL, to which the texts go as they are, or PostgreSQL
//   Lock Timeout=10000   milliseconds to wait for what another transaction holds
//
//   Provider=ODBC;DSN=NAME;UID=USER;PWD=SECRET
//   Provider=ODBC;Driver={ODBC Driver 18 for SQL Server};Server=HOST;Database=NAME;UID=USER;PWD=SECRET
//
// Any thread.
#pragma once

#include "platform/store/driver.h"

namespace mercato::store {

// Opening raises kStoreFailure, in words that say what to do, when the manager knows no such driver or data source, the
// server cannot be reached or does not let the user in, and for an unknown dialect.
Driver& odbc_driver();

}  // namespace mercato::store
