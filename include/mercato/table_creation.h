// SPDX-License-Identifier: Apache-2.0
// The tables of the library in a store: their creation, and what is missing of them. The connection string is used as
// it is given; the settings are not asked. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "mercato/export.h"

namespace mercato {

/// What `create_tables` did.
struct CreatedTables {
  std::vector<std::string> tables;   ///< those that did not exist before
  std::vector<std::string> indexes;  ///< the same
  std::size_t existing = 0;          ///< tables and indexes that stayed as they are
  std::int32_t version = 0;          ///< of the tables
  /// What it was: less than `version` when older tables were brought up to date; 0 when no version was kept.
  std::int32_t version_before = 0;
};

/// Brings older tables up to date and creates what is missing, all of it or nothing; also the store itself, where the
/// engine keeps it in a file. Several callers may do so at once: one does it, and the others find it done. Raises
/// kStoreFailure when a newer release has made the tables, and what the store raises.
MERCATO_API CreatedTables create_tables(const std::string& connection_string);

/// The names of the tables and indexes that it would create. Raises what the store raises.
MERCATO_API std::vector<std::string> missing_tables(const std::string& connection_string);

}  // namespace mercato
