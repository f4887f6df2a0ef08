#include "platform/store/dialect/sqlite_translator.h"

#include <algorithm>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/sqlite_definitions.h"
#include "values/text.h"

namespace mercato::store::dialect {
namespace {

// Makes each `?N` a plain `?` that is bound by its place. The engine looks every numbered one up in a list of them all,
// so a long list of values would cost its square.
void number_by_place(Translation& translation) {
  std::string sql;
  std::vector<Parameter> parameters;
  const std::string& numbered = translation.statements.front();
  char quote = '\0';
  for (std::size_t i = 0; i < numbered.size(); ++i) {
    const char c = numbered[i];
    sql += c;
    if (quote != '\0') {
      if (c == quote) quote = '\0';
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '?') {
      std::size_t number = 0;
      for (; i + 1 < numbered.size() && numbered[i + 1] >= '0' && numbered[i + 1] <= '9'; ++i)
        number = number * 10 + static_cast<std::size_t>(numbered[i + 1] - '0');
      parameters.push_back(translation.parameters[number - 1]);
    }
  }
  translation.statements.front() = std::move(sql);
  translation.parameters = std::move(parameters);
}

}  // namespace

Translation translate_to_sqlite(const LexedStatement& lexed, const TableDirectory& tables, bool identified) {
  return SqliteTranslator(lexed, tables).translate(identified);
}

Translation SqliteTranslator::translate(bool identified) {
  if (at_word("SELECT"))
    translate_query(identified);
  else if (accept_word("INSERT"))
    translate_insert();
  else if (accept_word("UPDATE"))
    translate_update();
  else if (accept_word("DELETE"))
    translate_delete();
  else if (accept_word("SET"))
    translate_setting();
  else if (at_word("CREATE") || at_word("ALTER") || at_word("DROP"))
    return translate_definition(lexed_, tables_);
  else
    fail();
  if (!refusal_.empty()) refuse(refusal_);
  if (!result_.parameters.empty()) number_by_place(result_);
  return std::move(result_);
}

void SqliteTranslator::remember(std::string refusal) {
  if (refusal_.empty()) refusal_ = std::move(refusal);
}

const TableInfo& SqliteTranslator::expect_table() {
  const std::string name = expect_table_name();
  const TableInfo* table = tables_.find(name);
  if (table == nullptr) refuse("Invalid object name '" + name + "'");
  result_.table = table->name;
  return *table;
}

Expression SqliteTranslator::column(const Scope& scope) {
  std::string name = expect_name();
  std::string source;
  for (int parts = 1; accept_symbol('.'); ++parts) {
    if (parts == 3 || (parts == 2 && !text::equal_names(source, "dbo"))) {
      --next_;
      fail();
    }
    source = std::move(name);
    name = expect_name();
  }
  return resolve(scope, source, name);
}

Expression SqliteTranslator::resolve(const Scope& scope, std::string_view source, std::string_view name) {
  Expression found;
  found.sql = "NULL";
  bool source_known = false;
  for (const Scope* current = &scope; current != nullptr; current = current->outer) {
    for (const Source& candidate : current->sources) {
      if (!source.empty() && !text::equal_names(candidate.name, source)) continue;
      source_known = true;
      if (candidate.missing) return found;
      for (const Column& column : candidate.columns()) {
        if (!text::equal_names(column.name, name)) continue;
        if (found.column != nullptr) {
          remember("Ambiguous column name '" + std::string(name) + "'");
          return found;
        }
        found.sql = quoted(candidate.name) + "." + quoted(column.name);
        found.type = column.type;
        found.form = Expression::Form::column;
        found.column = &column;
      }
    }
    if (found.column != nullptr) return found;
    if (!source.empty() && source_known) break;
  }
  remember(source.empty() || source_known ? "Invalid column name '" + std::string(name) + "'"
                                          : "The multi-part identifier \"" + std::string(source) + "." +
                                                std::string(name) + "\" could not be bound");
  return found;
}

std::string SqliteTranslator::optional_where(const Scope& scope) {
  return accept_word("WHERE") ? " WHERE " + expect_condition(scope).sql : std::string();
}

std::vector<const Column*> SqliteTranslator::insert_targets(const TableInfo& table) {
  std::vector<const Column*> targets;
  if (!at_symbol('(')) {
    // An assigned key is not among the values.
    for (const Column& column : table.columns)
      if (!column.assigned) targets.push_back(&column);
    return targets;
  }
  expect_symbol('(');
  static const Column kUnknown;
  do {
    const std::string name = expect_name();
    const auto position = table.find(name);
    if (!position) remember("Invalid column name '" + name + "'");
    const Column* const target = position ? &table.columns[*position] : &kUnknown;
    if (position && std::find(targets.begin(), targets.end(), target) != targets.end())
      refuse("The column name '" + name + "' is specified more than once in the column list of an INSERT");
    targets.push_back(target);
  } while (accept_symbol(','));
  expect_symbol(')');
  return targets;
}

std::string SqliteTranslator::insert_row(const std::vector<const Column*>& targets) {
  const Scope nothing;
  std::string sql;
  std::size_t count = 0;
  expect_symbol('(');
  do {
    const std::size_t terms = terms_;
    const std::uint32_t begin = next_;
    Expression item = value(nothing);
    if (is_literal_since(begin)) terms_ = terms;
    if (count < targets.size()) item = stored(std::move(item), *targets[count]);
    sql += (count == 0 ? "(" : ", ") + item.sql;
    ++count;
  } while (accept_symbol(','));
  expect_symbol(')');
  if (count != targets.size()) remember("Column name or number of supplied values does not match table definition");
  return sql + ")";
}

void SqliteTranslator::translate_insert() {
  result_.kind = StatementKind::insert;
  accept_word("INTO");
  const TableInfo& table = expect_table();
  std::string sql = "INSERT INTO " + quoted(table.name);
  if (accept_word("DEFAULT")) {
    expect_word("VALUES");
    expect_end();
    result_.statements.push_back(sql + " DEFAULT VALUES");
    return;
  }
  const std::vector<const Column*> targets = insert_targets(table);
  for (std::size_t i = 0; i < targets.size(); ++i) sql += (i == 0 ? " (" : ", ") + quoted(targets[i]->name);
  sql += ") ";
  if (accept_word("VALUES")) {
    sql += "VALUES " + insert_row(targets);
    while (accept_symbol(',')) sql += ", " + insert_row(targets);
  } else {
    Query rows = query(nullptr);
    if (rows.columns().size() != targets.size()) {
      remember("The select list for the INSERT statement has another number of items than the insert list");
    } else {
      for (Arm& arm : rows.arms)
        for (std::size_t i = 0; i < targets.size(); ++i) arm.items[i] = stored(std::move(arm.items[i]), *targets[i]);
    }
    sql += render(rows);
  }
  expect_end();
  result_.statements.push_back(std::move(sql));
}

void SqliteTranslator::translate_update() {
  result_.kind = StatementKind::update;
  const TableInfo& table = expect_table();
  Scope scope;
  scope.sources.push_back({table.name, &table, {}, false});
  std::string sql = "UPDATE " + quoted(table.name);
  expect_word("SET");
  const char* separator = " SET ";
  do {
    const Expression target = column(scope);
    expect_symbol('=');
    static const Column kUnknown;
    const Column& of = target.column != nullptr ? *target.column : kUnknown;
    if (of.assigned) remember("Cannot update identity column '" + of.name + "'");
    sql += separator + quoted(of.name) + " = " + stored(value(scope), of).sql;
    separator = ", ";
  } while (accept_symbol(','));
  sql += optional_where(scope);
  expect_end();
  result_.statements.push_back(std::move(sql));
}

void SqliteTranslator::translate_delete() {
  result_.kind = StatementKind::remove;
  accept_word("FROM");
  const TableInfo& table = expect_table();
  Scope scope;
  scope.sources.push_back({table.name, &table, {}, false});
  std::string sql = "DELETE FROM " + quoted(table.name) + optional_where(scope);
  expect_end();
  result_.statements.push_back(std::move(sql));
}

// Settings that the store keeps anyway, or that mean nothing to it.
void SqliteTranslator::translate_setting() {
  result_.kind = StatementKind::nothing;
  if (accept_word("TRANSACTION")) {
    expect_word("ISOLATION");
    expect_word("LEVEL");
    if (accept_word("READ")) {
      if (!accept_word("COMMITTED")) expect_word("UNCOMMITTED");
    } else if (accept_word("REPEATABLE")) {
      expect_word("READ");
    } else {
      expect_word("SERIALIZABLE");
    }
  } else {
    expect_word("NOCOUNT");
    if (!accept_word("ON")) expect_word("OFF");
  }
  expect_end();
}

}  // namespace mercato::store::dialect
