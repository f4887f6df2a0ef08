// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <optional>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/call_limit.h"
#include "platform/store/dialect/definition.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/token_reader.h"
#include "platform/store/dialect/type_names.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

class DefinitionReader : TokenReader {
 public:
  DefinitionReader(const LexedStatement& lexed, const TableDirectory& tables) : TokenReader(lexed), tables_(tables) {}

  Definition read() {
    if (accept_word("CREATE")) {
      if (accept_word("TABLE"))
        create_table();
      else if (accept_word("FULLTEXT"))
        create_text_index();
      else
        create_index();
    } else if (accept_word("ALTER")) {
      expect_word("TABLE");
      add_column();
    } else {
      expect_word("DROP");
      drop();
    }
    expect_end();
    return std::move(result_);
  }

 private:
  void create_table() {
    result_.kind = Definition::Kind::create_table;
    result_.table = expect_table_name();
    if (tables_.find(result_.table) != nullptr)
      refuse("There is already an object named '" + result_.table + "' in the database");
    expect_symbol('(');
    do table_element();
    while (accept_symbol(','));
    expect_symbol(')');
    for (KeyDefinition& key : result_.keys)
      if (key.primary)
        for (KeyColumn& column : key.columns) result_.columns[defined(column.name)].nullable = false;
    for (KeyDefinition& key : result_.keys) find_columns(key);
    for (const ColumnDefinition& column : result_.columns)
      if (column.identity && !result_.is_assigned_key(column))
        refuse_feature("The identity column '" + column.name + "' must be the primary key of its table");
  }

  void table_element() {
    check_call_limit();
    const bool named = accept_word("CONSTRAINT");
    const std::string constraint = named ? expect_name() : std::string();
    if (at_word("PRIMARY") || at_word("UNIQUE")) {
      KeyDefinition key = key_kind(constraint);
      key.columns = key_columns();
      result_.keys.push_back(std::move(key));
    } else if (named) {
      fail();
    } else {
      ColumnDefinition column = column_definition();
      const auto same = [&](const ColumnDefinition& other) { return text::equal_names(other.name, column.name); };
      if (std::any_of(result_.columns.begin(), result_.columns.end(), same)) refuse_doubled(column);
      result_.columns.push_back(std::move(column));
    }
  }

  KeyDefinition key_kind(const std::string& constraint) {
    KeyDefinition key{accept_word("PRIMARY"), constraint, {}};
    expect_word(key.primary ? "KEY" : "UNIQUE");
    if (!accept_word("CLUSTERED")) accept_word("NONCLUSTERED");
    return key;
  }

  std::vector<KeyColumn> key_columns() {
    std::vector<KeyColumn> columns;
    expect_symbol('(');
    do {
      KeyColumn column{.name = expect_name()};
      column.descending = accept_word("DESC");
      if (!column.descending) accept_word("ASC");
      columns.push_back(std::move(column));
    } while (accept_symbol(','));
    expect_symbol(')');
    return columns;
  }

  // In their table, all of whose columns have been read.
  void find_columns(KeyDefinition& key) {
    for (KeyColumn& column : key.columns) {
      column.position = defined(column.name);
      const ColumnDefinition& definition = result_.columns[column.position];
      column.type = definition.type;
      column.nullable = definition.nullable;
    }
  }

  ColumnDefinition column_definition() {
    ColumnDefinition column;
    column.name = expect_name();
    column_type(column);
    for (;;) {
      const std::string constraint = accept_word("CONSTRAINT") ? expect_name() : std::string();
      if (accept_word("NULL")) {
        column.nullable = true;
      } else if (accept_word("NOT")) {
        expect_word("NULL");
        column.nullable = false;
      } else if (accept_word("IDENTITY")) {
        identity(column);
      } else if (accept_word("DEFAULT")) {
        column.default_value = default_value(column.type);
      } else if (at_word("PRIMARY") || at_word("UNIQUE")) {
        KeyDefinition key = key_kind(constraint);
        key.columns.push_back({.name = column.name});
        result_.keys.push_back(std::move(key));
      } else if (!constraint.empty()) {
        fail();
      } else {
        return column;
      }
    }
  }

  void column_type(ColumnDefinition& column) {
    if (!at_name()) fail();
    const std::uint32_t at = next_;
    const std::string name = expect_name();
    const auto type = find_type(name);
    if (!type)
      refuse("Column '" + column.name + "': Cannot find data type " + name +
             place_text(lexed_.text, lexed_.tokens[at].begin));
    column.type = type->type;
    column.type_text = type->name;
    if (!accept_symbol('(')) {
      // Without a width a text column holds one character.
      if (type->sized) set_width(column, 1);
      return;
    }
    if (type->sized) {
      if (accept_word("MAX"))
        column.type_text = kUnlimitedTextType;
      else
        set_width(column, expect_whole_number());
    } else if (type->type == ColumnType::real) {
      column.type_text += "(" + std::to_string(expect_whole_number());
      if (accept_symbol(',')) column.type_text += "," + std::to_string(expect_whole_number());
      column.type_text += ")";
    } else {
      fail();
    }
    expect_symbol(')');
  }

  static void set_width(ColumnDefinition& column, std::int64_t width) {
    constexpr std::int64_t kWidest = 8000;
    if (width < 1 || width > kWidest)
      refuse("The size (" + std::to_string(width) + ") given to the column '" + column.name + "' is out of range");
    column.width = static_cast<std::int32_t>(width);
    column.type_text += "(" + std::to_string(width) + ")";
  }

  void identity(ColumnDefinition& column) {
    if (column.type != ColumnType::long_integer && column.type != ColumnType::short_integer)
      refuse("Identity column '" + column.name + "' must be of data type int or smallint");
    column.identity = true;
    column.nullable = false;
    if (!accept_symbol('(')) return;
    const std::int64_t seed = expect_whole_number();
    expect_symbol(',');
    const std::int64_t increment = expect_whole_number();
    expect_symbol(')');
    if (seed != 1 || increment != 1)
      refuse_feature("The identity column '" + column.name + "' can only count from 1 in steps of 1");
  }

  // A literal, bare or in brackets; or the current date.
  DefaultValue default_value(ColumnType type) {
    std::size_t brackets = 0;
    while (accept_symbol('(')) ++brackets;
    DefaultValue value = plain_default_value(type);
    for (; brackets > 0; --brackets) expect_symbol(')');
    return value;
  }

  DefaultValue plain_default_value(ColumnType type) {
    DefaultValue result;
    if (accept_word("NULL")) {
      result.kind = DefaultValue::Kind::null;
      return result;
    }
    if (accept_word("GETDATE")) {
      expect_symbol('(');
      expect_symbol(')');
      result.kind = DefaultValue::Kind::current_date;
      return result;
    }
    result.kind = DefaultValue::Kind::literal;
    result.negative = accept_symbol('-');
    if (!result.negative) accept_symbol('+');
    const TokenKind kind = token().kind;
    const bool is_number = kind == TokenKind::number;
    if (!is_number && (result.negative || (kind != TokenKind::text && kind != TokenKind::national_text))) fail();
    result.literal = literal_index(next_++);
    result.value = parameter_value(lexed_, {result.literal, conversion_to(type)});
    return result;
  }

  static Conversion conversion_to(ColumnType type) {
    switch (type) {
      case ColumnType::text:
        return Conversion::text;
      case ColumnType::date:
        return Conversion::date;
      case ColumnType::money:
        return Conversion::money;
      case ColumnType::boolean:
        return Conversion::boolean;
      default:
        return Conversion::number;
    }
  }

  std::size_t defined(const std::string& name) const {
    for (std::size_t i = 0; i < result_.columns.size(); ++i)
      if (text::equal_names(result_.columns[i].name, name)) return i;
    refuse_unknown_column(name);
  }

  const TableInfo& expect_table() {
    const std::string name = expect_table_name();
    const TableInfo* table = tables_.find(name);
    if (table == nullptr) refuse("Invalid object name '" + name + "'");
    result_.table = table->name;
    return *table;
  }

  void create_index() {
    result_.kind = Definition::Kind::create_index;
    result_.unique = accept_word("UNIQUE");
    if (!accept_word("CLUSTERED")) accept_word("NONCLUSTERED");
    expect_word("INDEX");
    result_.index = expect_name();
    expect_word("ON");
    const TableInfo& table = expect_table();
    result_.index_columns = key_columns();
    for (KeyColumn& column : result_.index_columns) {
      const auto position = table.find(column.name);
      if (!position) refuse_unknown_column(column.name);
      column.type = table.columns[*position].type;
      column.nullable = table.columns[*position].nullable;
    }
  }

  // One for a table, so it needs no name.
  void create_text_index() {
    result_.kind = Definition::Kind::create_text_index;
    const TableInfo& table = expect_text_index();
    if (table.has_text_index()) refuse("There is already a full-text index on table '" + table.name + "'");
    expect_symbol('(');
    do text_index_column(table);
    while (accept_symbol(','));
    expect_symbol(')');
  }

  void text_index_column(const TableInfo& table) {
    const std::string name = expect_name();
    const auto position = table.find(name);
    if (!position) refuse_unknown_column(name);
    const Column& column = table.columns[*position];
    if (column.type != ColumnType::text)
      refuse("Column '" + column.name + "' cannot be in a full-text index: it holds no texts");
    for (const KeyColumn& other : result_.index_columns)
      if (other.position == *position)
        refuse("Column '" + column.name + "' is given more than once in the full-text index");
    result_.index_columns.push_back({column.name, *position, column.type, column.nullable, false});
  }

  const TableInfo& expect_text_index() {
    expect_word("INDEX");
    expect_word("ON");
    return expect_table();
  }

  void add_column() {
    result_.kind = Definition::Kind::add_column;
    const TableInfo& table = expect_table();
    expect_word("ADD");
    ColumnDefinition column = column_definition();
    if (!result_.keys.empty() || column.identity) fail();
    if (table.find(column.name)) refuse_doubled(column);
    result_.columns.push_back(std::move(column));
  }

  void drop() {
    if (accept_word("TABLE")) {
      result_.kind = Definition::Kind::drop_table;
      expect_table();
      return;
    }
    if (accept_word("FULLTEXT")) {
      result_.kind = Definition::Kind::drop_text_index;
      const TableInfo& table = expect_text_index();
      if (!table.has_text_index()) refuse("There is no full-text index on table '" + table.name + "'");
      return;
    }
    result_.kind = Definition::Kind::drop_index;
    expect_word("INDEX");
    result_.index = expect_name();
    if (accept_symbol('.')) {
      result_.index_qualifier = std::exchange(result_.index, expect_name());
    } else {
      expect_word("ON");
      expect_table();
    }
  }

  [[noreturn]] static void refuse_doubled(const ColumnDefinition& column) {
    refuse("Column names in each table must be unique. Column name '" + column.name + "' is given more than once");
  }
  [[noreturn]] static void refuse_unknown_column(const std::string& name) {
    refuse("Column name '" + name + "' does not exist in the target table");
  }

  const TableDirectory& tables_;
  Definition result_;
};

}  // namespace

bool Definition::is_assigned_key(const ColumnDefinition& column) const {
  return column.identity && std::any_of(keys.begin(), keys.end(), [&](const KeyDefinition& key) {
           return key.primary && key.columns.size() == 1 && text::equal_names(key.columns[0].name, column.name);
         });
}

Definition read_definition(const LexedStatement& lexed, const TableDirectory& tables) {
  return DefinitionReader(lexed, tables).read();
}

}  // namespace mercato::store::dialect
