// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/reach.h"

#include <array>
#include <nlohmann/json.hpp>
#include <set>
#include <unordered_map>

namespace mercato::exchange {
namespace {

using Json = nlohmann::json;

class Reader {
 public:
  explicit Reader(store::Session& session) : session_(session) {}

  void find_products(std::span<const std::string> part_numbers) {
    for (auto& [id, part_number] : product_ids(session_, part_numbers))
      if (records_.emplace(id, std::move(part_number)).second) ids_.push_back(id);
  }

  // The same, and their rows.
  void add_products(std::span<const std::string> part_numbers) {
    for (ImagedRow& row : imaged_rows(session_,
                                      {.table = "PRODUCT",
                                      .column = "BUYFROMPARTNUMBER",
                                      .is_text = true,
                                      .note = {"PRODUCTID", "BUYFROMPARTNUMBER"}},
                                      part_numbers)) {
      const auto [known, is_new] = records_.emplace(row.noted[0], row.noted[1]);
      if (!is_new) continue;
      ids_.push_back(known->first);
      add(std::move(row), known->second);
    }
  }

  // Of the products that were found before.
  void add_rows_of_products(std::string_view table, std::int32_t properties_above = 0) {
    for (ImagedRow& row :
         imaged_rows(session_, {.table = table, .column = "PRODUCTID", .note = {"PRODUCTID", "PROPERTYID"}}, ids_)) {
      if (!row.noted[1].empty() && std::stol(row.noted[1]) > properties_above) properties_.insert(row.noted[1]);
      add(std::move(row), records_.at(row.noted[0]));
    }
  }
  // Of those above that the values are of.
  void add_properties() {
    add_rows("PROPERTY", "PROPERTYID", {properties_.begin(), properties_.end()}, {"PROPERTYNAME"});
  }
  // `named_by`: the columns that make up what people know a row by.
  void add_rows(std::string_view table, std::string_view column, const std::vector<std::string>& values,
                std::vector<std::string_view> named_by) {
    for (ImagedRow& row :
         imaged_rows(session_, {.table = table, .column = column, .note = std::move(named_by)}, values)) {
      std::string record;
      for (const std::string& part : row.noted) record += part;
      add(std::move(row), std::move(record));
    }
  }
  void add_nodes_with_categories(std::span<const std::string> catalogs) {
    std::set<std::string> categories;
    for (ImagedRow& row : imaged_rows(
             session_, {.table = "CATALOGNODE", .column = "CATALOGID", .note = {"NODENAME", "CATEGORYID"}}, catalogs)) {
      if (!row.noted[1].empty()) categories.insert(row.noted[1]);
      std::string name = row.noted[0];
      add(std::move(row), std::move(name));
    }
    add_rows("PRODUCTCATEGORY", "CATEGORYID", {categories.begin(), categories.end()}, {"CATEGORYNAME"});
  }
  std::vector<ReachedRow> found() && { return std::move(found_); }

 private:
  void add(ImagedRow&& row, std::string record) { found_.push_back({std::move(row), std::move(record)}); }

  store::Session& session_;
  std::vector<std::string> ids_;
  std::unordered_map<std::string, std::string> records_;  // by the products' ids
  std::set<std::string> properties_;
  std::vector<ReachedRow> found_;
};

constexpr auto kNames = std::to_array<std::string_view>({"products", "prices", "codes", "catalog", "groups"});

}  // namespace

std::vector<ReachedRow> rows_within(store::Session& session, const Reach& reach) {
  Reader reader(session);
  switch (reach.kind) {
    case Reach::Kind::products:
      reader.add_products(reach.keys);
      for (const std::string_view table : {"PRODUCTPROPVALUE", "PRODUCTSBYCATEGORY", "PRODUCTBUYER"})
        reader.add_rows_of_products(table, reach.properties_above);
      reader.add_properties();
      break;
    case Reach::Kind::prices:
      reader.find_products(reach.keys);
      reader.add_rows_of_products("CATALOGPRODUCTPRICE");
      break;
    case Reach::Kind::codes:
      reader.add_rows("UNSPSCCODES", {}, {}, {"PARENTCODE", "UNSPSCCODE"});
      reader.add_rows("COMMODITY", {}, {}, {"COMMODITYCODE"});
      break;
    case Reach::Kind::catalog:
      reader.add_rows("CATALOG", "CATALOGID", reach.keys, {"CATALOGNAME"});
      reader.add_rows("CATALOGNODE", "CATALOGID", reach.keys, {"NODENAME"});
      break;
    case Reach::Kind::groups:
      reader.add_nodes_with_categories(reach.keys);
      break;
  }
  return std::move(reader).found();
}

std::int32_t largest_property(store::Session& session) {
  const store::Execution query = session.execute(LiteralPiece("SELECT MAX(PROPERTYID) FROM PROPERTY"));
  std::vector<Variant> row;
  if (!query.cursor->next()) return 0;
  query.cursor->read(row);
  return row[0].is_null() ? 0 : row[0].to_long();
}

std::string text_of(const Reach& reach) {
  return Json({{"kind", kNames[static_cast<std::size_t>(reach.kind)]},
               {"keys", reach.keys},
               {"propertiesAbove", reach.properties_above}})
      .dump(-1, ' ', false, Json::error_handler_t::replace);
}

Reach reach_of(std::string_view text) {
  const Json json = Json::parse(text);
  Reach reach;
  const std::string kind = json.at("kind").get<std::string>();
  for (std::size_t position = 0; position < kNames.size(); ++position)
    if (kNames[position] == kind) reach.kind = static_cast<Reach::Kind>(position);
  reach.keys = json.at("keys").get<std::vector<std::string>>();
  reach.properties_above = json.at("propertiesAbove").get<std::int32_t>();
  return reach;
}

}  // namespace mercato::exchange
