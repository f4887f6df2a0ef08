// SPDX-License-Identifier: Apache-2.0
// The one writer of price lines, the rows of CATALOGPRODUCTPRICE: it finds or begins a line, passes the fields through
// their rules, and writes it. What its callers do differently stands in policies, side by side.
// Nothing is kept between calls. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/lib_sql.h"
#include "mercato/date.h"
#include "mercato/variant.h"

namespace mercato {

struct PriceLinePolicy {
  LiteralPiece group_comparison;  // how the look-up compares the group, up to the group's literal
  bool empty_group_to_null;       // whether a field GROUPBY without a text is written as Null
};
inline constexpr PriceLinePolicy kPriceLineOfProduct{" AND GROUPBY =", true};
inline constexpr PriceLinePolicy kPriceLineOfUpload{" AND GROUPBY = ", false};

enum class PriceLineAction { insert, insert_or_update, update };
// "insert" and "insertupdate", exactly so; every other text stands for an update.
PriceLineAction price_line_action(std::string_view text);

struct PriceLineKey {
  std::int32_t product_id;
  Date effective_date;
  double quantity_to;
  std::string group;  // to look for. A line without a group has Null, which equals no text, "" neither.
};

// Writes one line on the open connection, and tells whether it is a new one. Its recordset is opened in `opened` and
// closed with it. The key's group is not written: that column's value comes from a field, as all others do. Names are
// compared in any case and written as given. Raises 94 for a Null among the values, whatever its field, and 13 for a
// value without a text form; 9 when there are fewer values than fields; kNoCurrentRow for an update that finds no line;
// kNoSuchField, what conversions to the column's type raise, and what the store raises, kConstraintViolated for a
// second line of the same key above all.
bool write_price_line(const PriceLinePolicy& policy, PriceLineAction action, const PriceLineKey& key,
                      const Array& fields, const Array& values, Opened& opened);

}  // namespace mercato
