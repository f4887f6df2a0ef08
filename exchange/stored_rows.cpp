// SPDX-License-Identifier: Apache-2.0
#include "exchange/stored_rows.h"

#include <algorithm>
#include <unordered_map>

#include "frame/lib_general.h"
#include "mercato/date.h"
#include "values/same_text.h"

namespace mercato::exchange {
namespace {

std::string shown_text(const Variant& value) {
  return value.type() == Variant::Type::date ? value.to_date().iso_text() : value.text_or_empty();
}

// Calls `take` with each row.
template <class Take>
void read_rows(const ConnectionPtr& connection, const Sql& sql, const Take& take) {
  const RecordsetPtr rows = open_read_only(sql, connection);
  for (; !rows->Eof(); rows->MoveNext()) take(*rows);
  rows->Close();
}

void append_numbers(Sql& sql, std::span<const std::string> part_numbers) {
  bool first = true;
  for (const std::string& part_number : part_numbers) {
    if (!first) sql << ",";
    first = false;
    sql << "'" << value(Gen_QuoteSql(part_number)) << "'";
  }
  sql << ")";
}

template <class Ids>
void append_ids(Sql& sql, const Ids& ids) {
  bool first = true;
  for (const auto& [id, entry] : ids) {
    if (!first) sql << ",";
    first = false;
    sql << id;
  }
  sql << ")";
}

std::vector<std::string> columns_of(const Recordset& rows) {
  std::vector<std::string> columns;
  for (std::size_t position = 0; position < rows.FieldCount(); ++position) columns.push_back(rows.FieldName(position));
  return columns;
}

StoredRow row_of(const Recordset& rows) {
  StoredRow row;
  row.reserve(rows.FieldCount());
  for (std::size_t position = 0; position < rows.FieldCount(); ++position) row.push_back(rows.Value(position));
  return row;
}

void add_row_differences(const std::vector<std::string>& columns, const StoredRow& before, const StoredRow& after,
                         std::vector<FieldChange>& changes) {
  for (std::size_t position = 0; position < columns.size(); ++position)
    if (before[position] != after[position] && columns[position] != "DATEUPDATED")
      changes.push_back({columns[position], shown_text(before[position]), shown_text(after[position])});
}

}  // namespace

std::string part_number_key(std::string_view part_number) {
  return text::folded(text::without_trailing_blanks(part_number));
}

std::map<std::string, StoredRows::Products> StoredRows::products(std::span<const std::string> part_numbers) {
  std::map<std::string, Products> found;
  if (part_numbers.empty()) return found;
  std::unordered_map<std::int32_t, Product*> by_id;
  Sql of_numbers("SELECT * FROM PRODUCT WHERE BUYFROMPARTNUMBER IN (");
  append_numbers(of_numbers, part_numbers);
  read_rows(connection_, of_numbers, [&](const Recordset& rows) {
    if (product_columns_.empty()) product_columns_ = columns_of(rows);
    const std::int32_t id = rows.Value("PRODUCTID").to_long();
    Product& product = found[part_number_key(rows.Value("BUYFROMPARTNUMBER").text_or_empty())][id];
    product.row = row_of(rows);
    by_id[id] = &product;
  });
  if (by_id.empty()) return found;
  Sql of_properties("SELECT PRODUCTID, PROPERTYID, VALUE FROM PRODUCTPROPVALUE WHERE PRODUCTID IN (");
  append_ids(of_properties, by_id);
  read_rows(connection_, of_properties, [&](const Recordset& rows) {
    by_id[rows.Value(std::size_t{0}).to_long()]->properties[rows.Value(std::size_t{1}).to_long()] =
        rows.Value(std::size_t{2}).text_or_empty();
  });
  Sql of_buyers("SELECT PRODUCTID, USERID FROM PRODUCTBUYER WHERE PRODUCTID IN (");
  append_ids(of_buyers, by_id);
  of_buyers << " ORDER BY PRODUCTID, USERID";
  read_rows(connection_, of_buyers, [&](const Recordset& rows) {
    by_id[rows.Value(std::size_t{0}).to_long()]->buyers.push_back(rows.Value(std::size_t{1}).to_text());
  });
  return found;
}

std::map<std::string, StoredRows::Prices> StoredRows::prices(std::span<const std::string> part_numbers) {
  std::map<std::string, Prices> found;
  if (part_numbers.empty()) return found;
  std::unordered_map<std::int32_t, Prices*> by_id;
  Sql of_numbers("SELECT PRODUCTID, BUYFROMPARTNUMBER FROM PRODUCT WHERE BUYFROMPARTNUMBER IN (");
  append_numbers(of_numbers, part_numbers);
  read_rows(connection_, of_numbers, [&](const Recordset& rows) {
    by_id[rows.Value(std::size_t{0}).to_long()] = &found[part_number_key(rows.Value(std::size_t{1}).text_or_empty())];
  });
  if (by_id.empty()) return found;
  Sql of_prices("SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID IN (");
  append_ids(of_prices, by_id);
  read_rows(connection_, of_prices, [&](const Recordset& rows) {
    if (price_columns_.empty()) price_columns_ = columns_of(rows);
    by_id[rows.Value("PRODUCTID").to_long()]->push_back(row_of(rows));
  });
  return found;
}

void StoredRows::add_differences(const Product& before, const Product& after, std::vector<FieldChange>& changes) {
  add_row_differences(product_columns_, before.row, after.row, changes);
  const auto joined = [](const std::vector<std::string>& buyers) {
    std::string list;
    for (const std::string& buyer : buyers) list.append(list.empty() ? "" : ";").append(buyer);
    return list;
  };
  if (before.buyers != after.buyers) changes.push_back({"BUYERID", joined(before.buyers), joined(after.buyers)});
  // An upload takes no property away.
  for (const auto& [id, value] : after.properties) {
    const auto former = before.properties.find(id);
    const std::string text = former == before.properties.end() ? std::string() : former->second;
    if (former == before.properties.end() || text != value) changes.push_back({property_name(id), text, value});
  }
}

void StoredRows::add_price_differences(const StoredRow& before, const StoredRow& after,
                                       std::vector<FieldChange>& changes) const {
  add_row_differences(price_columns_, before, after, changes);
}

const std::string& StoredRows::property_name(std::int32_t id) {
  if (!property_names_.contains(id))
    read_rows(connection_, Sql("SELECT PROPERTYID, PROPERTYNAME FROM PROPERTY"), [&](const Recordset& rows) {
      property_names_[rows.Value(std::size_t{0}).to_long()] = rows.Value(std::size_t{1}).to_text();
    });
  return property_names_[id];
}

}  // namespace mercato::exchange
