// Turns one statement of the dialect into SQLite's SQL: recursive descent over the tokens, in which every expression
// carries its type, so that operands of different types meet as they do on the server. One object per statement.
//
// The members are cut by theme: sqlite_translator.cpp (names, INSERT, UPDATE, DELETE), sqlite_queries.cpp (SELECT),
// sqlite_expressions.cpp (operators), sqlite_scalars.cpp (function calls), sqlite_conversions.cpp (types).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/token_reader.h"

namespace mercato::store::dialect {

// Numbers without decimals.
inline bool is_whole(ColumnType type) {
  return type == ColumnType::boolean || type == ColumnType::short_integer || type == ColumnType::long_integer;
}

// A translated value or condition. The SQL of a value needs no brackets wherever it is put.
struct Expression {
  enum class Form : std::uint8_t {
    literal,         // one parameter, which can still be told to convert
    signed_literal,  // the same behind a minus
    null,
    column,
    value,  // any other value
    condition,
  };
  std::string sql;
  ColumnType type = ColumnType::unknown;
  Form form = Form::value;
  std::uint32_t parameter = 0;     // of a literal: its number
  const Column* column = nullptr;  // of a column: what the table says of it
  bool enclosed = false;           // a condition in brackets
  std::string compared;            // of a condition that compares a column with literals for equality: the column,
  std::string values;              // and the literals, with commas between them
  bool fraction = false;           // a literal number with decimals or an exponent

  bool is_literal() const { return form == Form::literal || form == Form::signed_literal; }
  bool is_text_literal() const { return form == Form::literal && type == ColumnType::text; }
};

// One table or subselect of a FROM clause.
struct Source {
  std::string name;                  // the alias, else the table's name
  const TableInfo* table = nullptr;  // null for a subselect
  std::vector<Column> derived;       // columns of a subselect
  bool missing = false;              // there is no such table; its columns are not looked for
  const std::vector<Column>& columns() const { return table != nullptr ? table->columns : derived; }
};

struct Scope {
  std::vector<Source> sources;
  const Scope* outer = nullptr;
};

// One SELECT up to its HAVING; its columns can still be converted before it is put together.
struct Arm {
  std::vector<Expression> items;
  std::vector<Column> columns;  // of the items
  std::string tail;             // from FROM on
  std::string limit;            // the parameter behind TOP
  bool distinct = false;
  bool grouped = false;
  std::unique_ptr<Scope> scope;
};

struct Query {
  std::vector<Arm> arms;
  std::vector<std::string> unions;  // the operators between the arms
  std::string order;
  const std::vector<Column>& columns() const { return arms.front().columns; }
};

class SqliteTranslator : TokenReader {
 public:
  SqliteTranslator(const LexedStatement& lexed, const TableDirectory& tables) : TokenReader(lexed), tables_(tables) {}
  Translation translate(bool identified);

 private:
  // Statements.
  void translate_insert();
  void translate_update();
  void translate_delete();
  void translate_query(bool identified);
  static const Source* source_of_rows(const Query& query);
  void translate_setting();
  std::vector<const Column*> insert_targets(const TableInfo& table);
  std::string insert_row(const std::vector<const Column*>& targets);
  std::string optional_where(const Scope& scope);
  const TableInfo& expect_table();

  // Names. Those that are not found are remembered and raised when the rest has turned out to be well formed, since the
  // server reads a statement to its end before it looks for tables.
  void remember(std::string refusal);
  Expression column(const Scope& scope);
  Expression resolve(const Scope& scope, std::string_view source, std::string_view name);

  // Queries.
  Query query(const Scope* outer);
  Arm arm(const Scope* outer);
  void select_list(Arm& arm);
  void check_grouped(const Arm& arm, const std::vector<const Column*>& groups);
  void add_star(Arm& arm, const Source& source);
  void order_by(Query& query);
  std::string order_item(Query& query);
  void from(Scope& scope, std::string& sql);
  void table_source(Scope& scope, std::string& sql);
  void joined(Scope& scope, std::string& sql);
  void table_primary(Scope& scope, std::string& sql);
  // " LEFT JOIN " and the like, or nothing.
  std::string join_operator();
  void add_source(Scope& scope, Source source);
  std::uint32_t find_from() const;
  std::string render(const Query& query);
  std::string render(const Arm& arm) const;
  // A query of one column, as values of that type.
  std::string subselect(Query& query, ColumnType type);
  void unify_arms(Query& query);

  // Expressions.
  Expression condition(const Scope& scope);
  Expression conjunction(const Scope& scope);
  Expression negation(const Scope& scope);
  Expression predicate(const Scope& scope);
  Expression in_list(const Scope& scope, Expression left, bool negated);
  Expression between(const Scope& scope, Expression left, bool negated);
  Expression like(const Scope& scope, Expression left, bool negated);
  Expression value(const Scope& scope);
  Expression product(const Scope& scope);
  Expression signed_value(const Scope& scope);
  Expression primary(const Scope& scope);
  Expression bracketed(const Scope& scope);
  Expression case_value(const Scope& scope);
  Expression literal();
  Expression arithmetic(char operation, Expression left, Expression right);
  std::string comparison_operator();
  Expression expect_condition(const Scope& scope);
  Expression joined_conditions(std::vector<Expression> operands, std::string_view operation) const;
  bool joins_list(Expression& list, const Expression& next);
  bool is_literal_since(std::uint32_t begin) const;

  // Function calls.
  bool at_function() const;
  Expression function_call(const Scope& scope);
  Expression aggregate(const Scope& scope, const std::string& name);
  Expression rounded(std::vector<Expression> operands);
  Expression cast(const Scope& scope);
  Expression convert(const Scope& scope);
  Expression date_function(const Scope& scope, const std::string& name);
  std::string date_part();
  struct CastType {
    ColumnType type;
    std::string width;     // of a text: the SQL of its characters; empty when unlimited
    std::string decimals;  // of a number: likewise
  };
  CastType cast_type();
  Expression cast_to(Expression operand, const CastType& type);
  std::vector<Expression> arguments(const Scope& scope);

  // Types.
  Expression converted(Expression operand, ColumnType type);
  Expression to_text(Expression operand);
  Expression to_whole_number(Expression operand);
  Expression to_real(Expression operand);
  Expression to_money(Expression operand);
  Expression to_date(Expression operand);
  Expression to_boolean(Expression operand);
  // What a store keeps in that column.
  Expression stored(Expression operand, const Column& target);
  // The one type that values of these types are compared or mixed as.
  static ColumnType common_type(const Expression& left, const Expression& right);
  void unify(std::vector<Expression>& operands);
  void unify(Expression& left, Expression& right);
  // The SQL of a text that is compared or sorted.
  static std::string collated(const Expression& operand);
  void set_conversion(const Expression& literal, Conversion conversion);
  std::string new_parameter(std::uint32_t token);

  // Asks the call limit, and counts: the engine plans a statement without asking, in time that grows with the square of
  // its terms, so more than it plans in a moment are refused. Lists of literals and rows of values cost it little and
  // are not counted.
  void count_terms(std::size_t count);

  // Nesting is bounded, as the stack is.
  class Nesting {
   public:
    explicit Nesting(SqliteTranslator& translator);
    ~Nesting() { --depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

   private:
    int& depth_;
  };

  const TableDirectory& tables_;
  Translation result_;
  std::string refusal_;          // the first name that was not found
  bool aggregate_seen_ = false;  // in the select list that is being read
  int depth_ = 0;
  std::size_t terms_ = 0;  // as `count_terms` counts
};

// A value that stands for itself.
Expression make_value(std::string sql, ColumnType type);

}  // namespace mercato::store::dialect
