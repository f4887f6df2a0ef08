// SPDX-License-Identifier: Apache-2.0
#include "keeping/reference_keeping.h"

#include <algorithm>
#include <array>
#include <map>

#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "frame/query_rows.h"
#include "frame/table_columns.h"
#include "frame/table_references.h"
#include "mercato/date.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/raised_error.h"
#include "mercato/reference_rules.h"
#include "platform/store/unit_of_work.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::keeping {
namespace {

using store::Column;
using store::ColumnType;

const std::vector<ReferenceTable>& all_tables() {
  static const std::vector<ReferenceTable> tables = {
      {"units", "UNIT", {"UNITCODE"}},
      {"hazardous-classes", "HAZARDOUSCLASS", {"CLASSCODE"}},
      {"commodities", "COMMODITY", {"COMMODITYCODE"}},
      {"manufacturers", "MANUFACTURER", {"MANUFACTURERID"}},
      {"tax-codes", "TAXCODES", {"TAXCODE"}},
      {"currencies", "CURRENCY", {"CURRENCYCODE"}},
      {"rates", "EXCHANGERATE", {"SOURCECODE", "TARGETCODE", "EFFECTIVEDATE"}},
      {"users", "USERS", {"USERID"}},
      {"partners", "BUSINESSPARTNER", {"BUSINESSID"}},
      {"contract-lines", "CONTRACTLINES", {"CONTRACTCODE", "NUMBER"}},
      {"questions", "FAQISSUE", {"FAQISSUEID"}},
      {"question-categories", "FAQCATEGORY", {"FAQCATEGORYID"}},
      {"visibilities", "FAQVISIBILITY", {"VISIBILITYID"}},
  };
  return tables;
}

store::TableInfo columns_of(const std::string& connection_string, const ReferenceTable& table) {
  std::optional<store::TableInfo> info = table_columns(connection_string, table.table);
  if (!info)
    raise(error_number::kInvalidArgument, {},
          "The store has no table " + std::string(table.table) + ": `mercato init` creates it");
  return std::move(*info);
}

bool is_digits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// A point is the decimal sign, and nothing stands between thousands.
bool is_plain_number(std::string_view text, bool whole) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  if (whole || point == std::string_view::npos) return is_digits(text);
  return is_digits(text.substr(0, point)) && is_digits(text.substr(point + 1));
}

bool is_iso_date(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00";
  if (text.size() < kForm.size()) return false;
  for (std::size_t place = 0; place < kForm.size(); ++place)
    if (kForm[place] == '-' ? text[place] != '-' : !is_digits(text.substr(place, 1))) return false;
  return text.size() == kForm.size() || text[kForm.size()] == 'T' || text[kForm.size()] == ' ';
}

// Texts as a column has them, read in one way only. Says what is wrong with a text, or gives the value.
struct ReadText {
  Variant value;
  std::string fault;
};
ReadText read_text(const Column& column, const std::string& text) {
  const auto wrong = [&](const std::string& wanted) -> ReadText {
    return {kNull, column.name + " takes " + wanted + ", not '" + text + "'"};
  };
  if (text.empty()) {
    if (!column.nullable) return {kNull, column.name + " is empty"};
    return {kNull, {}};
  }
  Variant value = text;
  switch (column.type) {
    case ColumnType::date: {
      const std::optional<Date> date =
          is_iso_date(text) ? Date::parse(text::replace_all(text, "T", " ")) : std::nullopt;
      if (!date) return wrong("a date such as 2026-07-01");
      return {*date, {}};
    }
    case ColumnType::short_integer:
    case ColumnType::long_integer:
      if (!is_plain_number(text, true)) return wrong("a whole number");
      break;
    case ColumnType::real:
    case ColumnType::money:
      if (!is_plain_number(text, false)) return wrong("a number such as 12.5");
      break;
    case ColumnType::boolean:
      if (text != "0" && text != "1") return wrong("0 or 1");
      break;
    default:
      break;
  }
  switch (column_fault(column, value)) {
    case ColumnFault::none:
      break;
    case ColumnFault::too_long:
      return {kNull, column.name + " takes at most " + std::to_string(column.width) + " characters, not " +
                         std::to_string(text::length(text))};
    case ColumnFault::out_of_range:
      return {kNull, column.name + " does not go as far as " + text};
    default:
      return wrong("another value");
  }
  return {store::to_column_type(value, column.type), {}};
}

// " AND "-joined comparisons of the key's columns with these values.
Sql key_condition(const store::TableInfo& info, const ReferenceTable& table, const std::vector<Variant>& key) {
  Sql sql;
  for (std::size_t part = 0; part < key.size(); ++part) {
    const Column& column = info.columns[*info.find(table.key[part])];
    if (part > 0) sql << " AND ";
    sql << name(column.name);
    if (key[part].is_null())
      sql << " IS NULL";
    else if (column.type == ColumnType::text)
      sql << " = N'" << value(Gen_QuoteSql(key[part].to_text())) << "'";
    else if (column.type == ColumnType::date)
      sql << " = " << value(Gen_SqlValue(key[part].to_date()));
    else
      sql << " = " << key[part].to_long();
  }
  return sql;
}

std::vector<Variant> read_key(const store::TableInfo& info, const ReferenceTable& table,
                              const std::vector<std::string>& key) {
  if (key.size() != table.key.size()) {
    std::string wanted;
    for (const std::string_view column : table.key) wanted.append(wanted.empty() ? "" : " ").append(column);
    raise(error_number::kInvalidArgument, {}, "A row of " + std::string(table.name) + " is named by " + wanted);
  }
  std::vector<Variant> values;
  for (std::size_t part = 0; part < key.size(); ++part) {
    ReadText read = read_text(info.columns[*info.find(table.key[part])], key[part]);
    if (!read.fault.empty()) raise(error_number::kInvalidArgument, {}, read.fault);
    values.push_back(std::move(read.value));
  }
  return values;
}

bool refers_to_nothing(const TableReference& reference, const Variant& value) {
  if (value.is_null()) return true;
  if (reference.kind == ReferenceKind::number) return value.to_long() < 1;
  return text::trim(value.to_text()).empty();
}

// Of the rows whose column has this value.
Sql count_statement(std::string_view table, std::string_view column, const Variant& key) {
  Sql sql = Sql("SELECT COUNT(*) AS N FROM ") << name(table) << " WHERE " << name(column) << " = ";
  if (key.is_text())
    sql << "N'" << value(Gen_QuoteSql(key.to_text())) << "'";
  else
    sql << key.to_long();
  return sql;
}

std::size_t count(const std::string& connection_string, const Sql& statement) {
  return static_cast<std::size_t>(query_rows(connection_string, statement).front()->Item("N").to_long());
}

// One row that is to be put, when its texts have been read.
struct ReadRow {
  std::vector<std::pair<std::string, Variant>> values;  // by the column's own name
  std::vector<Variant> key;
};

class Putting {
 public:
  Putting(const std::string& connection_string, const ReferenceTable& table)
      : connection_string_(connection_string), table_(table), info_(columns_of(connection_string, table)) {}

  PutRows run(const std::vector<GivenRow>& rows, bool dry) {
    std::vector<ReadRow> read;
    for (const GivenRow& row : rows) read.push_back(read_row(row));
    if (!result_.faults.empty()) return std::move(result_);
    store::UnitOfWork unit(store::UnitOfWork::Kind::transaction);
    {
      const store::UnitOfWork::Current current(&unit);
      const ConnectionPtr connection = open_connection(connection_string_);
      for (std::size_t place = 0; place < rows.size(); ++place) put(rows[place].line, read[place], connection, dry);
      connection->Close();
    }
    if (!dry && result_.faults.empty()) unit.commit();
    return std::move(result_);
  }

 private:
  void fault(std::size_t line, std::string what) { result_.faults.push_back({line, std::move(what)}); }

  ReadRow read_row(const GivenRow& given) {
    ReadRow row;
    for (const auto& [called, text] : given.values) {
      const std::optional<std::size_t> position = info_.find(called);
      if (!position) {
        fault(given.line, "there is no column " + called + " in " + std::string(table_.table));
        continue;
      }
      const Column& column = info_.columns[*position];
      const bool is_key = std::ranges::find(table_.key, column.name) != table_.key.end();
      if (column.assigned && !is_key) {
        fault(given.line, "the store gives out " + column.name + " itself: leave it out");
        continue;
      }
      if (column.assigned && text.empty()) continue;
      ReadText read = read_text(column, text);
      if (read.fault.empty()) read.fault = dangling(column, read.value);
      if (!read.fault.empty()) fault(given.line, std::move(read.fault));
      row.values.emplace_back(column.name, std::move(read.value));
    }
    for (const std::string_view column : table_.key) {
      const auto found = std::ranges::find(row.values, column, [](const auto& entry) { return entry.first; });
      const bool is_there = found != row.values.end() && !found->second.is_null();
      if (!is_there && !info_.columns[*info_.find(column)].assigned)
        fault(given.line, std::string(column) + " is missing, by which a row is known");
      row.key.push_back(found == row.values.end() ? Variant(kNull) : found->second);
    }
    expect_key_once(given.line, row.key);
    return row;
  }

  // Each value is asked once.
  std::string dangling(const Column& column, const Variant& value) {
    for (const TableReference& reference : table_references()) {
      if (reference.table != table_.table || reference.column != column.name || refers_to_nothing(reference, value))
        continue;
      const auto [known, is_new] = resolves_.try_emplace({column.name, value.to_text()});
      if (is_new)
        known->second = count(connection_string_, count_statement(reference.to_table, reference.to_column, value)) > 0;
      if (!known->second)
        return column.name + " names " + value.to_text() + ", and " + std::string(reference.to_table) +
               " has no such row";
    }
    return {};
  }

  void expect_key_once(std::size_t line, const std::vector<Variant>& key) {
    if (std::ranges::any_of(key, [](const Variant& part) { return part.is_null(); })) return;
    std::string all;
    for (const Variant& part : key) all += text::folded(part.to_text()) + '\n';
    const auto [first, is_new] = lines_.emplace(std::move(all), line);
    if (!is_new) fault(line, "line " + std::to_string(first->second) + " has the same key");
  }

  void put(std::size_t line, const ReadRow& row, const ConnectionPtr& connection, bool dry) {
    const bool is_named = std::ranges::none_of(row.key, [](const Variant& part) { return part.is_null(); });
    Sql statement = Sql("SELECT * FROM ") << name(info_.name) << " WHERE ";
    if (is_named)
      statement << key_condition(info_, table_, row.key);
    else
      statement << "0=1";
    const RecordsetPtr rows = open_updatable(statement, connection, CursorType::keyset);
    if (rows->Eof())
      insert(line, row, *rows, is_named, dry);
    else
      change(row, *rows, dry);
    rows->Close();
  }

  void insert(std::size_t line, const ReadRow& row, Recordset& rows, bool is_named, bool dry) {
    for (const Column& column : info_.columns) {
      const auto given = std::ranges::find(row.values, column.name, [](const auto& entry) { return entry.first; });
      if (column.assigned && is_named && given != row.values.end())
        return fault(line, "there is no row " + given->second.to_text() + "; the store gives out " + column.name +
                               " itself: leave it empty for a new one");
      if (!column.nullable && !column.assigned && given == row.values.end())
        return fault(line, column.name + " is missing, which a new row needs");
    }
    ++result_.inserted;
    if (dry) return;
    rows.AddNew();
    for (const auto& [column, value] : row.values) rows.SetValue(column, value);
    rows.Update();
  }

  void change(const ReadRow& row, Recordset& rows, bool dry) {
    const auto differs = [&rows](const auto& entry) {
      const Variant& there = rows.Value(entry.first);
      return there.is_null() != entry.second.is_null() || there.text_or_empty() != entry.second.text_or_empty();
    };
    if (std::ranges::none_of(row.values, differs)) {
      ++result_.unchanged;
      return;
    }
    ++result_.changed;
    if (dry) return;
    for (const auto& [column, value] : row.values) {
      const bool is_assigned = info_.columns[*info_.find(column)].assigned;
      if (!is_assigned) rows.SetValue(column, value);
    }
    rows.Update();
  }

  const std::string& connection_string_;
  const ReferenceTable& table_;
  const store::TableInfo info_;
  PutRows result_;
  std::map<std::pair<std::string, std::string>, bool> resolves_;  // by column and value
  std::map<std::string, std::size_t> lines_;                      // by key
};

}  // namespace

std::span<const ReferenceTable> reference_tables() { return all_tables(); }

const ReferenceTable& reference_table(std::string_view name) {
  std::string known;
  for (const ReferenceTable& table : all_tables()) {
    if (text::equal_names(table.name, name) || text::equal_names(table.table, name)) return table;
    known.append(known.empty() ? "" : ", ").append(table.name);
  }
  raise(error_number::kInvalidArgument, {},
        "There is no reference table " + std::string(name) + "; there are " + known);
}

std::size_t count_of_rows(const std::string& connection_string, const ReferenceTable& table) {
  return count(connection_string, Sql("SELECT COUNT(*) AS N FROM ") << name(table.table));
}

std::vector<DictionaryPtr> reference_rows(const std::string& connection_string, const ReferenceTable& table) {
  Sql sql = Sql("SELECT * FROM ") << name(table.table) << " ORDER BY ";
  for (const std::string_view& column : table.key) {
    if (&column != table.key.data()) sql << ", ";
    sql << name(column);
  }
  return query_rows(connection_string, sql);
}

std::vector<DictionaryPtr> reference_rows(const std::string& connection_string, const ReferenceTable& table,
                                          const std::vector<std::string>& key) {
  const store::TableInfo info = columns_of(connection_string, table);
  return query_rows(connection_string, Sql("SELECT * FROM ") << name(table.table) << " WHERE "
                                                             << key_condition(info, table, read_key(info, table, key)));
}

PutRows put_reference_rows(const std::string& connection_string, const ReferenceTable& table,
                           const std::vector<GivenRow>& rows, bool dry) {
  return Putting(connection_string, table).run(rows, dry);
}

std::vector<Use> uses_of(const std::string& connection_string, const ReferenceTable& table, const Dictionary& row) {
  std::vector<Use> uses;
  const auto add = [&](std::string_view from_table, std::string_view from_column, std::size_t rows) {
    const bool is_known = std::ranges::any_of(uses, [&](const Use& use) {
      return text::equal_names(use.table, from_table) && text::equal_names(use.column, from_column);
    });
    if (rows > 0 && !is_known) uses.push_back({std::string(from_table), std::string(from_column), rows});
  };
  for (const TableReference& reference : table_references()) {
    if (reference.to_table != table.table) continue;
    const Variant* const key = row.find(reference.to_column);
    if (!key || refers_to_nothing(reference, *key)) continue;
    add(reference.table, reference.column,
        count(connection_string, count_statement(reference.table, reference.column, *key)));
  }
  const auto rules = collaborators::reference_rules();
  for (const collaborators::Reference& rule : rules->references) {
    if (rule.checked != collaborators::Checked::before_delete || !text::equal_names(rule.to_table, table.table))
      continue;
    const Variant* const key = row.find(rule.to_column);
    if (!key || key->is_null()) continue;
    add(rule.from_table, rule.from_column,
        count(connection_string, count_statement(rule.from_table, rule.from_column, *key)));
  }
  return uses;
}

bool delete_reference_rows(const std::string& connection_string, const ReferenceTable& table,
                           const std::vector<std::string>& key) {
  const store::TableInfo info = columns_of(connection_string, table);
  const std::vector<Variant> values = read_key(info, table, key);
  constexpr auto kOwners = std::to_array<std::pair<std::string_view, const char*>>(
      {{"UNIT", "Mercato.TUnit"}, {"HAZARDOUSCLASS", "Mercato.THazardousClass"}});
  for (const auto& [owned, prog_id] : kOwners)
    if (owned == table.table) return invoke(create_root(prog_id), "Delete", {values.front()}).to_boolean();
  ConnectionPtr connection = open_connection(connection_string);
  return execute_and_close(connection, Sql("DELETE FROM ")
                                           << name(table.table) << " WHERE " << key_condition(info, table, values)) > 0;
}

}  // namespace mercato::keeping
