#include "platform/store/dialect/sqlite_definitions.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "platform/store/dialect/declared_type.h"
#include "platform/store/dialect/readings.h"
#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/token_reader.h"
#include "values/raised_error.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

struct ColumnDefinition {
  std::string name;
  std::string declared;
  ColumnType type = ColumnType::unknown;
  std::int32_t width = 0;
  bool nullable = true;
  bool identity = false;
  std::string default_sql;
};

struct KeyColumn {
  std::string name;
  bool descending = false;
};

struct Key {
  bool primary = false;
  std::string constraint;  // its name, if it has one
  std::vector<KeyColumn> columns;
};

// What a unique index needs to know of a column.
struct IndexedColumn {
  ColumnType type;
  bool nullable;
};

std::string text_sql(std::string_view text) { return "'" + text::replace_all(text, "'", "''") + "'"; }

class DefinitionTranslator : TokenReader {
 public:
  DefinitionTranslator(const LexedStatement& lexed, const TableDirectory& tables)
      : TokenReader(lexed), tables_(tables) {
    result_.kind = StatementKind::definition;
    result_.depends_on_literals = true;
  }

  Translation translate() {
    if (accept_word("CREATE")) {
      if (accept_word("TABLE"))
        create_table();
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
    const std::string table = expect_table_name();
    if (tables_.find(table) != nullptr) refuse("There is already an object named '" + table + "' in the database");
    expect_symbol('(');
    do table_element();
    while (accept_symbol(','));
    expect_symbol(')');
    for (const Key& key : keys_)
      if (key.primary)
        for (const KeyColumn& column : key.columns) defined(column.name).nullable = false;

    std::vector<std::string> parts;
    for (const ColumnDefinition& column : columns_) parts.push_back(column_sql(column));
    std::vector<std::string> indices;
    for (const Key& key : keys_) add_key(table, key, parts, indices);
    for (const ColumnDefinition& column : columns_)
      if (column.identity && !is_assigned_key(column))
        raise(error_number::kFeatureNotAvailable, "SQLite store",
              "The identity column '" + column.name + "' must be the primary key of its table");

    std::string sql = "CREATE TABLE " + quoted(table) + " (";
    for (std::size_t i = 0; i < parts.size(); ++i) sql += (i == 0 ? "" : ", ") + parts[i];
    result_.statements.push_back(sql + ")");
    result_.statements.insert(result_.statements.end(), indices.begin(), indices.end());
    result_.table = table;
  }

  void table_element() {
    const bool named = accept_word("CONSTRAINT");
    const std::string constraint = named ? expect_name() : std::string();
    if (at_word("PRIMARY") || at_word("UNIQUE")) {
      Key key = key_kind(constraint);
      key.columns = key_columns();
      keys_.push_back(std::move(key));
    } else if (named) {
      fail();
    } else {
      ColumnDefinition column = column_definition();
      const auto same = [&](const ColumnDefinition& other) { return text::equal_names(other.name, column.name); };
      if (std::any_of(columns_.begin(), columns_.end(), same))
        refuse("Column names in each table must be unique. Column name '" + column.name + "' is given more than once");
      columns_.push_back(std::move(column));
    }
  }

  Key key_kind(const std::string& constraint) {
    Key key{accept_word("PRIMARY"), constraint, {}};
    expect_word(key.primary ? "KEY" : "UNIQUE");
    if (!accept_word("CLUSTERED")) accept_word("NONCLUSTERED");
    return key;
  }

  std::vector<KeyColumn> key_columns() {
    std::vector<KeyColumn> columns;
    expect_symbol('(');
    do {
      KeyColumn column{expect_name()};
      column.descending = accept_word("DESC");
      if (!column.descending) accept_word("ASC");
      columns.push_back(std::move(column));
    } while (accept_symbol(','));
    expect_symbol(')');
    return columns;
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
        column.default_sql = default_value(column.type);
      } else if (at_word("PRIMARY") || at_word("UNIQUE")) {
        Key key = key_kind(constraint);
        key.columns.push_back({column.name});
        keys_.push_back(std::move(key));
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
    column.declared = type->declared;
    if (!accept_symbol('(')) {
      // Without a width a text column holds one character.
      if (type->sized) set_width(column, 1);
      return;
    }
    if (type->sized) {
      if (accept_word("MAX"))
        column.declared = "NTEXT";
      else
        set_width(column, expect_whole_number());
    } else if (type->type == ColumnType::real) {
      column.declared += "(" + std::to_string(expect_whole_number());
      if (accept_symbol(',')) column.declared += "," + std::to_string(expect_whole_number());
      column.declared += ")";
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
    column.declared += "(" + std::to_string(width) + ")";
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
      raise(error_number::kFeatureNotAvailable, "SQLite store",
            "The identity column '" + column.name + "' can only count from 1 in steps of 1");
  }

  // A literal, bare or in brackets, as the store keeps values of that type; or the current date.
  std::string default_value(ColumnType type) {
    if (accept_symbol('(')) {
      std::string sql = default_value(type);
      expect_symbol(')');
      return sql;
    }
    if (accept_word("NULL")) return "NULL";
    if (accept_word("GETDATE")) {
      expect_symbol('(');
      expect_symbol(')');
      return "(mercato_now())";
    }
    const bool negative = accept_symbol('-');
    if (!negative) accept_symbol('+');
    const TokenKind kind = token().kind;
    const bool is_number = kind == TokenKind::number;
    if (!is_number && (negative || (kind != TokenKind::text && kind != TokenKind::national_text))) fail();
    const std::string sign = negative ? "-" : "";
    const std::uint32_t literal = literal_index(next_++);
    const auto value = [&](Conversion conversion) { return parameter_value(lexed_, {literal, conversion}); };
    switch (type) {
      case ColumnType::text:
        return text_sql(sign + value(Conversion::text).to_text());
      case ColumnType::date:
        return text_sql(value(Conversion::date).date_value().iso_text());
      case ColumnType::money:
        return sign + std::to_string(value(Conversion::money).currency_value().scaled());
      case ColumnType::boolean:
        return value(Conversion::boolean).boolean_value() ? "1" : "0";
      default:
        return sign + value(Conversion::number).to_text();
    }
  }

  ColumnDefinition& defined(const std::string& name) {
    for (ColumnDefinition& column : columns_)
      if (text::equal_names(column.name, name)) return column;
    refuse("Column name '" + name + "' does not exist in the target table");
  }

  bool is_assigned_key(const ColumnDefinition& column) const {
    return column.identity && std::any_of(keys_.begin(), keys_.end(), [&](const Key& key) {
             return key.primary && key.columns.size() == 1 && text::equal_names(key.columns[0].name, column.name);
           });
  }

  std::string column_sql(const ColumnDefinition& column) const {
    // The store numbers rows and never gives a number twice.
    if (is_assigned_key(column))
      return quoted(column.name) + " " + std::string(kAssignedKeyType) + " PRIMARY KEY AUTOINCREMENT" +
             check_sql(column);
    std::string sql = quoted(column.name) + " " + column.declared;
    if (!column.nullable) sql += " NOT NULL";
    if (!column.default_sql.empty()) sql += " DEFAULT " + column.default_sql;
    if (column.type == ColumnType::text) sql += " COLLATE MERCATO";
    return sql + check_sql(column);
  }

  static std::string check_sql(const ColumnDefinition& column) {
    const std::string name = quoted(column.name);
    const std::string range = " CONSTRAINT " + quoted(range_constraint(column.name)) + " CHECK (" + name;
    switch (column.type) {
      case ColumnType::short_integer:
        return range + " BETWEEN -32768 AND 32767)";
      case ColumnType::long_integer:
        return range + " BETWEEN -2147483648 AND 2147483647)";
      case ColumnType::boolean:
        return range + " BETWEEN 0 AND 1)";
      case ColumnType::text:
        if (column.width == 0) return {};
        return " CONSTRAINT " + quoted(width_constraint(column.name)) + " CHECK (length(" + name +
               ") <= " + std::to_string(column.width) + ")";
      default:
        return {};
    }
  }

  void add_key(const std::string& table, const Key& key, std::vector<std::string>& parts,
               std::vector<std::string>& indices) {
    bool any_nullable = false;
    std::string names, label;
    for (const KeyColumn& column : key.columns) {
      const ColumnDefinition& definition = defined(column.name);
      if (key.primary && is_assigned_key(definition)) return;
      any_nullable = any_nullable || definition.nullable;
      names += (names.empty() ? "" : ", ") + quoted(definition.name);
      label += "_" + definition.name;
    }
    if (any_nullable) {
      const std::string index = key.constraint.empty() ? "UQ_" + table + label : key.constraint;
      indices.push_back(index_sql(index, true, table, key.columns, [this](const std::string& name) {
        return IndexedColumn{defined(name).type, defined(name).nullable};
      }));
      return;
    }
    std::string sql = key.constraint.empty() ? "" : "CONSTRAINT " + quoted(key.constraint) + " ";
    parts.push_back(sql + (key.primary ? "PRIMARY KEY (" : "UNIQUE (") + names + ")");
  }

  // SQLite holds two Nulls for different. The index is over something else in their place, which equals itself and no
  // value of any column.
  template <class Lookup>
  static std::string index_sql(const std::string& index, bool unique, const std::string& table,
                               const std::vector<KeyColumn>& columns, Lookup lookup) {
    std::string sql =
        std::string(unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ") + quoted(index) + " ON " + quoted(table) + " (";
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const IndexedColumn column = lookup(columns[i].name);
      if (i > 0) sql += ", ";
      if (unique && column.nullable) {
        sql += "IFNULL(" + quoted(columns[i].name) + ", X'')";
        if (column.type == ColumnType::text) sql += " COLLATE MERCATO";
      } else {
        sql += quoted(columns[i].name);
      }
      if (columns[i].descending) sql += " DESC";
    }
    return sql + ")";
  }

  const TableInfo& expect_table() {
    const std::string name = expect_table_name();
    const TableInfo* table = tables_.find(name);
    if (table == nullptr) refuse("Invalid object name '" + name + "'");
    result_.table = table->name;
    return *table;
  }

  void create_index() {
    const bool unique = accept_word("UNIQUE");
    if (!accept_word("CLUSTERED")) accept_word("NONCLUSTERED");
    expect_word("INDEX");
    const std::string index = expect_name();
    expect_word("ON");
    const TableInfo& table = expect_table();
    const std::vector<KeyColumn> columns = key_columns();
    result_.statements.push_back(index_sql(index, unique, table.name, columns, [&table](const std::string& name) {
      const auto position = table.find(name);
      if (!position) refuse("Column name '" + name + "' does not exist in the target table");
      return IndexedColumn{table.columns[*position].type, table.columns[*position].nullable};
    }));
  }

  void add_column() {
    const TableInfo& table = expect_table();
    expect_word("ADD");
    const ColumnDefinition column = column_definition();
    if (!keys_.empty() || column.identity) fail();
    if (table.find(column.name))
      refuse("Column names in each table must be unique. Column name '" + column.name + "' is given more than once");
    result_.statements.push_back("ALTER TABLE " + quoted(table.name) + " ADD COLUMN " + column_sql(column));
  }

  void drop() {
    if (accept_word("TABLE")) {
      result_.statements.push_back("DROP TABLE " + quoted(expect_table().name));
      return;
    }
    expect_word("INDEX");
    std::string index = expect_name();
    if (accept_symbol('.')) {
      index = expect_name();
    } else {
      expect_word("ON");
      expect_table();
    }
    result_.statements.push_back("DROP INDEX " + quoted(index));
  }

  const TableDirectory& tables_;
  Translation result_;
  std::vector<ColumnDefinition> columns_;
  std::vector<Key> keys_;
};

}  // namespace

Translation translate_definition(const LexedStatement& lexed, const TableDirectory& tables) {
  return DefinitionTranslator(lexed, tables).translate();
}

}  // namespace mercato::store::dialect
