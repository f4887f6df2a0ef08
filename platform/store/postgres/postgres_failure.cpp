// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/postgres_failure.h"

#include <algorithm>
#include <utility>

#include "platform/store/call_limit.h"
#include "platform/store/failures.h"
#include "platform/store/postgres_dialect/postgres_printer.h"

namespace mercato::store::postgres {
namespace {

using namespace error_number;

std::string field(const PGresult* failed, int which) {
  const char* const text = PQresultErrorField(failed, which);
  return text == nullptr ? std::string() : std::string(text);
}

RaisedError store_failure(std::string description) { return {kStoreFailure, {}, std::move(description), {}, 0}; }

RaisedError check_failure(const PGresult* failed, const TableInfo* table, const std::string& words) {
  const std::string constraint = field(failed, PG_DIAG_CONSTRAINT_NAME);
  if (table != nullptr)
    for (const Column& column : table->columns) {
      if (width_constraint(column.name) == constraint) return value_too_long(*table, column);
      if (range_constraint(column.name) == constraint) return value_out_of_range(*table, column);
    }
  return check_violated(words);
}

// The words for a number that is beyond its column: which one, the engine does not say.
RaisedError out_of_range(const TableInfo* table, const std::string& words) {
  std::string description = "A value is out of the range of its column";
  if (table != nullptr) description += " in " + table->name;
  return {kValueTooLong, {}, description + " (" + words + ")", {}, 0};
}

}  // namespace

std::string at_the_start(std::string label) {
  if (!label.empty() && label.front() == 't') label.front() = 'T';
  return label;
}

std::string_view state_of(const PGresult* failed) {
  const char* const state = PQresultErrorField(failed, PG_DIAG_SQLSTATE);
  return state == nullptr ? std::string_view() : std::string_view(state);
}

std::string one_line(std::string_view words) {
  std::string line;
  for (const char character : words) {
    const bool is_blank = character == '\n' || character == '\t' || character == ' ';
    if (!is_blank || !line.ends_with(' ')) line += is_blank ? ' ' : character;
  }
  while (line.ends_with(' ') || line.ends_with('.')) line.pop_back();
  return line;
}

RaisedError unless_call_limit_passed(RaisedError failure) {
  try {
    check_call_limit_now();
  } catch (const Raised& passed) {
    return of_this_store(passed.error());
  }
  return failure;
}

bool undoes_transaction(std::string_view state) {
  // A deadlock; another transaction was first; a failure that nothing was told of.
  return state == "40P01" || state == "40001" || state == "25P02";
}

bool is_about_tables(std::string_view state) {
  // No such table, column, function, index; a plan whose result is another by now; a prepared statement that is gone.
  return state == "42P01" || state == "42703" || state == "42883" || state == "42704" || state == "0A000" ||
         state == "26000" || state == "42804";
}

RaisedError failure_of(const PGresult* failed, const std::string& server, const TableInfo* table) {
  const std::string_view state = state_of(failed);
  const std::string words = one_line(field(failed, PG_DIAG_MESSAGE_PRIMARY));
  const std::string_view kind = state.substr(0, 2);
  if (state == "23505" || state == "23P01") return of_this_store(key_is_taken(words));
  if (state == "23502") {
    const std::string column = field(failed, PG_DIAG_TABLE_NAME) + "." + field(failed, PG_DIAG_COLUMN_NAME);
    return of_this_store(value_missing(column, words));
  }
  if (state == "23514") return of_this_store(check_failure(failed, table, words));
  if (kind == "23") return of_this_store(constraint_violated(words));
  if (state == "22003" || state == "2200H") return of_this_store(out_of_range(table, words));
  if (state == "22001") return of_this_store({kValueTooLong, {}, "The value is too long (" + words + ")", {}, 0});
  if (state == "53200") return of_this_store({kOutOfMemory, {}, std::string(default_description(kOutOfMemory)), {}, 0});
  const auto told = [&](const std::string& description) {
    return of_this_store(store_failure(description + " (" + words + ")"));
  };
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
  return of_this_store(statement_refused(words));
}

RaisedError opening_failure(const std::string& server, std::string words) {
  words = one_line(words);
  const std::string subject = at_the_start(server);
  const auto has = [&words](std::string_view part) { return words.find(part) != std::string::npos; };
  std::string what = subject + " cannot be reached";
  std::string advice = "See that it runs, and correct Server and Port";
  if (has("password authentication failed") || has("no password supplied")) {
    what = subject + " refuses the user";
    advice = "Correct User ID and Password, or the password file";
  } else if (has("no pg_hba.conf entry")) {
    what = subject + " does not let this machine in";
    advice = "Have it permitted there, or correct SSL Mode";
  } else if (has("database \"") && has("does not exist")) {
    what = subject + " has no such database";
    advice = "Create it, or correct Database";
  } else if (has("role \"") && has("does not exist")) {
    what = subject + " does not know the user";
    advice = "Create the role, or correct User ID";
  } else if (has("certificate") || has("SSL") || has("sslmode")) {
    what = "The connection to " + server + " is not safe enough";
    advice = "Look at the server's certificate, and at SSL Mode";
  } else if (has("too many clients") || has("too many connections") || has("remaining connection slots")) {
    what = subject + " has no room for another connection";
    advice = "Raise the limit there, or use fewer processes";
  } else if (has("starting up") || has("shutting down") || has("in recovery mode")) {
    what = subject + " is starting or stopping";
    advice = "Try again in a moment";
  } else if (has("FATAL:")) {
    what = subject + " refuses the connection";
    advice = "See what it says";
  }
  return of_this_store(store_failure(what + ". " + advice + " (" + words + ")"));
}

RaisedError too_old(const std::string& server, int version) {
  return of_this_store(store_failure(at_the_start(server) + " is PostgreSQL " + std::to_string(version / 10000) +
                                     ". The store needs version 15 or later"));
}

RaisedError of_this_store(RaisedError failure) {
  if (failure.Source.empty()) failure.Source = kFailureSource;
  return failure;
}

void raise_store_failure(std::string description) {
  raise(kStoreFailure, std::string(kFailureSource), std::move(description));
}

}  // namespace mercato::store::postgres
