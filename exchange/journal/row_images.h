// SPDX-License-Identifier: Apache-2.0
// The image of a row: a JSON object with a member for each column that is not Null, sorted by name, so that two images
// of the same values are the same text, whatever the store. And the rows of the journaled tables as images. Any thread.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/store/driver.h"

namespace mercato::exchange {

// A table that uploads write to, and what its rows are told apart and looked up by.
struct JournaledTable {
  std::string_view name;
  std::vector<std::string_view> key;
  std::string_view looked_up_by;  // an indexed column, of the key unless the key has no index of its own
  bool looked_up_by_text = false;
};
// Those that others refer to stand behind the ones that refer to them.
std::span<const JournaledTable> journaled_tables();
const JournaledTable& journaled_table(std::string_view name);

struct ImagedRow {
  const JournaledTable* table = nullptr;
  std::string key;  // a text that no other row of the table has
  std::string image;
  std::vector<std::string> noted;              // the values of the columns that were to be noted, empty for none
  std::optional<store::RowIdentity> identity;  // when it was asked for
};

// The rows in which the column has one of these values, each given as a literal's text: a number, or a text as it is.
// All rows of the table when no column is named.
struct RowsAskedFor {
  std::string_view table;
  std::string_view column = {};
  bool is_text = false;
  std::vector<std::string_view> note = {};
  bool identified = false;
};
std::vector<ImagedRow> imaged_rows(store::Session& session, const RowsAskedFor& asked,
                                   std::span<const std::string> values);

// The ids of products with one of these part numbers, and the numbers as the store has them.
std::vector<std::pair<std::string, std::string>> product_ids(store::Session& session,
                                                             std::span<const std::string> part_numbers);

// The rows that the table's own column finds, with their identities.
std::vector<ImagedRow> identified_rows(store::Session& session, const JournaledTable& table,
                                       std::span<const std::string> values);

// As images have it, quotes included.
void append_json_text(std::string& json, const std::string& text);
std::string text_of_json(std::string_view json);
// The text of one column of an image; empty for Null.
std::string value_in(std::string_view image, std::string_view column);
// The key of a row with this image.
std::string key_of(const JournaledTable& table, std::string_view image);
// A value for each column of the table, in the columns' order.
std::vector<Variant> row_of(const store::TableInfo& table, std::string_view image);
// Whether two images differ in nothing but the moment at which a product was written.
bool are_same(std::string_view one, std::string_view other);

// An image as what it has other than the one from before: the members that differ, with null for those that are gone.
// And back, to the same text.
std::string differences(std::string_view before, std::string_view after);
std::string with_differences(std::string_view before, std::string_view differences);

// What two images differ in, by columns; "" stands for no row at all. The moment at which a product was written is left
// out.
struct ChangedField {
  std::string field;
  std::string before;
  std::string after;
};
std::vector<ChangedField> changed_fields(std::string_view before, std::string_view after);

// The condition that finds the row of this image.
Sql condition_of(const JournaledTable& table, const store::TableInfo& info, std::string_view image);

}  // namespace mercato::exchange
