// SPDX-License-Identifier: Apache-2.0
// Price lines: those of many products, their deletion, their end on a day, and a change by percent; and one line put in
// the place of another. The library's own calls change lines of a group only, and delete none. What is written belongs
// to the caller's transaction. Every function raises what the store raises. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "mercato/currency.h"
#include "mercato/date.h"
#include "mercato/dictionary.h"

namespace mercato::keeping {

// Which lines of the products; all of it has to hold.
struct PriceLineChoice {
  std::optional<std::string> group;  // the empty text: lines without a group
  std::string currency;              // empty: any
  std::optional<Date> from;          // exactly this first day
  std::optional<double> to_quantity;
  std::optional<Date> holding_on;  // lines that hold on this day or on a later one
};

struct PriceLineKeyWords {
  std::int32_t product = 0;
  Date from;
  double to_quantity = 0;
  std::string group;
  std::string currency;
};

// How many lines there are.
std::size_t count_price_lines(std::span<const std::int32_t> products, const PriceLineChoice& choice);
std::size_t delete_price_lines(std::span<const std::int32_t> products, const PriceLineChoice& choice);

// Puts one line of a product in the place of another. Both are rows of CATALOGPRODUCTPRICE, from column to value; a
// column that is left out is Null. Without `before` the line is added, without `after` the other one is deleted. The
// library adds it, so its checks hold. False when no line has the first day, the quantity and the group of `before`.
bool replace_price_line(std::int32_t product, const DictionaryPtr& before, const DictionaryPtr& after);

// A percentage as it was written, exact to four decimals.
struct Percentage {
  std::int64_t ten_thousandths = 0;  // of one percent
};
// Reads "3%", "-2.5 %", "+0.75". Nothing for another text, for more than four decimals, for -100 and less, and for
// 1,000,000 and more.
std::optional<Percentage> parse_percentage(std::string_view text);

// The amount with that much more, in exact arithmetic, rounded to so many decimals (0 to 4); a half is rounded away
// from zero. Raises 6 for an amount that is too large.
Currency changed_by(Currency amount, Percentage by, int decimals);

struct ChangedPrice {
  PriceLineKeyWords line;
  Currency before;
  Currency after;
};
struct PriceChange {
  std::size_t changed = 0;
  std::size_t same = 0;       // the change is too small for the decimals
  std::size_t priceless = 0;  // lines without a price
};
// Changes PRICE; discounts, taxes and freight stay. `told` is called for each line that changes. With `for_real` false
// nothing is written.
PriceChange change_prices(std::span<const std::int32_t> products, const PriceLineChoice& choice, Percentage by,
                          int decimals, bool for_real, const std::function<void(const ChangedPrice&)>& told);

struct PriceEnd {
  std::size_t ended = 0;  // lines that get this day as their last
  std::size_t over = 0;   // lines that end on it or before
  std::size_t later = 0;  // lines that begin after it, which stay
};
PriceEnd end_prices(std::span<const std::int32_t> products, const PriceLineChoice& choice, Date on, bool for_real);

}  // namespace mercato::keeping
