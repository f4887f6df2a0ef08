// SPDX-License-Identifier: Apache-2.0
// The rows of a query as dictionaries: for what the library tells its hosts below the public interface. Any thread.
#pragma once

#include <string>
#include <vector>

#include "mercato/dictionary.h"
#include "mercato/statement.h"

namespace mercato {

// All rows, each from column name to value, read on a connection of their own. Of two columns with one name the first
// counts. Casts no vote. Raises what the store raises.
std::vector<DictionaryPtr> query_rows(const std::string& connection_string, const Sql& sql);

}  // namespace mercato
