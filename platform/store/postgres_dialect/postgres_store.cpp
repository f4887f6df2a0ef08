// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/postgres_store.h"

#include <algorithm>
#include <cstdlib>

#include "mercato/raised_error.h"
#include "platform/store/dialect/sql_printer.h"
#include "platform/store/failures.h"
#include "platform/store/postgres_dialect/function_texts.h"
#include "values/text.h"

namespace mercato::store::postgres {
namespace {

using dialect::quoted_name;

// The version of functions.sql; a store that has an older one gets it with its next definition.
constexpr int kFunctionsVersion = 2;

// The first definition brings what translated statements call.
void prepare_store(PostgresServer& server) {
  const SentValues found = server.rows("SELECT current_schema(), to_regclass('mercato_store')::text").front();
  if (!found[0])
    raise(error_number::kStoreFailure, std::string(server.failure_source()),
          at_the_start(server.label()) + " has no schema to create tables in. Create one, and name it in Search Path");
  if (found[1]) {
    const std::vector<SentValues> version = server.rows("SELECT functions FROM mercato_store");
    if (!version.empty() && std::atoi(version.front()[0].value_or("0").c_str()) >= kFunctionsVersion) return;
  }
  server.run_script(text::replace_all(function_texts(), "{schema}", quoted_name(*found[0])));
  server.control("UPDATE mercato_store SET functions = " + std::to_string(kFunctionsVersion));
}

}  // namespace

std::string settings_of_session(int lock_timeout) {
  return "SET standard_conforming_strings = on; SET DateStyle = 'ISO, MDY'; SET extra_float_digits = 1; "
         "SET default_transaction_isolation = 'read committed'; "
         "SET client_min_messages = warning; SET jit = off; SET lock_timeout = " +
         std::to_string(lock_timeout);
}

void define(PostgresServer& server, std::span<const std::string> statements) {
  server.control("SELECT pg_advisory_xact_lock(hashtextextended('mercato definitions', 0))");
  prepare_store(server);
  for (const std::string& text : statements) server.control(text);
  server.control("UPDATE mercato_store SET definitions = definitions + 1");
}

void lock_for_given_keys(PostgresServer& server, const TableInfo& table) {
  server.control("LOCK TABLE " + quoted_name(table.name) + " IN SHARE ROW EXCLUSIVE MODE");
}

void count_given_keys(PostgresServer& server, const TableInfo& table) {
  const std::string& key = std::ranges::find_if(table.columns, &Column::assigned)->name;
  server.rows(
      "SELECT setval(numbers, highest) FROM (SELECT pg_get_serial_sequence($1, $2)::regclass AS numbers, "
      "(SELECT max(" +
          quoted_name(key) + ") FROM " + quoted_name(table.name) +
          ") AS highest) AS given "
          "WHERE highest > coalesce(pg_sequence_last_value(numbers), 0)",
      {quoted_name(table.name), key});
}

}  // namespace mercato::store::postgres
