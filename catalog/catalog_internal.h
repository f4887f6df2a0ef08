// SPDX-License-Identifier: Apache-2.0
// What several files of the catalogue classes share. Any thread.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/dictionary.h"
#include "mercato/recordset.h"
#include "mercato/variant.h"

namespace mercato {

// Between the ids in a text that names several catalogues or partners.
inline constexpr std::string_view kBetweenIds = ";";

// The elements' texts with commas between them; in the statement every element is a value of its own.
Sql joined(std::span<const Variant> elements);

// The first column of all rows to the second, in their order. Raises 457 when a key comes twice.
DictionaryPtr names_by_id(const RecordsetPtr& rows);

// The path of a node: the names from the root down, each trimmed, with a backslash between them. The names are given
// from the node upwards.
std::string hierarchy_of(const std::vector<std::string>& names_upwards);

// For what the classes do not answer themselves. These log nothing, and raise what the store raises.

// The rows of a statement, cut loose.
RecordsetPtr held_rows(const Sql& sql);
// The number in the only row and column of a statement.
std::size_t count_of(const Sql& sql);

}  // namespace mercato
