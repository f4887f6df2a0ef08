// SPDX-License-Identifier: Apache-2.0
#include "exchange/stored/stored_products.h"

#include <algorithm>
#include <array>

#include "frame/lib_sql.h"
#include "mercato/date.h"
#include "mercato/recordset.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

using enum StoredKind;

constexpr auto kFields = std::to_array<StoredField>({
    {"PARTNUMBER", "PARTNUMBER"},
    {"PRODUCTDESCRIPTION", "PRODUCTDESCRIPTION"},
    {"PRODUCTREMARK", "PRODUCTREMARK"},
    {"UNITCODE", "UNITCODE"},
    {"BUSINESSID", "BUSINESSPARTNERID"},
    {"MFRPARTNUMBER", "MFRPARTNUMBER"},
    {"GTIN", "GTIN"},
    {"COMMODITYCODE", "COMMODITYCODE"},
    {"UNSPSCCODE", "UNSPSCCODE"},
    {"CLASSCODE", "CLASSCODE"},
    {"CLASSIFICATION", "CLASSIFICATION"},
    {"MINORDERQTY", "MINORDERQTY", number},
    {"MULTIPLEOF", "MULTIPLEOF", number},
    {"LOTSIZE", "LOTSIZE", number},
    {"DELIVERYLEADTIME", "DELIVERYLEADTIME", number},
    {"PRODUCTEFFECTIVITYDATE", "PRODUCTEFFECTIVITYDATE", day},
    {"PRODUCTEXPIRYDATE", "PRODUCTEXPIRYDATE", day},
    {"IMAGEFILENAME", "IMAGEFILENAME"},
    {"TECHNICALIMAGE", "TECHNICALIMAGE"},
    {"URL", "URL"},
    {"PRODUCTXML", "PRODUCTXML"},
    {"BUYFROMCONTACTEMAIL", "BUYFROMCONTACTEMAIL"},
    {"BUYFROMCONTACTINFO", "BUYFROMCONTACTINFO"},
    {"CONTRACTCODE", "CONTRACTCODE"},
    {"NUMBER", "NUMBER", number},
    {"BUYERID", "USERID"},
    {"MULTIPLEBUYER", "MULTIPLEBUYER", number},
    {"SERVICEITEM", "SERVICEITEM", number},
    {"DISABLED", "DISABLED", number},
});

// "(1, 2, 3)"
Sql ids_of(std::span<const StoredProduct> products) {
  Sql list("(");
  for (const StoredProduct& product : products) {
    if (&product != products.data()) list << ", ";
    list << product.id;
  }
  return list << ")";
}

// Calls with the product and each row of a query, whose first column is the product's id.
template <class Take>
void for_each_row(const ConnectionPtr& connection, const Sql& statement, std::span<StoredProduct> products, Take take) {
  std::unordered_map<std::int32_t, StoredProduct*> by_id;
  for (StoredProduct& product : products) by_id.emplace(product.id, &product);
  const RecordsetPtr rows = open_read_only(statement, connection);
  for (; !rows->Eof(); rows->MoveNext()) take(*by_id.at(rows->Value(0).to_long()), *rows);
  rows->Close();
}

}  // namespace

std::string_view StoredProduct::field(std::string_view name) const {
  const auto found = std::ranges::find(fields, name, [](const auto& entry) { return entry.first; });
  return found == fields.end() ? std::string_view() : std::string_view(found->second);
}

std::span<const StoredField> stored_fields() { return kFields; }

// A day has its time behind it when it has one.
std::string stored_text(const Variant& value, StoredKind kind) {
  if (value.is_null()) return {};
  if (kind != day) return value.to_text();
  const std::string text = value.to_date().iso_text();
  constexpr std::string_view kMidnight = "T00:00:00";
  return text.ends_with(kMidnight) ? text.substr(0, text.size() - kMidnight.size()) : text;
}

StoredProducts::StoredProducts(const std::string& connection_string)
    : connection_(open_connection(connection_string, Isolation::read_committed)) {}

Sql StoredProducts::columns() {
  Sql sql("P.PRODUCTID, P.BUYFROMPARTNUMBER");
  for (const StoredField& field : kFields) sql << ", P." << name(field.column);
  return sql;
}

std::vector<StoredProduct> StoredProducts::products(const Sql& statement) {
  std::vector<StoredProduct> products;
  std::vector<std::pair<std::size_t, std::int32_t>> partners;  // the places of products, and the ids
  const RecordsetPtr rows = open_read_only(statement, connection_);
  for (; !rows->Eof(); rows->MoveNext()) {
    StoredProduct& product = products.emplace_back();
    product.id = rows->Value(0).to_long();
    product.number = rows->Value(1).text_or_empty();
    std::size_t column = 2;
    for (const StoredField& field : kFields) {
      const Variant& value = rows->Value(column++);
      std::string text = stored_text(value, field.kind);
      if (text.empty()) continue;
      if (field.name == "BUSINESSID") partners.emplace_back(products.size() - 1, value.to_long());
      product.fields.emplace_back(field.name, std::move(text));
    }
  }
  rows->Close();
  for (const auto& [place, id] : partners)
    std::ranges::find(products[place].fields, "BUSINESSID", [](const auto& entry) { return entry.first; })->second =
        partner(id);
  add_buyers(products);
  return products;
}

// The row has the first buyer of several.
void StoredProducts::add_buyers(std::span<StoredProduct> products) {
  std::vector<StoredProduct> several;
  for (const StoredProduct& product : products)
    if (const std::string_view flag = product.field("MULTIPLEBUYER"); !flag.empty() && flag != "0")
      several.emplace_back().id = product.id;
  if (several.empty()) return;
  const Sql statement = Sql("SELECT PRODUCTID, USERID FROM PRODUCTBUYER WHERE PRODUCTID IN ")
                        << ids_of(several) << " ORDER BY PRODUCTID, USERID";
  for_each_row(connection_, statement, products, [](StoredProduct& product, const Recordset& row) {
    const std::string user = row.Value(1).text_or_empty();
    const auto known =
        std::ranges::find(product.fields, std::string_view("BUYERID"), [](const auto& entry) { return entry.first; });
    if (known == product.fields.end())
      product.fields.emplace_back("BUYERID", user);
    else if (const std::vector<std::string> names = text::split(known->second, kBuyerSeparator);
             std::ranges::find(names, user) == names.end())
      known->second.append(kBuyerSeparator).append(user);
  });
}

// One that is gone has no name.
std::string StoredProducts::partner(std::int32_t id) {
  const auto [entry, is_new] = partners_.try_emplace(id);
  if (!is_new) return entry->second;
  const RecordsetPtr rows =
      open_read_only(Sql("SELECT BUSINESSID FROM BUSINESSPARTNER WHERE BUSINESSPARTNERID = ") << id, connection_);
  if (!rows->Eof()) entry->second = rows->Value(0).text_or_empty();
  rows->Close();
  return entry->second;
}

void StoredProducts::add_properties(std::span<StoredProduct> products) {
  if (products.empty()) return;
  const Sql statement = Sql("SELECT V.PRODUCTID, D.PROPERTYNAME, V.VALUE FROM PRODUCTPROPVALUE V INNER JOIN PROPERTY D "
                            "ON V.PROPERTYID = D.PROPERTYID WHERE V.PRODUCTID IN ")
                        << ids_of(products) << " ORDER BY V.PRODUCTID, D.PROPERTYNAME, D.PROPERTYID";
  for_each_row(connection_, statement, products, [](StoredProduct& product, const Recordset& row) {
    StoredProperty& property = product.properties.emplace_back();
    property.name = row.Value(1).text_or_empty();
    if (const Variant& value = row.Value(2); !value.is_null()) property.value = value.to_text();
  });
}

void StoredProducts::add_prices(std::span<StoredProduct> products) {
  if (products.empty()) return;
  const Sql statement = Sql("SELECT PRODUCTID, PRICE, CURRENCYCODE, QUANTITYTO, PRICEEFFECTIVEDATE, PRICEEXPIRYDATE, "
                            "GROUPBY, PRICETAXPERCENTAGE, DISCOUNTPERC, DISCOUNTAMOUNT, FREIGHTCOST FROM "
                            "CATALOGPRODUCTPRICE WHERE PRODUCTID IN ")
                        << ids_of(products)
                        << " ORDER BY PRODUCTID, GROUPBY, PRICEEFFECTIVEDATE, PRICEEXPIRYDATE, QUANTITYTO";
  for_each_row(connection_, statement, products, [](StoredProduct& product, const Recordset& row) {
    std::size_t column = 1;
    const auto next = [&](StoredKind kind) { return stored_text(row.Value(column++), kind); };
    StoredPrice& price = product.prices.emplace_back();
    price.amount = next(number);
    price.currency = next(text);
    price.quantity_to = next(number);
    price.from_day = next(day);
    price.to_day = next(day);
    price.has_group = !row.Value(column).is_null();
    price.group = next(text);
    price.tax_percentage = next(number);
    price.discount_percentage = next(number);
    price.discount_amount = next(number);
    price.freight_cost = next(number);
  });
}

void StoredProducts::add_categories(std::span<StoredProduct> products) {
  if (products.empty()) return;
  const Sql statement = Sql("SELECT L.PRODUCTID, C.CATEGORYID, C.CATEGORYNAME FROM PRODUCTSBYCATEGORY L INNER JOIN "
                            "PRODUCTCATEGORY C ON L.CATEGORYID = C.CATEGORYID WHERE L.PRODUCTID IN ")
                        << ids_of(products) << " ORDER BY L.PRODUCTID, C.CATEGORYID";
  for_each_row(connection_, statement, products, [](StoredProduct& product, const Recordset& row) {
    product.categories.push_back({row.Value(1).to_long(), row.Value(2).text_or_empty()});
  });
}

}  // namespace mercato::exchange
