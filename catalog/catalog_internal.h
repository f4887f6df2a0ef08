// Shared by the files of the catalogue classes: catalog_nodes.cpp, authorisation.cpp, product_categories.cpp,
// assignment.cpp, favorite_folders.cpp, partner_nodes.cpp. Any thread.
#pragma once

#include <span>
#include <string_view>

#include "frame/recordset.h"
#include "values/dictionary.h"
#include "values/variant.h"

namespace mercato {

// In a text that stands for several catalogues or partners.
inline constexpr std::string_view kBetweenIds = ";";

// The elements' texts with commas between them; in the statement every element is a value of its own.
Sql joined(std::span<const Variant> elements);

// The first column of all rows to the second, in their order. Raises 457 when a key comes twice.
DictionaryPtr names_by_id(const RecordsetPtr& rows);

}  // namespace mercato
