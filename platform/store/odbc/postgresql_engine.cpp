// SPDX-License-Identifier: Apache-2.0
// A PostgreSQL server behind a driver of ODBC's. Its SQL is that of the driver for libpq; a statement is translated each
// time, which costs less than the exchange that it goes with.
#include <algorithm>
#include <utility>

#include "platform/store/odbc/engine.h"
#include "platform/store/postgres_dialect/postgres_description.h"
#include "platform/store/postgres_dialect/postgres_printer.h"
#include "platform/store/postgres_dialect/postgres_store.h"
#include "platform/store/postgres_dialect/postgres_tables.h"
#include "platform/store/postgres_dialect/postgres_values.h"
#include "platform/store/postgres_dialect/row_texts.h"
#include "platform/store/postgres_dialect/server_failure.h"
#include "platform/store/postgres_dialect/text_proposals.h"

namespace mercato::store::odbc {
namespace {

using postgres::Markers;

class Server final : public postgres::PostgresServer {
 public:
  Server(Connection& connection, const bool& in_transaction)
      : connection_(connection), in_transaction_(in_transaction) {}

  std::vector<SentValues> rows(const std::string& query, const SentValues& values = {}) override {
    std::string text;
    for (std::size_t i = 0; i < query.size(); ++i) {
      const bool is_marker = query[i] == '$' && i + 1 < query.size() && query[i + 1] >= '1' && query[i + 1] <= '9';
      text += is_marker ? '?' : query[i];
      if (is_marker) ++i;
    }
    if (!in_transaction_) return connection_.rows(text, values);
    connection_.control("SAVEPOINT mercato_read");
    try {
      std::vector<SentValues> found = connection_.rows(text, values);
      connection_.control("RELEASE SAVEPOINT mercato_read");
      return found;
    } catch (...) {
      if (connection_.is_usable()) connection_.control("ROLLBACK TO SAVEPOINT mercato_read", Ending::awaited);
      throw;
    }
  }
  void control(const std::string& statement) override { connection_.control(statement); }
  void run_script(const std::string& script) override { connection_.control(script); }
  std::string_view failure_source() const override { return kFailureSource; }
  const std::string& label() const override { return connection_.label(); }

 private:
  Connection& connection_;
  const bool& in_transaction_;
};

class PostgresqlEngine final : public Engine {
 public:
  PostgresqlEngine(Connection& connection, const bool& in_transaction)
      : connection_(connection), in_transaction_(in_transaction), server_(connection, in_transaction) {}

  void set_up(int lock_timeout) override { connection_.control(postgres::settings_of_session(lock_timeout)); }

  const TransactionTexts& transactions() const override {
    static constexpr TransactionTexts kTexts{"BEGIN",
                                             "COMMIT",
                                             "ROLLBACK",
                                             "SAVEPOINT mercato",
                                             "ROLLBACK TO SAVEPOINT mercato",
                                             "SAVEPOINT mercato_step",
                                             "RELEASE SAVEPOINT mercato_step",
                                             "ROLLBACK TO SAVEPOINT mercato_step"};
    return kTexts;
  }
  bool transaction_stands() override { return !postgres::undoes_transaction(connection_.diagnosis().state); }

  // Inside of a transaction nobody else's definition can change what it has used.
  void look_at_tables() override {
    if (!in_transaction_) tables_.refresh();
  }
  KnownTables& tables() override { return tables_; }
  bool has_index(std::string_view table, std::string_view name) override { return tables_.has_index(table, name); }
  bool has_text_indexes() const override { return true; }
  std::vector<std::int64_t> propose(const TableInfo& table, std::span<const std::string> words,
                                    std::size_t most) override {
    return text_proposals_.keys(table, words, most);
  }

  Command command(const dialect::LexedStatement& statement, bool identified) override {
    postgres::Translation translation = postgres::translate(statement, tables_, identified, Markers::by_place);
    const postgres::Proposals proposals = text_proposals_.for_statement(translation.searches, statement);
    if (proposals.used != 0)
      translation = postgres::translate(statement, tables_, identified, Markers::by_place, proposals.used);
    Command command;
    command.kind = translation.common.kind;
    postgres::bind_literals(translation.bindings, statement, command.values, proposals.matches);
    for (const postgres::Binding& binding : translation.bindings) command.types.push_back(binding.type);
    command.texts = std::move(translation.common.statements);
    if (command.kind == dialect::StatementKind::query)
      command.layout =
          std::make_shared<const RowLayout>(std::move(translation.common.result), translation.common.table);
    else if (!translation.common.table.empty())
      command.table = tables_.find(translation.common.table);
    command.identified = translation.common.identified;
    if (command.identified) command.identity = identity_of(*tables_.find(translation.common.table));
    command.gives_key = translation.gives_key;
    command.is_empty = translation.is_empty;
    return command;
  }
  void define(const Command& definition) override { postgres::define(server_, definition.texts); }

  IdentityColumns identity_of(const TableInfo& table) const override {
    if (postgres::identity_kind(table) == postgres::IdentityKind::number) return {.is_number = true, .types = {}};
    return {.is_number = false, .types = postgres::key_types_of(table)};
  }
  std::vector<std::size_t> identifying_columns(const TableInfo& table) const override {
    return postgres::identity_kind(table) == postgres::IdentityKind::number ? std::vector<std::size_t>() : table.key;
  }
  RowCommand insert(const TableInfo& table, std::span<const std::size_t> columns,
                    std::span<const Variant> values) override {
    RowCommand row{postgres::insert_text(table, columns, Markers::by_place), {}, value_types(table, columns)};
    for (const Variant& value : values) row.values.push_back(sent_value(value));
    return row;
  }
  RowCommand update(const TableInfo& table, const RowIdentity& identity, std::span<const std::size_t> columns,
                    std::span<const Variant> values) override {
    RowCommand row{postgres::update_text(table, columns, Markers::by_place), {}, value_types(table, columns)};
    for (const Variant& value : values) row.values.push_back(sent_value(value));
    if (identity_of(table).is_number) {
      row.values.emplace_back(std::to_string(identity.number));
      row.types.push_back(ValueType::whole);
      return row;
    }
    for (const Variant& value : identity.key) row.values.push_back(sent_value(value));
    for (const ValueType type : value_types(table, table.key)) row.types.push_back(type);
    return row;
  }
  void begin_given_keys(const TableInfo& table) override { postgres::lock_for_given_keys(server_, table); }
  void end_given_keys(const TableInfo& table) override { postgres::count_given_keys(server_, table); }
  std::size_t most_values() const override { return postgres::kMostParameters; }
  std::size_t most_rows() const override { return 1000; }

  StoreDescription describe() override {
    return postgres::describe_store(server_, connection_.server_name() + ":" + connection_.port());
  }

 private:
  Connection& connection_;
  const bool& in_transaction_;
  Server server_;
  postgres::Tables tables_{server_};
  postgres::TextProposals text_proposals_{server_};
};

}  // namespace

std::unique_ptr<Engine> make_postgresql_engine(Connection& connection, const bool& in_transaction) {
  return std::make_unique<PostgresqlEngine>(connection, in_transaction);
}

}  // namespace mercato::store::odbc
