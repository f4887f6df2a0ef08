// SPDX-License-Identifier: Apache-2.0
// CREATE, ALTER and DROP as data, which knows no engine. A definition has no expressions but literals, so it is read
// and checked against itself and the store's tables in one pass.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mercato/variant.h"
#include "platform/store/dialect/dialect.h"

namespace mercato::store::dialect {

struct DefaultValue {
  enum class Kind : std::uint8_t { none, null, current_date, literal };
  Kind kind = Kind::none;
  bool negative = false;
  std::uint32_t literal = 0;  // its position in LexedStatement::literals
  Variant value;              // converted to the column's type, without the sign
};

struct ColumnDefinition {
  std::string name;
  std::string type_text;  // "NVARCHAR(50)"
  ColumnType type = ColumnType::unknown;
  std::int32_t width = 0;  // characters; 0: unlimited, or no text
  bool nullable = true;
  bool identity = false;  // assigned by the store, from 1 in steps of 1
  DefaultValue default_value;
};

struct KeyColumn {
  std::string name;          // as it was written
  std::size_t position = 0;  // of a table that is created: among its columns
  ColumnType type = ColumnType::unknown;
  bool nullable = true;
  bool descending = false;
};

struct KeyDefinition {
  bool primary = false;
  std::string constraint;  // its name, if it has one
  std::vector<KeyColumn> columns;
};

struct Definition {
  enum class Kind : std::uint8_t {
    create_table,
    create_index,
    create_text_index,
    add_column,
    drop_table,
    drop_index,
    drop_text_index,
  };
  Kind kind = Kind::create_table;
  std::string table;
  std::string index;
  std::string index_qualifier;            // DROP INDEX qualifier.index, which need not be a table's name
  bool unique = false;                    // of an index
  std::vector<ColumnDefinition> columns;  // of a table; the one that is added
  std::vector<KeyDefinition> keys;        // of a table, in the order of reading
  std::vector<KeyColumn> index_columns;

  // Whether the column is the whole primary key and assigned by the store.
  bool is_assigned_key(const ColumnDefinition& column) const;
};

// Raises kStatementRefused, and kFeatureNotAvailable for an identity that the library's stores do not keep.
Definition read_definition(const LexedStatement& lexed, const TableDirectory& tables);

}  // namespace mercato::store::dialect
