// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/own_table.h"

#include <algorithm>

#include "exchange/read_values.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

bool take(const ColumnReference& column, Mapping& mapping, Mapping::Price& price) {
  const std::string_view header = column.column;
  if (header == kNumberHeader) {
    mapping.number = column;
    return true;
  }
  if (header == kCategoriesHeader) {
    mapping.ignored.emplace_back(header);
    return true;
  }
  if (header.starts_with(kPropertyHeader)) {
    mapping.properties.push_back({std::string(header.substr(kPropertyHeader.size())), column});
    return true;
  }
  if (const auto* const known = std::ranges::find(kPriceHeaders, header, &PriceHeader::name);
      known != kPriceHeaders.end()) {
    price.*known->mapped = column;
    return true;
  }
  if (std::ranges::find(stored_fields(), header, &StoredField::name) == stored_fields().end()) return false;
  mapping.fields.push_back({std::string(header), column});
  return true;
}

}  // namespace

std::optional<Mapping> own_mapping(const std::vector<std::string>& headers) {
  Mapping mapping;
  Mapping::Price price;
  for (const std::string& header : headers)
    if (!take({std::string(trimmed(header)), {}, 1}, mapping, price)) return std::nullopt;
  if (mapping.number.empty()) return std::nullopt;
  if (!price.amount.empty()) mapping.prices.push_back(std::move(price));
  mapping.decimal_sign = '.';
  mapping.dates = Notation::Dates::iso;
  return mapping;
}

}  // namespace mercato::exchange
