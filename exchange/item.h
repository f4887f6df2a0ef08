// SPDX-License-Identifier: Apache-2.0
// What a supplier's file says, in one form for all formats and before anybody has judged it: texts stand as the file
// writes them. Plain values.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mercato::exchange {

// Where in its file something stands: the line, of a sheet the row, counted from 1; 0: unknown.
struct Place {
  std::uint64_t line = 0;
};

// How a file writes numbers and dates. A format that fixes it says so; else it is found out, or told. A value that
// could be read two ways is refused as long as it is unknown. A date with the year in front is read whatever it says.
struct Notation {
  enum class Dates : std::uint8_t { unknown, iso, day_first, month_first };
  char decimal_sign = '.';  // 0: unknown
  char thousands_sign = 0;  // 0: none
  Dates dates = Dates::iso;
};

// A value of a product, by the name of its column ("UNITCODE"), or of the property that it becomes.
struct ItemField {
  std::string name;
  std::string value;
  Place place;
  // The file calls it a feature of the product, so it is a property even if its name is a column's: a feature "Number"
  // is no contract's number.
  bool is_property = false;
};

// A price from a quantity on. What the file leaves out is empty.
struct ItemPrice {
  std::string amount;
  std::string amount_for;  // how many units the amount is for; empty: one
  std::string factor;      // what the amount is multiplied by, such as a discount; empty: one
  std::string currency;    // ISO 4217
  std::string from_quantity;
  std::string to_quantity;  // the last one; empty: up to where the next price begins
  std::string from_day;
  std::string to_day;
  std::string group;  // who gets it: a territory, a kind of price
  std::string tax_percentage;
  std::string discount_percentage;
  std::string discount_amount;
  std::string freight_cost;
  Place place;
};

struct Item {
  // `update`: of a product that is there already. `remove`: the supplier no longer has it.
  enum class Action : std::uint8_t { put, update, remove };
  Action action = Action::put;
  std::string number;  // the supplier's part number, the key
  std::vector<ItemField> fields;
  std::vector<ItemPrice> prices;
  std::vector<std::string> categories;  // ids of ItemCategory, or whole paths "Tools > Drills"
  Place place;
};

// A group of the supplier's own tree. A parent may come behind its children.
struct ItemCategory {
  std::string id;
  std::string parent;  // empty: a root
  std::string name;
  Place place;
};

}  // namespace mercato::exchange
