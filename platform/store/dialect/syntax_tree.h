// SPDX-License-Identifier: Apache-2.0
// A statement of the dialect as a tree, which knows no engine. The reader makes the nodes, the resolver fills in what
// they mean, a printer writes the tree in an engine's SQL. One thread.
//
// All nodes lie in the tree's arena, hold nothing that has to be given back, and go with it. The tree refers to the
// lexed statement, to the tables of the directory, and to nothing else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <memory_resource>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/store/dialect/definition.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/dialect/type_names.h"

namespace mercato::store::dialect {

enum class NodeKind : std::uint8_t {
  // Values.
  literal,
  null,
  column_name,
  sign,
  arithmetic,
  call,
  aggregate,
  date_call,
  cast,
  case_value,
  subselect,
  conversion,
  // Conditions.
  comparison,
  is_null,
  like,
  between,
  in_list,
  in_query,
  exists,
  negation,
  junction,
  brackets,
  // Parts of clauses.
  case_match,
  select_item,
  star,
  source,
  group_item,
  select,
  united,
  order_item,
  target_table,
  insert_target,
  insert_value,
  insert_row,
  insert_query,
  assignment,
};

// What was read, in the order of reading: a part before the whole. So the resolver is one loop, and a statement that
// breaks off in the middle is resolved as far as it goes: the first fault wins, be it one of grammar or of meaning.
struct Node {
  explicit Node(NodeKind its_kind) : kind(its_kind) {}
  Node* next = nullptr;           // the one that was complete after this one
  std::uint32_t followed_by = 0;  // the token behind it
  std::uint32_t terms = 0;        // how many the statement has up to here
  NodeKind kind;
};

inline constexpr std::uint32_t kNoLiteral = UINT32_MAX;  // among positions in LexedStatement::literals

struct Literal;
struct Query;
struct Select;
struct Source;

struct Expression : Node {
  // What an expression stands for, whatever was written around it.
  enum class Form : std::uint8_t {
    literal,         // one literal, which can still be told to convert
    signed_literal,  // the same behind a minus
    null,
    column,
    value,  // any other value
    condition,
  };
  Expression(NodeKind its_kind, Form its_form) : Node(its_kind), form(its_form) {}
  // Null whatever the rows are; its type is unknown.
  bool is_null() const { return form == Form::null; }
  bool is_literal() const { return form == Form::literal || form == Form::signed_literal; }
  bool is_text_literal() const { return form == Form::literal && type == ColumnType::text; }

  Form form;
  ColumnType type = ColumnType::unknown;
  bool listed = false;             // in a list or row of plain values, where it is no term of the statement
  Literal* literal = nullptr;      // of a literal: itself
  const Column* column = nullptr;  // of a column: what its table says of it
  const Source* source = nullptr;  // and whose it is
};

inline bool is_condition(const Expression& expression) { return expression.form == Expression::Form::condition; }

struct Literal : Expression {
  Literal() : Expression(NodeKind::literal, Form::literal) {}
  std::uint32_t position = 0;  // in LexedStatement::literals
  // How it is bound. It is so everywhere, though CASE compares one literal with several operands.
  Conversion conversion = Conversion::none;
  bool in_text = false;  // a number that stays in the text
};

struct Null : Expression {
  Null() : Expression(NodeKind::null, Form::null) {}
};

// The sources that names are looked for in.
struct Scope {
  Source* first = nullptr;
  Source* last = nullptr;
  const Scope* outer = nullptr;
};

struct ColumnName : Expression {
  ColumnName() : Expression(NodeKind::column_name, Form::value) {}
  std::string_view qualifier;  // empty when there is none
  std::string_view name;
  const Scope* scope = nullptr;
  bool is_target = false;  // of an assignment
};

struct Sign : Expression {
  Sign() : Expression(NodeKind::sign, Form::value) {}
  bool negative = false;
  Expression* operand = nullptr;
};

struct Arithmetic : Expression {
  // What the types make of it.
  enum class Meaning : std::uint8_t {
    numbers,
    texts,          // joined
    date_and_days,  // the date is moved by the days
    days_and_date,
  };
  Arithmetic() : Expression(NodeKind::arithmetic, Form::value) {}
  char operation = 0;
  Meaning meaning = Meaning::numbers;
  Expression* left = nullptr;
  Expression* right = nullptr;
};

enum class Function : std::uint8_t {
  unknown,
  abs,
  charindex,
  charindex_from,
  coalesce,
  day,
  getdate,
  isnull,
  left,
  len,
  lower,
  ltrim,
  month,
  nullif,
  replace,
  right,
  round,
  rtrim,
  substring,
  upper,
  year,
};

struct Call : Expression {
  Call() : Expression(NodeKind::call, Form::value) {}
  std::string_view name;  // as it was written
  std::span<Expression*> arguments;
  Function function = Function::unknown;  // resolved
};

enum class AggregateFunction : std::uint8_t { count, sum, min, max, avg };

struct Aggregate : Expression {
  Aggregate() : Expression(NodeKind::aggregate, Form::value) {}
  AggregateFunction function = AggregateFunction::count;
  bool distinct = false;
  Expression* operand = nullptr;  // null: of COUNT(*)
};

enum class DateFunction : std::uint8_t { add, difference, part };

struct DateCall : Expression {
  DateCall() : Expression(NodeKind::date_call, Form::value) {}
  DateFunction function = DateFunction::part;
  std::string_view part;  // "dayofyear": its one full name
  std::span<Expression*> arguments;
};

// CAST(operand AS type), CONVERT(type, operand, style).
struct Cast : Expression {
  enum class Width : std::uint8_t { none, usual, given, most };
  // Whether the style says how a date becomes a text, or a text a date.
  enum class Styled : std::uint8_t { no, writes_date, reads_date };
  Cast() : Expression(NodeKind::cast, Form::value) {}
  static constexpr int kUsualWidth = 30;

  Expression* operand = nullptr;
  TypeName to{};
  Width width = Width::none;  // in characters, of a text
  Styled styled = Styled::no;
  std::uint32_t width_literal = kNoLiteral;      // when it is given
  std::uint32_t precision_literal = kNoLiteral;  // of a number: how many digits
  std::uint32_t decimals_literal = kNoLiteral;   // and how many of them behind the point
  std::uint32_t style_literal = kNoLiteral;

  bool is_decimal() const { return to.name == "DECIMAL"; }
};

struct CaseValue : Expression {
  struct Branch {
    Node* condition;  // a condition, or a CaseMatch
    Expression* result;
  };
  CaseValue() : Expression(NodeKind::case_value, Form::value) {}
  Expression* subject = nullptr;  // CASE subject WHEN value; null: CASE WHEN condition
  std::span<Branch> branches;
  Expression* otherwise = nullptr;
};

// WHEN value: whether it is the subject's.
struct CaseMatch : Node {
  CaseMatch() : Node(NodeKind::case_match) {}
  Expression* subject = nullptr;  // resolved: converted for this comparison
  ColumnType compared_as = ColumnType::unknown;
  Expression* value = nullptr;
};

struct Subselect : Expression {
  Subselect() : Expression(NodeKind::subselect, Form::value) {}
  Query* query = nullptr;
};

// A conversion that the types ask for, from the operand's type to this one's. Only the resolver makes these. A literal
// has none: it is bound as what it is to be.
struct TypeConversion : Expression {
  TypeConversion() : Expression(NodeKind::conversion, Form::value) {}
  Expression* operand = nullptr;
};

struct Comparison;

struct Condition : Expression {
  explicit Condition(NodeKind its_kind) : Expression(its_kind, Form::condition) {}
  // Of an operand of OR.
  Condition* or_before = nullptr;  // the operand before it
  // Resolved: A = 1 OR A = 2 is a list of the values of A, and no longer two terms.
  Comparison* list = nullptr;      // the first comparison of the list that this condition comes to
  Condition* joined_to = nullptr;  // the operand before it into whose list it has gone
  bool has_joined = false;         // others have gone into its list
};

enum class ComparisonOperator : std::uint8_t { equal, unequal, less, less_or_equal, greater, greater_or_equal };

struct Comparison : Condition {
  Comparison() : Condition(NodeKind::comparison) {}
  ComparisonOperator operation = ComparisonOperator::equal;
  bool with_plain_value = false;  // one literal on the right, perhaps signed
  Expression* left = nullptr;
  Expression* right = nullptr;
  // Resolved: a list of them is chained.
  Comparison* more = nullptr;
  Comparison* last = nullptr;  // of the first one
};

struct IsNull : Condition {
  IsNull() : Condition(NodeKind::is_null) {}
  bool negated = false;
  Expression* operand = nullptr;
};

struct Like : Condition {
  Like() : Condition(NodeKind::like) {}
  bool negated = false;
  bool has_prefix = false;  // it says how the texts that match begin, and so does every statement of its shape
  // Resolved: the texts of a column are looked for by a literal's prefix, which an index can answer.
  bool is_range = false;
  Expression* operand = nullptr;
  Expression* pattern = nullptr;
  Expression* escape = nullptr;
};

struct Between : Condition {
  Between() : Condition(NodeKind::between) {}
  bool negated = false;
  Expression* operand = nullptr;
  Expression* low = nullptr;
  Expression* high = nullptr;
};

struct InList : Condition {
  InList() : Condition(NodeKind::in_list) {}
  bool negated = false;
  std::span<Expression*> operands;  // first the one that is looked for
};

struct InQuery : Condition {
  InQuery() : Condition(NodeKind::in_query) {}
  bool negated = false;
  Expression* operand = nullptr;
  Query* query = nullptr;
};

struct Exists : Condition {
  Exists() : Condition(NodeKind::exists) {}
  Query* query = nullptr;
};

struct Negation : Condition {
  Negation() : Condition(NodeKind::negation) {}
  Expression* operand = nullptr;
};

struct Junction : Condition {
  Junction() : Condition(NodeKind::junction) {}
  bool is_or = false;
  std::span<Condition*> operands;
};

struct Brackets : Condition {
  Brackets() : Condition(NodeKind::brackets) {}
  Condition* operand = nullptr;
};

// Queries

// A column of a query's result.
struct ResultItem {
  Expression* value;
  std::string_view name;
  const Column* origin;  // what is known of it besides; null: nothing
  ColumnType type;
};

struct SelectItem : Node {
  SelectItem() : Node(NodeKind::select_item) {}
  Select* select = nullptr;
  Expression* value = nullptr;
  bool is_named = false;
  bool is_named_by_text = false;
  std::string_view name;
};

struct Star : Node {
  Star() : Node(NodeKind::star) {}
  Select* select = nullptr;
  bool is_qualified = false;
  std::string_view qualifier;
};

// One table or subselect of a FROM clause.
struct Source : Node {
  Source() : Node(NodeKind::source) {}
  std::string_view table_name;  // or
  Query* query = nullptr;
  bool has_alias = false;
  std::string_view alias;
  Scope* scope = nullptr;  // where its name is known
  // Resolved.
  std::string_view name;                         // by which its columns are qualified
  const TableInfo* table = nullptr;              // null for a subselect
  const std::vector<Column>* columns = nullptr;  // null when there is no such table; they are not looked for then
  Source* next_in_scope = nullptr;
};

enum class JoinKind : std::uint8_t { first, inner, left, right, full, cross };

struct JoinChain;

struct Join {
  JoinKind kind = JoinKind::first;
  Source* source = nullptr;    // or
  JoinChain* chain = nullptr;  // in brackets
  Expression* condition = nullptr;
};

// A LEFT JOIN B ON ... JOIN C ON ...
struct JoinChain {
  std::span<Join> joins;
};

struct GroupItem : Node {
  GroupItem() : Node(NodeKind::group_item) {}
  Expression* value = nullptr;
};

// One SELECT up to its HAVING.
struct Select : Node {
  explicit Select(std::pmr::memory_resource* memory) : Node(NodeKind::select), items(memory) {}
  Query* query = nullptr;
  bool distinct = false;
  bool grouped = false;              // one row for a group
  std::uint32_t limit = kNoLiteral;  // behind TOP
  std::span<Node*> elements;         // SelectItem, Star
  std::span<JoinChain*> from;
  Expression* where = nullptr;
  std::span<GroupItem*> groups;
  Expression* having = nullptr;
  Scope scope;
  std::pmr::vector<ResultItem> items;  // resolved
};

// All queries that UNION joins have been read.
struct United : Node {
  United() : Node(NodeKind::united) {}
  Query* query = nullptr;
};

struct OrderItem : Node {
  OrderItem() : Node(NodeKind::order_item) {}
  Query* query = nullptr;
  std::uint32_t token = 0;  // its first one
  bool is_place = false;    // in the result; resolved: a name that is a column's of the result, too
  bool is_name = false;
  bool descending = false;
  std::int64_t place = 0;  // from 1
  std::string_view name;
  Expression* value = nullptr;  // resolved: also of a name that is none of the result
};

struct Query {
  explicit Query(std::pmr::memory_resource* memory) : selects(memory), keeps_doubles(memory) {}
  Select& first() const { return *selects.front(); }
  std::pmr::vector<Select*> selects;
  std::pmr::vector<bool> keeps_doubles;  // UNION ALL, between the one and the next
  std::span<OrderItem*> order;
};

// Changes

struct TargetTable : Node {
  TargetTable() : Node(NodeKind::target_table) {}
  std::string_view name;
  const TableInfo* table = nullptr;  // resolved
  Source* source = nullptr;          // of UPDATE and DELETE: where names are looked for
};

struct InsertTarget : Node {
  InsertTarget() : Node(NodeKind::insert_target) {}
  std::string_view name;
};

struct InsertValue : Node {
  InsertValue() : Node(NodeKind::insert_value) {}
  std::size_t place = 0;  // in its row
  Expression* value = nullptr;
};

struct InsertRow : Node {
  InsertRow() : Node(NodeKind::insert_row) {}
  std::span<InsertValue*> values;
};

struct InsertQuery : Node {
  InsertQuery() : Node(NodeKind::insert_query) {}
  Query* query = nullptr;
};

struct Assignment : Node {
  Assignment() : Node(NodeKind::assignment) {}
  ColumnName* target = nullptr;
  Expression* value = nullptr;
};

// A whole statement.
class SyntaxTree {
  // First, because others of its members lie in it.
  std::byte first_memory_[8192];
  std::pmr::monotonic_buffer_resource memory_{first_memory_, sizeof first_memory_};

 public:
  explicit SyntaxTree(const LexedStatement& statement) : lexed(statement) {}
  SyntaxTree(const SyntaxTree&) = delete;
  SyntaxTree& operator=(const SyntaxTree&) = delete;

  std::pmr::memory_resource* memory() { return &memory_; }
  template <class T, class... Arguments>
  T* make(Arguments&&... arguments) {
    return new (memory_.allocate(sizeof(T), alignof(T))) T(std::forward<Arguments>(arguments)...);
  }
  template <class T>
  std::span<T> copy(std::span<const T> list) {
    if (list.empty()) return {};
    T* const copied = static_cast<T*>(memory_.allocate(list.size_bytes(), alignof(T)));
    std::uninitialized_copy(list.begin(), list.end(), copied);
    return {copied, list.size()};
  }
  std::string_view copy(std::string_view text) {
    const std::span<char> copied = copy(std::span<const char>(text));
    return {copied.data(), copied.size()};
  }

  const LexedStatement& lexed;
  Node* first = nullptr;             // in the order of reading
  std::optional<RaisedError> fault;  // where reading ended, if it did not get to the end
  std::uint32_t terms = 0;           // as the nodes count them, at the end of reading
  std::string_view setting;          // what stands behind SET

  // Of a query, INSERT, UPDATE, DELETE, definition.
  Query* query = nullptr;
  TargetTable* target = nullptr;
  bool inserts_defaults = false;
  bool names_targets = false;
  std::pmr::vector<const Column*> insert_columns{&memory_};  // resolved
  std::span<InsertRow*> rows;
  std::span<Assignment*> assignments;
  Expression* where = nullptr;
  std::optional<Definition> definition;

  // What a driver has to know of the statement; a printer adds the text and its parameters.
  Translation translation;
  const Source* identity = nullptr;  // a last column with the identity of this source's rows is asked for
  std::deque<std::vector<Column>> subselect_columns;
};

}  // namespace mercato::store::dialect
