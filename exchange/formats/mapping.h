// SPDX-License-Identifier: Apache-2.0
// Which column of a table is what: the mapping file of CSV and XLSX, a TOML document. docs/formats/csv.md has an
// example of each part. Plain values; any thread.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/item.h"

namespace mercato::exchange {

// A column by its header, in any case, or by its place: "#3". With `split`, one part of its cells.
struct ColumnReference {
  std::string column;
  std::string split;     // empty: the whole cell
  std::size_t part = 1;  // counted from 1
  bool empty() const { return column.empty(); }
};

// Where a field of an item comes from.
struct MappedField {
  std::string name;  // of the product's column or of the property
  ColumnReference from;
};

struct Mapping {
  // How the table is read. Nothing and 0: found out.
  std::string encoding;
  std::string separator;
  std::optional<std::string> quote;       // empty: none
  std::optional<std::size_t> header_row;  // counted from 1; 0: none, columns are named by their places
  std::string sheet;                      // its name, or its number from 1; empty: the first
  std::optional<char> decimal_sign;
  std::optional<char> thousands_sign;
  std::optional<Notation::Dates> dates;

  ColumnReference number;  // the supplier's part number
  Item::Action action = Item::Action::put;
  std::vector<MappedField> fields;               // of several for one name the first one with a value counts
  std::map<std::string, std::string> constants;  // of items that say nothing else
  std::map<std::string, std::string> units;      // the file's word to that of the store

  // A price in columns of its own, or all tiers in one cell: "1:0.12;100:0.09". Several rows of one product, one
  // behind the other, are its tiers too.
  struct Price {
    ColumnReference amount, tiers, amount_for, currency, from_quantity, to_quantity, from_day, to_day, group,
        tax_percentage, discount_percentage, discount_amount, freight_cost;
    std::string between_tiers = ";";
    std::string within_tier = ":";
  };
  std::vector<Price> prices;

  ColumnReference category;  // the whole path
  std::string category_separator = ">";

  std::vector<MappedField> properties;
  bool other_columns_are_properties = false;
  // A property in each row: the columns with its name and its value.
  ColumnReference property_name, property_value;
  // Columns that are left out on purpose, and not counted.
  std::vector<std::string> ignored;
};

// Raises 5, naming the line, for a text that is no mapping. `name` is the file's, for the message.
Mapping read_mapping(std::string_view text, std::string_view name);

// A header as the name of a property: capitals, an underscore for what the name of an element cannot have.
std::string property_name_of(std::string_view header);

}  // namespace mercato::exchange
