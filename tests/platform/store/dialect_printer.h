// SPDX-License-Identifier: Apache-2.0
// A printer for the dialect itself: what it writes means what was read. It proves that the tree holds all of a
// statement and knows no engine, and is the smallest example of a printer.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/store/dialect/like_prefix.h"
#include "platform/store/dialect/resolver.h"
#include "platform/store/dialect/syntax_tree.h"
#include "platform/store/sqlite/statement_printer.h"
#include "values/text.h"

namespace mercato::store::dialect::test {

class DialectPrinter {
 public:
  explicit DialectPrinter(const SyntaxTree& tree) : tree_(tree) {}

  std::string print() {
    if (tree_.definition) {
      definition(*tree_.definition);
      return std::move(text_);
    }
    switch (tree_.translation.kind) {
      case StatementKind::query:
        query(*tree_.query);
        break;
      case StatementKind::insert:
        insert();
        break;
      case StatementKind::update:
        put("UPDATE ", named(tree_.target->name));
        list(" SET ", tree_.assignments, [this](const Assignment* each) {
          value(*each->target);
          put(" = ");
          value(*each->value);
        });
        clause(" WHERE ", tree_.where);
        break;
      case StatementKind::remove:
        put("DELETE FROM ", named(tree_.target->name));
        clause(" WHERE ", tree_.where);
        break;
      case StatementKind::nothing:
        put("SET ", tree_.setting);
        break;
      case StatementKind::definition:
        break;
    }
    return std::move(text_);
  }

 private:
  template <class... Parts>
  void put(const Parts&... parts) {
    (text_.append(parts), ...);
  }
  static std::string named(std::string_view name) { return '"' + text::replace_all(name, "\"", "\"\"") + '"'; }
  std::string_view literal(std::uint32_t position) const {
    const Token& token = tree_.lexed.tokens[tree_.lexed.literals[position]];
    return tree_.lexed.text.substr(token.begin, token.end - token.begin);
  }
  template <class List, class Write>
  void list(std::string_view opening, const List& items, Write write) {
    std::string_view separator = opening;
    for (const auto& item : items) {
      put(separator);
      write(item);
      separator = ", ";
    }
  }
  void values(std::span<Expression* const> items) {
    list("", items, [this](const Expression* item) { value(*item); });
  }
  void clause(std::string_view opening, const Expression* condition) {
    if (condition == nullptr) return;
    put(opening);
    value(*condition);
  }

  // Statements.
  void insert() {
    put("INSERT INTO ", named(tree_.target->name));
    if (tree_.inserts_defaults) return put(" DEFAULT VALUES");
    if (tree_.names_targets) {
      list(" (", tree_.insert_columns, [this](const Column* column) { put(named(column->name)); });
      put(")");
    }
    if (tree_.query != nullptr) {
      put(" ");
      return query(*tree_.query);
    }
    list(" VALUES ", tree_.rows, [this](const InsertRow* row) {
      list("(", row->values, [this](const InsertValue* item) { value(*item->value); });
      put(")");
    });
  }

  // Queries.
  void query(const Query& query) {
    for (std::size_t i = 0; i < query.selects.size(); ++i) {
      if (i > 0) put(query.keeps_doubles[i - 1] ? " UNION ALL " : " UNION ");
      select(*query.selects[i]);
    }
    list(" ORDER BY ", query.order, [this](const OrderItem* item) {
      order_item(*item);
      if (item->descending) put(" DESC");
    });
  }
  void order_item(const OrderItem& item) {
    if (item.is_name) return put(named(item.name));
    if (item.is_place) return put(std::to_string(item.place));
    // Without brackets a number would be a place, and a name might be a column of the result.
    const std::size_t begin = text_.size();
    value(*item.value);
    const bool begins_with_number = (text_[begin] >= '0' && text_[begin] <= '9') || text_[begin] == '.';
    const bool is_lone_name =
        item.value->kind == NodeKind::column_name && static_cast<const ColumnName&>(*item.value).qualifier.empty();
    if (!begins_with_number && !is_lone_name) return;
    text_.insert(begin, "(");
    put(")");
  }
  void select(const Select& select) {
    put("SELECT ", select.distinct ? "DISTINCT " : "");
    if (select.limit != kNoLiteral) put("TOP ", literal(select.limit), " ");
    list("", select.elements, [this](const Node* element) {
      if (element->kind == NodeKind::star)
        star(static_cast<const Star&>(*element));
      else
        item(static_cast<const SelectItem&>(*element));
    });
    list(" FROM ", select.from, [this](const JoinChain* chain) { joins(*chain); });
    clause(" WHERE ", select.where);
    list(" GROUP BY ", select.groups, [this](const GroupItem* group) { value(*group->value); });
    clause(" HAVING ", select.having);
  }
  void star(const Star& star) {
    if (star.is_qualified) put(named(star.qualifier), ".");
    put("*");
  }
  void item(const SelectItem& item) {
    value(*item.value);
    if (item.is_named_by_text)
      put(" AS '", text::replace_all(item.name, "'", "''"), "'");
    else if (item.is_named)
      put(" AS ", named(item.name));
  }
  void joins(const JoinChain& chain) {
    static constexpr std::string_view kOperators[] = {
        "", " INNER JOIN ", " LEFT JOIN ", " RIGHT JOIN ", " FULL JOIN ", " CROSS JOIN "};
    for (const Join& join : chain.joins) {
      put(kOperators[static_cast<std::size_t>(join.kind)]);
      if (join.chain != nullptr) {
        put("(");
        joins(*join.chain);
        put(")");
      } else if (join.source->query != nullptr) {
        put("(");
        query(*join.source->query);
        put(") AS ", named(join.source->alias));
      } else {
        put(named(join.source->table_name));
        if (join.source->has_alias) put(" AS ", named(join.source->alias));
      }
      clause(" ON ", join.condition);
    }
  }

  // Expressions. How tightly one holds together: a looser one needs brackets.
  static int strength(const Expression& expression) {
    if (expression.kind == NodeKind::sign) return 3;
    if (expression.kind != NodeKind::arithmetic) return 4;
    const char operation = static_cast<const Arithmetic&>(expression).operation;
    return operation == '*' || operation == '/' || operation == '%' ? 2 : 1;
  }
  void operand(const Expression& expression, int weakest) {
    const bool needs_brackets = strength(bare(expression)) < weakest;
    if (needs_brackets) put("(");
    value(expression);
    if (needs_brackets) put(")");
  }
  void in_brackets(const Expression& expression, bool wanted) {
    if (wanted) put("(");
    value(expression);
    if (wanted) put(")");
  }
  template <class T>
  static const T& as(const Expression& expression) {
    return static_cast<const T&>(expression);
  }

  void value(const Expression& expression) {
    switch (expression.kind) {
      case NodeKind::literal:
        return put(literal(as<Literal>(expression).position));
      case NodeKind::null:
        return put("NULL");
      case NodeKind::column_name: {
        const auto& column = as<ColumnName>(expression);
        if (!column.qualifier.empty()) put(named(column.qualifier), ".");
        return put(named(column.name));
      }
      case NodeKind::sign:
        put(as<Sign>(expression).negative ? "-" : "+");
        return operand(*as<Sign>(expression).operand, 4);
      case NodeKind::arithmetic:
        return chain(as<Arithmetic>(expression));
      case NodeKind::conversion:
        return value(*as<TypeConversion>(expression).operand);
      case NodeKind::call:
        put(as<Call>(expression).name, "(");
        values(as<Call>(expression).arguments);
        return put(")");
      case NodeKind::aggregate:
        return aggregate(as<Aggregate>(expression));
      case NodeKind::date_call:
        return date_call(as<DateCall>(expression));
      case NodeKind::cast:
        return cast(as<Cast>(expression));
      case NodeKind::case_value:
        return case_value(as<CaseValue>(expression));
      case NodeKind::subselect:
        return subselect("(", *as<Subselect>(expression).query);
      default:
        return condition(expression);
    }
  }
  // A chain of operators is as deep on its left side as it is long.
  void chain(const Arithmetic& outermost) {
    std::vector<std::pair<const Arithmetic*, bool>> links{{&outermost, false}};  // and whether in brackets
    const Expression* left = &bare(*outermost.left);
    for (; left->kind == NodeKind::arithmetic; left = &bare(*as<Arithmetic>(*left).left)) {
      const bool needs_brackets = strength(*left) < strength(*links.back().first);
      if (needs_brackets) put("(");
      links.emplace_back(&as<Arithmetic>(*left), needs_brackets);
    }
    operand(*left, strength(*links.back().first));
    for (; !links.empty(); links.pop_back()) {
      const auto [link, in_brackets] = links.back();
      put(" ", std::string(1, link->operation), " ");
      operand(*link->right, strength(*link) + 1);
      if (in_brackets) put(")");
    }
  }
  static const Expression& bare(const Expression& expression) {
    const Expression* result = &expression;
    while (result->kind == NodeKind::conversion) result = as<TypeConversion>(*result).operand;
    return *result;
  }
  void subselect(std::string_view opening, const Query& inner) {
    put(opening);
    query(inner);
    put(")");
  }
  void aggregate(const Aggregate& aggregate) {
    static constexpr std::string_view kNames[] = {"COUNT(", "SUM(", "MIN(", "MAX(", "AVG("};
    put(kNames[static_cast<std::size_t>(aggregate.function)], aggregate.distinct ? "DISTINCT " : "");
    if (aggregate.operand == nullptr)
      put("*");
    else
      value(*aggregate.operand);
    put(")");
  }
  void date_call(const DateCall& call) {
    static constexpr std::string_view kNames[] = {"DATEADD(", "DATEDIFF(", "DATEPART("};
    put(kNames[static_cast<std::size_t>(call.function)], call.part, ", ");
    values(call.arguments);
    put(")");
  }
  void cast(const Cast& cast) {
    if (cast.style_literal != kNoLiteral) {
      put("CONVERT(");
      cast_type(cast);
      put(", ");
      value(*cast.operand);
      return put(", ", literal(cast.style_literal), ")");
    }
    put("CAST(");
    value(*cast.operand);
    put(" AS ");
    cast_type(cast);
    put(")");
  }
  void cast_type(const Cast& cast) {
    put(cast.to.name);
    if (cast.width == Cast::Width::most) return put("(MAX)");
    const std::uint32_t first = cast.width == Cast::Width::given ? cast.width_literal : cast.precision_literal;
    if (first == kNoLiteral) return;
    put("(", literal(first));
    if (cast.decimals_literal != kNoLiteral) put(", ", literal(cast.decimals_literal));
    put(")");
  }
  void case_value(const CaseValue& expression) {
    put("CASE");
    clause(" ", expression.subject);
    for (const CaseValue::Branch& branch : expression.branches) {
      put(" WHEN ");
      value(branch.condition->kind == NodeKind::case_match ? *static_cast<const CaseMatch&>(*branch.condition).value
                                                           : static_cast<const Expression&>(*branch.condition));
      put(" THEN ");
      value(*branch.result);
    }
    clause(" ELSE ", expression.otherwise);
    put(" END");
  }

  void condition(const Expression& expression) {
    switch (expression.kind) {
      case NodeKind::comparison:
        return comparison(as<Comparison>(expression));
      case NodeKind::is_null:
        value(*as<IsNull>(expression).operand);
        return put(as<IsNull>(expression).negated ? " IS NOT NULL" : " IS NULL");
      case NodeKind::like:
        return like(as<Like>(expression));
      case NodeKind::between: {
        const auto& between = as<Between>(expression);
        value(*between.operand);
        put(between.negated ? " NOT BETWEEN " : " BETWEEN ");
        value(*between.low);
        put(" AND ");
        return value(*between.high);
      }
      case NodeKind::in_list: {
        const auto& in = as<InList>(expression);
        value(*in.operands.front());
        put(in.negated ? " NOT IN (" : " IN (");
        values(in.operands.subspan(1));
        return put(")");
      }
      case NodeKind::in_query:
        value(*as<InQuery>(expression).operand);
        return subselect(as<InQuery>(expression).negated ? " NOT IN (" : " IN (", *as<InQuery>(expression).query);
      case NodeKind::exists:
        return subselect("EXISTS (", *as<Exists>(expression).query);
      case NodeKind::negation:
        put("NOT ");
        return value(*as<Negation>(expression).operand);
      case NodeKind::junction: {
        const auto& junction = as<Junction>(expression);
        for (const Condition* const each : junction.operands) {
          if (each != junction.operands.front()) put(junction.is_or ? " OR " : " AND ");
          value(*each);
        }
        return;
      }
      case NodeKind::brackets:
        return in_brackets(*as<Brackets>(expression).operand, true);
      default:
        return;
    }
  }
  void comparison(const Comparison& comparison) {
    static constexpr std::string_view kOperators[] = {" = ", " <> ", " < ", " <= ", " > ", " >= "};
    value(*comparison.left);
    put(kOperators[static_cast<std::size_t>(comparison.operation)]);
    // A literal in brackets is no plain value, and not gathered into a list.
    const Expression* right = &bare(*comparison.right);
    if (right->kind == NodeKind::sign) right = &bare(*as<Sign>(*right).operand);
    in_brackets(*comparison.right, right->kind == NodeKind::literal && !comparison.with_plain_value);
  }
  void like(const Like& like) {
    value(*like.operand);
    put(like.negated ? " NOT LIKE " : " LIKE ");
    // What a pattern in brackets begins with does not count.
    in_brackets(*like.pattern, begins_with_prefix(*like.pattern) && !like.has_prefix);
    clause(" ESCAPE ", like.escape);
  }

  bool begins_with_prefix(const Expression& pattern) const {
    if (pattern.kind != NodeKind::literal) return false;
    const std::uint32_t token = tree_.lexed.literals[as<Literal>(pattern).position];
    return !like_prefix(literal_value(tree_.lexed, token).to_text()).empty();
  }

  // Definitions.
  void definition(const Definition& definition) {
    switch (definition.kind) {
      case Definition::Kind::create_table:
        put("CREATE TABLE ", named(definition.table));
        list(" (", definition.columns, [this](const ColumnDefinition& each) { column(each); });
        for (const KeyDefinition& key : definition.keys) {
          put(", ");
          if (!key.constraint.empty()) put("CONSTRAINT ", named(key.constraint), " ");
          put(key.primary ? "PRIMARY KEY" : "UNIQUE");
          key_columns(key.columns);
        }
        return put(")");
      case Definition::Kind::create_index:
        put("CREATE ", definition.unique ? "UNIQUE " : "", "INDEX ", named(definition.index), " ON ",
            named(definition.table));
        return key_columns(definition.index_columns);
      case Definition::Kind::create_text_index:
        put("CREATE FULLTEXT INDEX ON ", named(definition.table));
        return key_columns(definition.index_columns);
      case Definition::Kind::drop_text_index:
        return put("DROP FULLTEXT INDEX ON ", named(definition.table));
      case Definition::Kind::add_column:
        put("ALTER TABLE ", named(definition.table), " ADD ");
        return column(definition.columns.front());
      case Definition::Kind::drop_table:
        return put("DROP TABLE ", named(definition.table));
      case Definition::Kind::drop_index:
        if (!definition.index_qualifier.empty())
          return put("DROP INDEX ", named(definition.index_qualifier), ".", named(definition.index));
        return put("DROP INDEX ", named(definition.index), " ON ", named(definition.table));
    }
  }
  void key_columns(const std::vector<KeyColumn>& columns) {
    list(" (", columns, [this](const KeyColumn& each) { put(named(each.name), each.descending ? " DESC" : ""); });
    put(")");
  }
  void column(const ColumnDefinition& column) {
    put(named(column.name), " ", column.type_text, column.identity ? " IDENTITY" : "");
    put(column.nullable ? " NULL" : " NOT NULL");
    const DefaultValue& given = column.default_value;
    if (given.kind == DefaultValue::Kind::null) put(" DEFAULT NULL");
    if (given.kind == DefaultValue::Kind::current_date) put(" DEFAULT GETDATE()");
    if (given.kind == DefaultValue::Kind::literal) put(" DEFAULT ", given.negative ? "-" : "", literal(given.literal));
  }

  const SyntaxTree& tree_;
  std::string text_;
};

// A statement as the tree tells it.
inline std::string printed(const LexedStatement& lexed, const TableDirectory& tables, bool identified) {
  SyntaxTree tree(lexed);
  resolve_statement(tree, tables, identified);
  return DialectPrinter(tree).print();
}

// All that an engine gets to know of a statement.
inline std::string described(const LexedStatement& lexed, const TableDirectory& tables, bool identified) {
  const Translation translation = sqlite::translate(lexed, tables, identified);
  std::string text = std::to_string(static_cast<int>(translation.kind)) + " " + translation.table + " " +
                     std::to_string(translation.most_united) + (translation.identified ? " identified" : "") +
                     (translation.depends_on_literals ? " by text" : "");
  for (const std::string& statement : translation.statements) text += "\n" + statement;
  for (const Parameter& parameter : translation.parameters) {
    const Token& token = lexed.tokens[lexed.literals[parameter.literal]];
    text += "\n" + std::string(lexed.text.substr(token.begin, token.end - token.begin)) + " as " +
            std::to_string(static_cast<int>(parameter.conversion));
  }
  for (const Column& column : translation.result)
    text += "\n" + column.name + " " + std::to_string(static_cast<int>(column.type)) + " " +
            std::to_string(column.width) + (column.nullable ? " null" : "") + (column.assigned ? " assigned" : "");
  return text;
}

// What the tree has lost of a statement that is taken: nothing when the statement that is printed from it means the
// same to an engine, and is printed as itself.
template <class Print = decltype(&printed)>
std::string lost_in_the_tree(const LexedStatement& lexed, const TableDirectory& tables, bool identified,
                             Print print = &printed) {
  const std::string first = print(lexed, tables, identified);
  try {
    LexedStatement again;
    lex(first, again);
    const std::string second = print(again, tables, identified);
    if (second != first) return "printed as\n" + first + "\nand that as\n" + second;
    const std::string before = described(lexed, tables, identified), behind = described(again, tables, identified);
    return before == behind ? "" : "printed as\n" + first + "\nwhich is\n" + behind + "\nand not\n" + before;
  } catch (const Raised& refused) {
    return "printed as\n" + first + "\nwhich is refused: " + refused.error().Description;
  }
}

}  // namespace mercato::store::dialect::test
