// SPDX-License-Identifier: Apache-2.0
// The columns of a result and of a table. Immutable once made, shared between rows and threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mercato::store {

enum class ColumnType : std::uint8_t {
  unknown,  // an expression: typed by each value
  short_integer,
  long_integer,
  boolean,
  real,
  money,
  date,
  text,
};

struct Column {
  std::string name;
  ColumnType type = ColumnType::unknown;
  std::int32_t width = 0;  // characters; 0: unlimited, or no text
  bool nullable = true;
  bool assigned = false;       // the store gives the value
  bool in_text_index = false;  // patterns are looked for in it without a look at each row
};

// The columns of a result, found by name in any case; of two with one name the first is found.
class RowLayout {
 public:
  explicit RowLayout(std::vector<Column> columns, std::string table = {});
  const std::vector<Column>& columns() const { return columns_; }
  std::size_t size() const { return columns_.size(); }
  std::optional<std::size_t> find(std::string_view name) const;
  // The one table that the rows come from; empty when there is none.
  const std::string& table() const { return table_; }

 private:
  std::vector<Column> columns_;
  std::vector<std::uint32_t> index_;  // open addressing by the upper-cased name
  std::string table_;
};

using RowLayoutPtr = std::shared_ptr<const RowLayout>;

struct TableInfo {
  std::string name;  // as it was created
  std::vector<Column> columns;
  std::vector<std::size_t> key;  // positions of the primary key's columns; empty when the table has none

  std::optional<std::size_t> find(std::string_view column_name) const;
  bool has_text_index() const;
};

}  // namespace mercato::store
