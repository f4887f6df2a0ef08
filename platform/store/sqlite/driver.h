// The embedded store: SQLite, one file. A property of the connection string each:
//   Data Source=PATH         the store file; `:memory:` is one store for the life of the process, shared by its
//   sessions Create=Yes               a file that does not exist is created, empty Busy Timeout=10000 milliseconds to
//   wait for another writer
// Any thread.
#pragma once

#include "platform/store/driver.h"

namespace mercato::store {

// Opening raises kStoreFailure, in words that say what to do, when there is no such file or folder, when the file is no
// store, when a newer version of this system wrote it, and when another process keeps it locked beyond the wait. A file
// that may not be written opens; writing to it is what fails.
Driver& sqlite_driver();

}  // namespace mercato::store
