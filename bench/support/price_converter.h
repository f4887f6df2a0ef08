// SPDX-License-Identifier: Apache-2.0
// Turns the price tiers of a file of electronic components into a ProductPrice document. Pure but for the file that it
// reads; any thread.
//
// A row's price_tiers, "1:0.0188;200:0.0162", are lower ends of quantities with a price each. Each becomes a line of
// the row's part_number:
//
//   CurrencyCode        currency
//   Price               the tier's
//   QuantityTo          one less than the lower end of the next tier; the last one has none
//   PriceEffectiveDate  1/1/2026
//   PriceExpiryDate     12/31/2026
//
// Part numbers are written as product_converter.h does it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

namespace mercato::bench {

inline constexpr std::size_t kAllLines = std::numeric_limits<std::size_t>::max();

struct ConvertedPrices {
  std::vector<std::string> part_numbers;  // in document order
  std::size_t lines = 0;
};

// Writes the document of the first rows whose lines are not more than `limit` together. Throws what CsvReader does, and
// std::runtime_error for tiers that are not of that form.
ConvertedPrices components_to_prices(const std::filesystem::path& csv, std::size_t limit, std::ostream& document);

}  // namespace mercato::bench
