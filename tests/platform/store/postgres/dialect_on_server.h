// SPDX-License-Identifier: Apache-2.0
// A statement of the dialect on a real server, without the session: translated and prepared, or explained.
#pragma once

#include <libpq-fe.h>

#include <string>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/postgres/server_connection.h"
#include "platform/store/postgres_dialect/postgres_printer.h"
#include "platform/store/postgres_dialect/postgres_tables.h"
#include "platform/store/postgres_dialect/postgres_values.h"
#include "platform/store/postgres_dialect/text_proposals.h"

namespace mercato::store::postgres::test {

class DialectOnServer {
 public:
  explicit DialectOnServer(const std::string& connection_string) : connection_(connection_string) {}

  // Tables are read anew.
  void forget() { tables_.forget(); }

  // What the server refuses the translation with: "42601 syntax error ...", and the translation; empty when it takes it.
  // Raises what the dialect refuses the statement with. A definition is not tried.
  std::string refusal_of(const std::string& statement, bool identified = false) {
    dialect::lex(statement, lexed_);
    const Translation translation = translate(lexed_, tables_, identified);
    if (translation.common.kind == dialect::StatementKind::definition) return {};
    for (const std::string& text : translation.common.statements) {
      connection_.prepare("", text, types_of(translation));
      connection_.flush();
      const ResultHandle prepared = connection_.finish_command();
      connection_.finish_batch();
      if (PQresultStatus(prepared.get()) != PGRES_COMMAND_OK)
        return std::string(PQresultErrorField(prepared.get(), PG_DIAG_SQLSTATE)) + " " +
               PQresultErrorField(prepared.get(), PG_DIAG_MESSAGE_PRIMARY) + "\n" + text;
    }
    return {};
  }

  // What text indexes are asked for a statement, by the server's statistics.
  Proposals proposals_for(const std::string& statement) {
    dialect::lex(statement, lexed_);
    return text_proposals_.for_statement(translate(lexed_, tables_, false).searches, lexed_);
  }

  // The server's way for a statement, whatever its values are. `settings`: what the planner is told before.
  std::string plan_of(const std::string& statement, const std::string& settings = {}) {
    const Proposals proposals = proposals_for(statement);
    const Translation translation = translate(lexed_, tables_, false, Markers::numbered, proposals.used);
    if (translation.common.statements.empty()) return {};
    SentValues values;
    bind_literals(translation.bindings, lexed_, values, proposals.matches);
    connection_.send("SET plan_cache_mode = force_generic_plan");
    connection_.send("DEALLOCATE ALL");
    for (const std::string_view setting : dialect::split_script(settings))
      connection_.send(std::string(setting).c_str());
    connection_.prepare("explained", translation.common.statements.front(), types_of(translation));
    connection_.flush();
    if (const ResultHandle failed = connection_.finish_batch()) return PQresultErrorMessage(failed.get());
    std::string arguments;
    for (const std::optional<std::string>& value : values) {
      arguments += arguments.empty() ? "(" : ", ";
      if (!value) {
        arguments += "NULL";
        continue;
      }
      arguments += "E'";
      for (const char character : *value) {
        if (character == '\'' || character == '\\') arguments += '\\';
        arguments += character;
      }
      arguments += "'";
    }
    if (!arguments.empty()) arguments += ")";
    connection_.send(("EXPLAIN (COSTS OFF) EXECUTE explained" + arguments).c_str());
    connection_.flush();
    const ResultHandle rows = connection_.finish_command();
    connection_.finish_batch();
    if (PQresultStatus(rows.get()) != PGRES_TUPLES_OK) return PQresultErrorMessage(rows.get());
    std::string plan;
    for (int row = 0; row < PQntuples(rows.get()); ++row) plan += std::string(PQgetvalue(rows.get(), row, 0)) + "\n";
    return plan;
  }

 private:
  static std::vector<Oid> types_of(const Translation& translation) {
    std::vector<Oid> types;
    for (const Binding& binding : translation.bindings) types.push_back(engine_type(binding.type));
    return types;
  }

  Connection connection_;
  Tables tables_{connection_};
  TextProposals text_proposals_{connection_};
  dialect::LexedStatement lexed_;
};

}  // namespace mercato::store::postgres::test
