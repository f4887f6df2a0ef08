// SPDX-License-Identifier: Apache-2.0
// The tables of the library in a store: their creation, and what is missing of them. The connection string is used as
// it is given; the settings are not asked. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "mercato/export.h"

namespace mercato {

/// What `create_tables` did.
struct CreatedTables {
  std::vector<std::string> tables;   ///< those that did not exist before
  std::vector<std::string> indexes;  ///< the same
  std::size_t existing = 0;          ///< tables and indexes that stayed as they are
};

/// Creates what is missing, all of it or nothing; also the store itself, where the engine keeps it in a file. Several
/// callers may do so at once: one creates, and the others find it done. Raises what the store raises.
MERCATO_API CreatedTables create_tables(const std::string& connection_string);

/// The names of the tables and indexes that it would create. Raises what the store raises.
MERCATO_API std::vector<std::string> missing_tables(const std::string& connection_string);

}  // namespace mercato
