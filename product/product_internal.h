// SPDX-License-Identifier: Apache-2.0
// What the files of class Product share. Only they include it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "frame/voted_method.h"
#include "mercato/product.h"

namespace mercato {
namespace product {

// Whether an optional argument was left out.
inline bool IsDefaultLong(std::int32_t number) { return number == -1; }
inline bool IsDefaultString(const std::string& text) { return text.empty(); }

// Doubles quotes and makes percent signs stand for themselves, in place.
std::string& QuoteForLike(std::string& text);

// PRODUCTID of the first row, -1 without one.
inline std::int32_t id_or_none(const RecordsetPtr& rows) {
  return rows->Eof() ? -1 : rows->Value("PRODUCTID").to_long();
}

// For price lines and requisitions.

inline bool IsDefaultDouble(double number) { return number == -1.0; }
inline Currency NullToCurrency(const Variant& value) { return value.is_null() ? Currency() : value.to_currency(); }

// The rows of a query in their order: "1", "2" and so on to a dictionary of these columns. Raises 6 beyond 32,767 rows.
// Casts no vote, a failure neither; a failure is logged and raised under the label.
DictionaryPtr numbered_rows(std::string_view label, ConnectionPtr (*open)(), const Sql& sql,
                            std::span<const std::string_view> columns);

}  // namespace product

}  // namespace mercato
