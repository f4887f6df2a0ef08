// SPDX-License-Identifier: Apache-2.0
// The embedded store: SQLite, one file. A property of the connection string each:
//
//   Data Source=PATH     the store file; `:memory:` is one store for the life of the process, shared by its sessions
//   Create=Yes           a file that does not exist is created, empty
//   File Mode=660        its rights when it is created, less what the umask takes; else only the owner has any (600)
//   Busy Timeout=10000   milliseconds to wait for another writer
//
// Any thread.
#pragma once

#include "platform/store/driver.h"

namespace mercato::store {

// Opening raises kStoreFailure, in words that say what to do, when there is no such file or folder, when the file is no
// store, when a newer version of this system wrote it, when the log beside it belongs to another file, and when another
// process keeps it locked beyond the wait. A file that may not be written opens; writing to it is what fails.
Driver& sqlite_driver();

}  // namespace mercato::store
