// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/server_failure.h"

#include "platform/store/failures.h"
#include "platform/store/postgres_dialect/postgres_printer.h"

namespace mercato::store::postgres {
namespace {

using namespace error_number;

RaisedError store_failure(std::string description) { return {kStoreFailure, {}, std::move(description), {}, 0}; }

RaisedError check_failure(const ServerFailure& failed, const TableInfo* table) {
  if (table != nullptr)
    for (const Column& column : table->columns) {
      if (width_constraint(column.name) == failed.constraint) return value_too_long(*table, column);
      if (range_constraint(column.name) == failed.constraint) return value_out_of_range(*table, column);
    }
  return check_violated(failed.words);
}

// The words for a number that is beyond its column: which one, the engine does not say.
RaisedError out_of_range(const TableInfo* table, const std::string& words) {
  std::string description = "A value is out of the range of its column";
  if (table != nullptr) description += " in " + table->name;
  return {kValueTooLong, {}, description + " (" + words + ")", {}, 0};
}

}  // namespace

bool undoes_transaction(std::string_view state) {
  // A deadlock; another transaction was first; a failure that nothing was told of.
  return state == "40P01" || state == "40001" || state == "25P02";
}

bool is_about_tables(std::string_view state) {
  // No such table, column, function, index; a plan whose result is another by now; a prepared statement that is gone.
  return state == "42P01" || state == "42703" || state == "42883" || state == "42704" || state == "0A000" ||
         state == "26000" || state == "42804";
}

RaisedError failure_of(const ServerFailure& failed, const std::string& server, const TableInfo* table) {
  const std::string_view state = failed.state;
  const std::string& words = failed.words;
  const std::string_view kind = state.substr(0, 2);
  if (state == "23505" || state == "23P01") return key_is_taken(words);
  if (state == "23502") return value_missing(failed.table + "." + failed.column, words);
  if (state == "23514") return check_failure(failed, table);
  if (kind == "23") return constraint_violated(words);
  if (state == "22003" || state == "2200H") return out_of_range(table, words);
  if (state == "22001") return {kValueTooLong, {}, "The value is too long (" + words + ")", {}, 0};
  if (state == "53200") return {kOutOfMemory, {}, std::string(default_description(kOutOfMemory)), {}, 0};
  const auto told = [&](const std::string& description) { return store_failure(description + " (" + words + ")"); };
  if (state == "57014") return unless_call_limit_passed(told("Somebody ended the statement on " + server));
  if (state == "40P01")
    return told("Two transactions waited for each other on " + server + ", and this one was undone. Repeat the call");
  if (state == "40001") return told("Another transaction on " + server + " was first. Repeat the call");
  if (state == "55P03")
    return told("Another process or connection holds what is to be changed on " + server +
                ", and did not let go of it in time");
  if (state == "25006")
    return told(at_the_start(server) +
                " takes no changes from this user, or is a copy. Connect to one that takes them");
  if (state == "53100") return told("The disk of " + server + " is full. Free some space, then repeat the call");
  if (state == "42501")
    return told("The user of the connection may not do this on " + server + ". Give it the right to");
  if (kind == "57" || kind == "58" || kind == "53" || kind == "08" || kind == "XX")
    return told(at_the_start(server) + " reported a failure");
  return statement_refused(words);
}

}  // namespace mercato::store::postgres
