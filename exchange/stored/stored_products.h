// SPDX-License-Identifier: Apache-2.0
// Products as the store has them, in the words of documents: with their properties, prices and categories. Reads in
// batches, each with as many statements as there are tables. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "mercato/connection.h"
#include "mercato/statement.h"

namespace mercato::exchange {

// Between the buyers of a product.
inline constexpr std::string_view kBuyerSeparator = ";";

// Numbers are plain ("12.5"), days are ISO. What the row does not say is empty.
struct StoredPrice {
  std::string amount, currency, quantity_to, from_day, to_day, group, tax_percentage;
  std::string discount_percentage, discount_amount, freight_cost;
  bool has_group = false;  // the row has a text there, which may be empty, and not Null
};

struct StoredProperty {
  std::string name;
  std::optional<std::string> value;  // nothing: the row has Null
};

struct StoredCategory {
  std::int32_t id = 0;
  std::string name;
};

struct StoredProduct {
  std::int32_t id = 0;
  std::string number;  // the supplier's
  // As documents name them, in the order of `stored_fields`. What has no value is left out.
  std::vector<std::pair<std::string_view, std::string>> fields;
  std::vector<StoredProperty> properties;
  std::vector<StoredPrice> prices;
  std::vector<StoredCategory> categories;

  // Empty for none.
  std::string_view field(std::string_view name) const;
};

enum class StoredKind : std::uint8_t { text, number, day };
struct StoredField {
  std::string_view name;    // as documents have it
  std::string_view column;  // of PRODUCT
  StoredKind kind = StoredKind::text;
};
// All that a document can say of a product but its number.
std::span<const StoredField> stored_fields();

class StoredProducts {
 public:
  // Raises what opening the connection raises.
  explicit StoredProducts(const std::string& connection_string);

  // The rows of a query of PRODUCT P, which has to begin with `columns`. Raises what the store raises.
  std::vector<StoredProduct> products(const Sql& statement);
  // What `products` asks for: "P.PRODUCTID, P.BUYFROMPARTNUMBER, ...".
  static Sql columns();

  // These ask for what belongs to the products. Raise what the store raises.
  void add_properties(std::span<StoredProduct> products);
  void add_prices(std::span<StoredProduct> products);
  void add_categories(std::span<StoredProduct> products);

  const ConnectionPtr& connection() const { return connection_; }

 private:
  void add_buyers(std::span<StoredProduct> products);
  std::string partner(std::int32_t id);

  const ConnectionPtr connection_;
  std::unordered_map<std::int32_t, std::string> partners_;  // BUSINESSID by id
};

// A value of a row as a text; Null is the empty one.
std::string stored_text(const Variant& value, StoredKind kind);

}  // namespace mercato::exchange
