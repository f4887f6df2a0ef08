// SPDX-License-Identifier: Apache-2.0
#include "bench/support/postgresql/bare_server.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "platform/store/driver.h"

namespace mercato::bench {
namespace {

constexpr std::pair<const char*, const char*> kParameters[] = {
    {"Server", "host"},  {"Port", "port"},         {"Database", "dbname"},
    {"User ID", "user"}, {"Password", "password"}, {"SSL Mode", "sslmode"},
};

// Every field of every row.
std::size_t read_rows(const PGresult* rows) {
  std::size_t sum = 0;
  const int row_count = PQntuples(rows);
  const int column_count = PQnfields(rows);
  for (int row = 0; row < row_count; ++row)
    for (int column = 0; column < column_count; ++column)
      if (PQgetisnull(rows, row, column) == 0)
        sum += static_cast<unsigned char>(PQgetvalue(rows, row, column)[0]) +
               static_cast<std::size_t>(PQgetlength(rows, row, column));
  return sum;
}

bool is_transaction_control(const std::string& text) {
  return text == "BEGIN" || text == "COMMIT" || text == "ROLLBACK";
}

}  // namespace

BareServer::BareServer(const std::string& connection_string) {
  std::vector<const char*> names;
  std::vector<std::string> values;
  for (const auto& [property, parameter] : kParameters)
    if (auto value = store::connection_property(connection_string, property)) {
      names.push_back(parameter);
      values.push_back(std::move(*value));
    }
  std::vector<const char*> texts;
  for (const std::string& value : values) texts.push_back(value.c_str());
  names.push_back(nullptr);
  texts.push_back(nullptr);
  connection_.reset(PQconnectdbParams(names.data(), texts.data(), 0));
  if (PQstatus(connection_.get()) != CONNECTION_OK) throw std::runtime_error(PQerrorMessage(connection_.get()));
  PQsetNoticeReceiver(
      connection_.get(), [](void*, const PGresult*) {}, nullptr);
  // As the library's sessions have it.
  run("SET jit = off");
}

void BareServer::check(const PGresult* result, const std::string& doing) const {
  const ExecStatusType status = PQresultStatus(result);
  if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
    throw std::runtime_error(doing + ": " + PQerrorMessage(connection_.get()));
}

std::string BareServer::run(const std::string& sql) {
  const ServerResult result(PQexec(connection_.get(), sql.c_str()));
  check(result.get(), sql.substr(0, 200));
  return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
}

double ServerClock::seconds() {
  std::istringstream processes(
      server_.run("SELECT string_agg(pid::text, ' ') FROM pg_stat_activity WHERE datname = current_database() AND pid "
                  "<> pg_backend_pid()"));
  double nanoseconds = 0;
  for (std::string process; processes >> process;) {
    double spent = 0;
    if (std::ifstream("/proc/" + process + "/schedstat") >> spent) nanoseconds += spent;
  }
  return nanoseconds / 1e9;
}

// Without force, which asks for rights over the server's own processes that clean up there: it ends them, and waits a
// while for all others.
void drop_database(const std::string& server, const std::string& name) {
  BareServer(server + ";Database=postgres").run("DROP DATABASE IF EXISTS " + name);
}

void make_database(const std::string& server, const std::string& name, const std::string& from) {
  drop_database(server, name);
  BareServer(server + ";Database=postgres").run("CREATE DATABASE " + name + " TEMPLATE " + from);
}

TapePlayer::TapePlayer(const std::string& connection_string, const ServerTape& tape)
    : server_(connection_string), tape_(tape) {
  for (const ServerTape::Statement& statement : tape.statements) {
    if (statement.runs == 0 || is_transaction_control(statement.text)) {
      names_.emplace_back();
      continue;
    }
    names_.push_back("s" + std::to_string(names_.size()));
    const ServerResult prepared(PQprepare(server_.connection(), names_.back().c_str(), statement.text.c_str(),
                                          static_cast<int>(statement.types.size()), statement.types.data()));
    server_.check(prepared.get(), statement.text);
  }
}

std::size_t TapePlayer::play(Transactions transactions) {
  std::size_t sum = 0;
  if (transactions == Transactions::one) server_.run("BEGIN");
  for (const ServerTape::Step& step : tape_.steps) {
    // Somebody who writes them by hand knows beforehand which ones fail.
    if (step.failed != 0) continue;
    if (names_[step.statement].empty()) {
      if (transactions == Transactions::as_recorded) server_.run(tape_.statements[step.statement].text);
    } else {
      sum += run_step(step);
    }
  }
  if (transactions == Transactions::one) server_.run("COMMIT");
  return sum;
}

std::size_t TapePlayer::run_step(const ServerTape::Step& step) {
  values_.clear();
  for (std::uint32_t i = 0; i < step.values; ++i) {
    const std::uint32_t at = tape_.values[step.first_value + i];
    values_.push_back(at == ServerTape::kNull ? nullptr : tape_.texts.data() + at);
  }
  const ServerResult result(PQexecPrepared(server_.connection(), names_[step.statement].c_str(),
                                           static_cast<int>(step.values), values_.data(), nullptr, nullptr, 0));
  server_.check(result.get(), tape_.statements[step.statement].text);
  return read_rows(result.get());
}

}  // namespace mercato::bench
