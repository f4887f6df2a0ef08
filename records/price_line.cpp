// SPDX-License-Identifier: Apache-2.0
#include "records/price_line.h"

#include "frame/lib_general.h"
#include "frame/util.h"
#include "values/decimal.h"
#include "values/text.h"

namespace mercato {
namespace {

constexpr int kPercentageDecimals = 2;

Sql lookup(const PriceLinePolicy& policy, PriceLineAction action, const PriceLineKey& key) {
  if (action == PriceLineAction::insert) return LiteralPiece("SELECT * FROM CATALOGPRODUCTPRICE WHERE 0=1");
  return Sql("SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=")
         << key.product_id << " AND PRICEEFFECTIVEDATE=" << value(Gen_SqlValue(key.effective_date))
         << " AND QUANTITYTO=" << key.quantity_to << policy.group_comparison
         << value(GetSqlLiterals().TextToSql(key.group));
}

void begin_line(Recordset& line, const PriceLineKey& key) {
  line.AddNew();
  line.SetValue("PRODUCTID", key.product_id);
  line.SetValue("PRICEEFFECTIVEDATE", key.effective_date);
  line.SetValue("QUANTITYTO", key.quantity_to);
}

// What a field's value becomes on its way into the line.
Variant ruled(const PriceLinePolicy& policy, const std::string& field, const Variant& value) {
  // Before anything else, so that Null raises 94 whatever its field is.
  const bool is_empty = value.to_text().empty();
  const std::string name = text::to_upper(field);
  if (name == "PRICETAXPERCENTAGE" || name == "DISCOUNTPERC")
    return round_half_to_even(value.to_double(), kPercentageDecimals);
  const bool empty_to_null = name == "PRICEEXPIRYDATE" || (name == "GROUPBY" && policy.empty_group_to_null);
  return empty_to_null && is_empty ? Variant(kNull) : value;
}

}  // namespace

PriceLineAction price_line_action(std::string_view text) {
  if (text == "insert") return PriceLineAction::insert;
  if (text == "insertupdate") return PriceLineAction::insert_or_update;
  return PriceLineAction::update;
}

bool write_price_line(const PriceLinePolicy& policy, PriceLineAction action, const PriceLineKey& key,
                      const Array& fields, const Array& values, Opened& opened) {
  opened.rows = open_updatable(lookup(policy, action, key), opened.connection, CursorType::keyset);
  Recordset& line = *opened.rows;
  const bool is_new = action != PriceLineAction::update && line.Eof();
  if (is_new) begin_line(line, key);
  for (std::int32_t index = fields.lower; index <= fields.upper(); ++index) {
    const std::string field = fields.at(index).to_text();
    line.SetValue(field, ruled(policy, field, values.at(index)));
  }
  line.Update();
  return is_new;
}

}  // namespace mercato
