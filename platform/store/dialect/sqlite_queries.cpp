#include <algorithm>

#include "platform/store/dialect/refusal.h"
#include "platform/store/dialect/sqlite_translator.h"
#include "values/raised_error.h"
#include "values/text.h"

namespace mercato::store::dialect {

Query SqliteTranslator::query(const Scope* outer) {
  const Nesting nesting(*this);
  Query query;
  query.arms.push_back(arm(outer));
  while (accept_word("UNION")) {
    query.unions.push_back(accept_word("ALL") ? " UNION ALL " : " UNION ");
    query.arms.push_back(arm(outer));
    if (query.arms.back().items.size() != query.arms.front().items.size())
      refuse(
          "All queries combined using a UNION operator must have an equal number of expressions in their target "
          "lists");
  }
  result_.most_united = std::max(result_.most_united, query.arms.size());
  unify_arms(query);
  if (accept_word("ORDER")) order_by(query);
  return query;
}

void SqliteTranslator::unify_arms(Query& query) {
  if (query.arms.size() == 1) return;
  for (std::size_t i = 0; i < query.columns().size(); ++i) {
    std::vector<Expression> operands;
    for (Arm& arm : query.arms) operands.push_back(std::move(arm.items[i]));
    unify(operands);
    for (std::size_t k = 0; k < operands.size(); ++k) query.arms[k].items[i] = std::move(operands[k]);
    query.arms.front().columns[i].type = query.arms.front().items[i].type;
  }
}

Arm SqliteTranslator::arm(const Scope* outer) {
  Arm arm;
  arm.scope = std::make_unique<Scope>();
  arm.scope->outer = outer;
  const Scope& scope = *arm.scope;
  expect_word("SELECT");
  arm.distinct = accept_word("DISTINCT");
  if (!arm.distinct) accept_word("ALL");
  if (accept_word("TOP")) {
    const bool bracketed = accept_symbol('(');
    const std::uint32_t number = next_;
    expect_whole_number();
    arm.limit = new_parameter(number);
    if (bracketed) expect_symbol(')');
  }
  // The select list needs the tables, which come behind it.
  const std::uint32_t list = next_;
  const std::uint32_t from_at = find_from();
  std::uint32_t after_from = 0;
  if (from_at != list && lexed_.tokens[from_at].kind != TokenKind::end) {
    next_ = from_at;
    if (at_word("FROM")) {
      ++next_;
      from(*arm.scope, arm.tail);
      after_from = next_;
    }
    next_ = list;
  }
  const bool aggregate_seen_outside = aggregate_seen_;
  aggregate_seen_ = false;
  select_list(arm);
  arm.grouped = aggregate_seen_;
  aggregate_seen_ = aggregate_seen_outside;
  if (after_from != 0) {
    if (next_ != from_at) fail();
    next_ = after_from;
  }

  arm.tail += optional_where(scope);
  std::vector<const Column*> groups;
  if (accept_word("GROUP")) {
    expect_word("BY");
    arm.grouped = true;
    const char* separator = " GROUP BY ";
    do {
      const Expression item = value(scope);
      // The server has neither positions nor constants here.
      if (item.form == Expression::Form::condition || item.is_literal()) fail();
      arm.tail += separator + collated(item);
      separator = ", ";
      groups.push_back(item.column);
    } while (accept_symbol(','));
  }
  if (accept_word("HAVING")) {
    arm.grouped = true;
    arm.tail += " HAVING " + expect_condition(scope).sql;
  }
  if (arm.grouped) check_grouped(arm, groups);
  return arm;
}

// A column by itself must be the same for all rows of a group. SQLite would take that of any row.
void SqliteTranslator::check_grouped(const Arm& arm, const std::vector<const Column*>& groups) {
  for (const Expression& item : arm.items) {
    if (item.column == nullptr || std::find(groups.begin(), groups.end(), item.column) != groups.end()) continue;
    for (const Source& source : arm.scope->sources)
      for (const Column& column : source.columns())
        if (&column == item.column)
          remember("Column '" + source.name + "." + column.name +
                   "' is invalid in the select list because it is not contained in either an aggregate function or the "
                   "GROUP BY clause");
  }
}

// The token at which the select list that begins at the next one ends: its FROM, or whatever else ends it.
std::uint32_t SqliteTranslator::find_from() const {
  int depth = 0;
  for (std::uint32_t ahead = 0;; ++ahead) {
    if (at_symbol('(', ahead)) ++depth;
    if (at_symbol(')', ahead)) --depth;
    const bool ends = token(ahead).kind == TokenKind::end || depth < 0 ||
                      (depth == 0 && (at_word("FROM", ahead) || at_word("UNION", ahead) || at_symbol(';', ahead)));
    if (ends) return next_ + ahead;
  }
}

void SqliteTranslator::select_list(Arm& arm) {
  const Scope& scope = *arm.scope;
  do {
    if (accept_symbol('*')) {
      if (scope.sources.empty()) refuse("Must specify table to select from");
      for (const Source& source : scope.sources) add_star(arm, source);
      continue;
    }
    const std::uint32_t qualifier = at_word("dbo") && at_symbol('.', 1) && at_symbol('.', 3) ? 2 : 0;
    if (at_name(qualifier) && at_symbol('.', qualifier + 1) && at_symbol('*', qualifier + 2)) {
      next_ += qualifier;
      const std::string name = expect_name();
      next_ += 2;
      const auto source = std::find_if(scope.sources.begin(), scope.sources.end(),
                                       [&name](const Source& each) { return text::equal_names(each.name, name); });
      if (source != scope.sources.end())
        add_star(arm, *source);
      else
        remember("The column prefix '" + name + "' does not match with a table name or alias name used in the query");
      continue;
    }
    Expression item = value(scope);
    if (item.form == Expression::Form::condition) fail();
    Column column;
    if (item.column != nullptr) column = *item.column;
    column.type = item.type;
    const bool as = accept_word("AS");
    if (as && (token().kind == TokenKind::text || token().kind == TokenKind::national_text)) {
      column.name = literal_value(lexed_, next_++).to_text();
      result_.depends_on_literals = true;
    } else if (as || at_name()) {
      column.name = expect_name();
    }
    arm.items.push_back(std::move(item));
    arm.columns.push_back(std::move(column));
  } while (accept_symbol(','));
}

void SqliteTranslator::add_star(Arm& arm, const Source& source) {
  for (const Column& column : source.columns()) {
    count_terms(1);
    Expression item = make_value(quoted(source.name) + "." + quoted(column.name), column.type);
    item.form = Expression::Form::column;
    item.column = &column;
    arm.items.push_back(std::move(item));
    arm.columns.push_back(column);
  }
}

void SqliteTranslator::from(Scope& scope, std::string& sql) {
  sql += " FROM ";
  table_source(scope, sql);
  while (accept_symbol(',')) {
    sql += ", ";
    table_source(scope, sql);
  }
}

void SqliteTranslator::table_source(Scope& scope, std::string& sql) {
  const Nesting nesting(*this);
  table_primary(scope, sql);
  for (std::string operation = join_operator(); !operation.empty(); operation = join_operator()) {
    const bool crosses = operation == " JOIN ";
    sql += operation;
    table_primary(scope, sql);
    if (crosses) continue;
    expect_word("ON");
    sql += " ON " + expect_condition(scope).sql;
  }
}

std::string SqliteTranslator::join_operator() {
  if (accept_word("JOIN")) return " INNER JOIN ";
  for (const std::string_view kind : {"INNER", "LEFT", "RIGHT", "FULL", "CROSS"}) {
    if (!accept_word(kind)) continue;
    if (kind != "INNER" && kind != "CROSS") accept_word("OUTER");
    expect_word("JOIN");
    // SQLite takes CROSS JOIN for an order to read the tables as they stand.
    return kind == "CROSS" ? " JOIN " : " " + std::string(kind) + " JOIN ";
  }
  return {};
}

void SqliteTranslator::table_primary(Scope& scope, std::string& sql) {
  count_terms(1);
  Source source;
  if (accept_symbol('(')) {
    if (!at_word("SELECT")) {
      sql += "(";
      table_source(scope, sql);
      expect_symbol(')');
      sql += ")";
      return;
    }
    Query inner = query(nullptr);
    expect_symbol(')');
    accept_word("AS");
    source.name = expect_name();
    source.derived = inner.columns();
    // Its columns are known by their names outside.
    std::string names;
    for (std::size_t i = 0; i < source.derived.size(); ++i) {
      if (source.derived[i].name.empty())
        refuse("No column name was specified for column " + std::to_string(i + 1) + " of '" + source.name + "'");
      names += (i > 0 ? ", " : "") + quoted(source.derived[i].name);
    }
    const std::string rows = quoted("rows of " + source.name);
    sql += "(WITH " + rows + "(" + names + ") AS (" + render(inner) + ") SELECT * FROM " + rows + ") AS " +
           quoted(source.name);
  } else {
    const std::string table = expect_table_name();
    source.table = tables_.find(table);
    source.missing = source.table == nullptr;
    if (source.missing) remember("Invalid object name '" + table + "'");
    const bool has_alias = accept_word("AS") || at_name();
    source.name = has_alias ? expect_name() : source.missing ? table : source.table->name;
    sql += quoted(source.missing ? table : source.table->name) + " AS " + quoted(source.name);
  }
  add_source(scope, std::move(source));
}

void SqliteTranslator::add_source(Scope& scope, Source source) {
  for (const Source& other : scope.sources)
    if (text::equal_names(other.name, source.name))
      refuse("The objects \"" + other.name + "\" and \"" + source.name +
             "\" in the FROM clause have the same exposed names. Use correlation names to distinguish them");
  scope.sources.push_back(std::move(source));
}

void SqliteTranslator::order_by(Query& query) {
  expect_word("BY");
  const char* separator = " ORDER BY ";
  do {
    query.order += separator + order_item(query);
    separator = ", ";
    if (accept_word("DESC"))
      query.order += " DESC";
    else
      accept_word("ASC");
  } while (accept_symbol(','));
}

// A column of the result, by its place or its own name, comes before a column of the tables.
std::string SqliteTranslator::order_item(Query& query) {
  count_terms(1);
  const std::vector<Column>& columns = query.columns();
  const bool one_arm = query.arms.size() == 1;
  if (token().kind == TokenKind::number) {
    const std::uint32_t at = next_;
    const std::int64_t place = expect_whole_number();
    if (place < 1 || place > static_cast<std::int64_t>(columns.size()))
      refuse("The ORDER BY position number " + std::to_string(place) +
             " is out of range of the number of items in the select list" +
             place_text(lexed_.text, lexed_.tokens[at].begin));
    result_.depends_on_literals = true;
    return std::to_string(place);
  }
  const bool alone = at_name() && !at_symbol('.', 1) && !at_symbol('(', 1) &&
                     (at_symbol(',', 1) || at_symbol(')', 1) || at_symbol(';', 1) || at_word("ASC", 1) ||
                      at_word("DESC", 1) || token(1).kind == TokenKind::end);
  if (alone) {
    const std::uint32_t at = next_;
    const std::string name = expect_name();
    for (std::size_t i = 0; i < columns.size(); ++i)
      if (text::equal_names(columns[i].name, name)) return std::to_string(i + 1);
    next_ = at;
  }
  if (!one_arm)
    refuse("ORDER BY items must appear in the select list if the statement contains a UNION operator" +
           place_text(lexed_.text, token().begin));
  const Expression item = value(*query.arms.front().scope);
  if (item.form == Expression::Form::condition || item.is_literal()) fail();
  return collated(item);
}

std::string SqliteTranslator::render(const Arm& arm) const {
  std::string sql = arm.distinct ? "SELECT DISTINCT " : "SELECT ";
  for (std::size_t i = 0; i < arm.items.size(); ++i) sql += (i > 0 ? ", " : "") + collated(arm.items[i]);
  // Without any column only when a table was not found.
  return sql + arm.tail;
}

std::string SqliteTranslator::render(const Query& query) {
  const Arm& first = query.arms.front();
  if (query.arms.size() == 1) return render(first) + query.order + (first.limit.empty() ? "" : " LIMIT " + first.limit);
  std::string sql;
  for (std::size_t i = 0; i < query.arms.size(); ++i) {
    const Arm& arm = query.arms[i];
    if (i > 0) sql += query.unions[i - 1];
    sql += arm.limit.empty() ? render(arm) : "SELECT * FROM (" + render(arm) + " LIMIT " + arm.limit + ")";
  }
  return sql + query.order;
}

std::string SqliteTranslator::subselect(Query& query, ColumnType type) {
  for (Arm& arm : query.arms) arm.items.front() = converted(std::move(arm.items.front()), type);
  return render(query);
}

// The source of which each row of the result is one row; null when there is none. A join has one when it tells each row
// of it once: all columns are the source's, its key is among them, and doubled rows are left out.
const Source* SqliteTranslator::source_of_rows(const Query& query) {
  const Arm& arm = query.arms.front();
  const std::vector<Source>& sources = arm.scope->sources;
  if (query.arms.size() > 1 || arm.grouped) return nullptr;
  if (!arm.distinct) return sources.size() == 1 && sources.front().table != nullptr ? &sources.front() : nullptr;
  const auto shows = [&arm](const Column& column) {
    return std::any_of(arm.items.begin(), arm.items.end(), [&column](const Expression& item) {
      return item.form == Expression::Form::column && item.column == &column;
    });
  };
  for (const Source& source : sources) {
    if (source.table == nullptr || source.table->key.empty()) continue;
    const std::vector<Column>& columns = source.table->columns;
    const std::vector<std::size_t>& key = source.table->key;
    // Columns of a table that is read twice cannot be told apart.
    const bool is_read_once = std::count_if(sources.begin(), sources.end(), [&source](const Source& other) {
                                return other.table == source.table;
                              }) == 1;
    const bool has_all_items = std::all_of(arm.items.begin(), arm.items.end(), [&columns](const Expression& item) {
      return item.form == Expression::Form::column &&
             std::any_of(columns.begin(), columns.end(),
                         [&item](const Column& column) { return &column == item.column; });
    });
    if (is_read_once && has_all_items &&
        std::all_of(key.begin(), key.end(), [&](std::size_t column) { return shows(columns[column]); }))
      return &source;
  }
  return nullptr;
}

void SqliteTranslator::translate_query(bool identified) {
  result_.kind = StatementKind::query;
  Query top = query(nullptr);
  expect_end();
  Arm& arm = top.arms.front();
  const bool one_table =
      top.arms.size() == 1 && arm.scope->sources.size() == 1 && arm.scope->sources.front().table != nullptr;
  if (one_table) result_.table = arm.scope->sources.front().table->name;
  result_.result = top.columns();
  if (identified && refusal_.empty()) {
    const Source* const source = source_of_rows(top);
    if (source == nullptr)
      raise(error_number::kFeatureNotAvailable, "SQLite store",
            "The rows of this statement cannot be changed: each has to be one row of one table");
    result_.table = source->table->name;
    arm.items.push_back(make_value(quoted(source->name) + ".rowid", ColumnType::unknown));
    result_.identified = true;
  }
  result_.statements.push_back(render(top));
}

}  // namespace mercato::store::dialect
