// SPDX-License-Identifier: Apache-2.0
// What translated statements call: the collation MERCATO and the functions mercato_... of a connection.
#pragma once

#include <sqlite3.h>

namespace mercato::store::sqlite {

// Installs them; they live as long as the connection, and are used by one thread at a time, as it is.
// Raises kStoreFailure.
void register_functions(sqlite3* database);

}  // namespace mercato::store::sqlite
