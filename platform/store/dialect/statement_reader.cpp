// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/statement_reader.h"

#include "mercato/raised_error.h"
#include "platform/store/call_limit.h"
#include "platform/store/dialect/refusal.h"

namespace mercato::store::dialect {

StatementReader::Nesting::Nesting(StatementReader& reader) : depth_(reader.depth_) {
  // Engines bound it too. Simple levels as deep as this pass all of them; some refuse others sooner.
  constexpr int kDeepest = 32;
  if (depth_ >= kDeepest)
    refuse("Some part of the statement is nested too deeply" + place_text(reader.lexed_.text, reader.token().begin));
  ++depth_;
}

void StatementReader::count_term() {
  check_call_limit();
  ++terms_;
}

void StatementReader::read() {
  try {
    read_statement();
    expect_end();
  } catch (const Raised& fault) {
    if (fault.error().Number != error_number::kStatementRefused) throw;
    tree_.fault = fault.error();
  }
  tree_.terms = terms_;
}

void StatementReader::read_statement() {
  if (at_word("SELECT")) {
    tree_.translation.kind = StatementKind::query;
    tree_.query = query(nullptr);
  } else if (accept_word("INSERT")) {
    read_insert();
  } else if (accept_word("UPDATE")) {
    read_update();
  } else if (accept_word("DELETE")) {
    read_delete();
  } else if (accept_word("SET")) {
    read_setting();
  } else {
    fail();
  }
}

std::string_view StatementReader::name() {
  if (token().kind != TokenKind::word) return tree_.copy(std::string_view(expect_name()));
  if (!at_name()) fail();
  const std::string_view word = token_text();
  ++next_;
  return word;
}

std::string_view StatementReader::table_name() {
  const std::string_view first = name();
  if (!at_symbol('.')) return first;
  expect_schema(first);
  return name();
}

TargetTable* StatementReader::target_table() {
  auto* const target = tree_.make<TargetTable>();
  tree_.target = target;
  target->name = table_name();
  return target;
}

// The table of UPDATE or DELETE, whose columns the rest of the statement names.
void StatementReader::changed_table() {
  TargetTable* const target = target_table();
  auto* const scope = tree_.make<Scope>();
  target->source = tree_.make<Source>();
  target->source->scope = scope;
  scope_ = scope;
  done(target);
}

Expression* StatementReader::optional_where() { return accept_word("WHERE") ? expect_condition() : nullptr; }

void StatementReader::read_insert() {
  tree_.translation.kind = StatementKind::insert;
  accept_word("INTO");
  done(target_table());
  if (accept_word("DEFAULT")) {
    tree_.inserts_defaults = true;
    expect_word("VALUES");
    return;
  }
  if (at_symbol('(')) insert_targets();
  if (accept_word("VALUES")) {
    scope_ = tree_.make<Scope>();
    do lists_.push_back(insert_row());
    while (accept_symbol(','));
    tree_.rows = moved_list<InsertRow>(0);
  } else {
    auto* const rows = tree_.make<InsertQuery>();
    rows->query = tree_.query = query(nullptr);
    done(rows);
  }
}

void StatementReader::insert_targets() {
  tree_.names_targets = true;
  expect_symbol('(');
  do {
    auto* const target = tree_.make<InsertTarget>();
    target->name = name();
    done(target);
  } while (accept_symbol(','));
  expect_symbol(')');
}

InsertRow* StatementReader::insert_row() {
  auto* const row = tree_.make<InsertRow>();
  const std::size_t begin = lists_.size();
  expect_symbol('(');
  do {
    const std::uint32_t first = next_;
    auto* const item = tree_.make<InsertValue>();
    item->place = lists_.size() - begin;
    item->value = value();
    item->value->listed = is_literal_since(first);
    lists_.push_back(done(item));
  } while (accept_symbol(','));
  expect_symbol(')');
  row->values = moved_list<InsertValue>(begin);
  return done(row);
}

void StatementReader::read_update() {
  tree_.translation.kind = StatementKind::update;
  changed_table();
  expect_word("SET");
  do {
    auto* const assignment = tree_.make<Assignment>();
    assignment->target = static_cast<ColumnName*>(column_name());
    expect_symbol('=');
    assignment->target->is_target = true;
    assignment->value = value();
    lists_.push_back(done(assignment));
  } while (accept_symbol(','));
  tree_.assignments = moved_list<Assignment>(0);
  tree_.where = optional_where();
}

void StatementReader::read_delete() {
  tree_.translation.kind = StatementKind::remove;
  accept_word("FROM");
  changed_table();
  tree_.where = optional_where();
}

// Settings that the store keeps anyway, or that mean nothing to it.
void StatementReader::read_setting() {
  tree_.translation.kind = StatementKind::nothing;
  const std::uint32_t begin = token().begin;
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
  tree_.setting = lexed_.text.substr(begin, lexed_.tokens[next_ - 1].end - begin);
}

}  // namespace mercato::store::dialect
