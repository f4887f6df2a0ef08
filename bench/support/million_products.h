// SPDX-License-Identifier: Apache-2.0
// A million products for searches: real components and their like. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bench/support/any_store.h"

namespace mercato::bench {

inline constexpr std::int32_t kMillion = 1'000'000;
inline constexpr std::int32_t kCategoriesOfMillion = 2'000;

class MillionProducts {
 public:
  // Reads the file of components. Throws what CsvReader does.
  MillionProducts();

  struct Product {
    std::string part_number;  // the manufacturer's, too
    std::string description;
    std::string supplier_number;
  };
  // Ids from 1. In each further round through the file the digits of a number and of a description are others.
  Product product(std::int32_t id) const;

  // Makes an empty store one with all of them. Nine in ten hang in a category; a catalogue in force has a node for each
  // category.
  void fill(const AnyStore& store) const;

  // The text index of the products.
  static constexpr const char* kIndexDefinition =
      "CREATE FULLTEXT INDEX ON PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, MFRPARTNUMBER)";
  static constexpr const char* kIndexDrop = "DROP FULLTEXT INDEX ON PRODUCT";

 private:
  std::vector<Product> rows_;
};

}  // namespace mercato::bench
