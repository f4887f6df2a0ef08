// SPDX-License-Identifier: Apache-2.0
// What the store holds of products, read for many at once, and in what two such readings differ. One thread.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "frame/lib_sql.h"
#include "mercato/variant.h"

namespace mercato::exchange {

// One value that a write has changed; texts, dates as ISO writes them, empty for none.
struct FieldChange {
  std::string field;
  std::string before;
  std::string after;
  bool operator==(const FieldChange&) const = default;
};

using StoredRow = std::vector<Variant>;

// The form in which the store compares part numbers.
std::string part_number_key(std::string_view part_number);

class StoredRows {
 public:
  explicit StoredRows(ConnectionPtr connection) : connection_(std::move(connection)) {}

  struct Product {
    StoredRow row;
    std::map<std::int32_t, std::string> properties;  // values by the property's id
    std::vector<std::string> buyers;
  };
  // Products with the same part number by their ids.
  using Products = std::map<std::int32_t, Product>;
  using Prices = std::vector<StoredRow>;

  // By part_number_key. Raise what the store raises.
  std::map<std::string, Products> products(std::span<const std::string> part_numbers);
  std::map<std::string, Prices> prices(std::span<const std::string> part_numbers);

  // The moment at which a product was written is no difference.
  void add_differences(const Product& before, const Product& after, std::vector<FieldChange>& changes);
  void add_price_differences(const StoredRow& before, const StoredRow& after, std::vector<FieldChange>& changes) const;

 private:
  const std::string& property_name(std::int32_t id);

  ConnectionPtr connection_;
  std::vector<std::string> product_columns_;
  std::vector<std::string> price_columns_;
  std::map<std::int32_t, std::string> property_names_;
};

}  // namespace mercato::exchange
