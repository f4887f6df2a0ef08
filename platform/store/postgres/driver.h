// SPDX-License-Identifier: Apache-2.0
// The store on a server: PostgreSQL 15 and later. A property of the connection string each; what is left out, libpq
// takes from its own environment and files (PGHOST, PGPASSFILE, PGSERVICE ...):
//
//   Server=HOST          or the folder of the server's socket
//   Port=5432
//   Database=NAME
//   User ID=USER
//   Password=SECRET
//   SSL Mode=prefer      disable, allow, prefer, require, verify-ca, verify-full
//   Search Path=SCHEMA   where the tables are; the first schema is where they are created
//   Lock Timeout=10000   milliseconds to wait for what another transaction holds
//
// Any thread.
#pragma once

#include "platform/store/driver.h"

namespace mercato::store {

// Opening raises kStoreFailure, in words that say what to do, when the server cannot be reached or does not let the user
// in, when it is older than version 15, and when its database does not keep texts as UTF-8.
Driver& postgres_driver();

}  // namespace mercato::store
