// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres/postgres_failure.h"

#include <utility>

#include "platform/store/failures.h"

namespace mercato::store::postgres {
namespace {

using namespace error_number;

std::string field(const PGresult* failed, int which) {
  const char* const text = PQresultErrorField(failed, which);
  return text == nullptr ? std::string() : std::string(text);
}

RaisedError store_failure(std::string description) { return {kStoreFailure, {}, std::move(description), {}, 0}; }

}  // namespace

std::string_view state_of(const PGresult* failed) {
  const char* const state = PQresultErrorField(failed, PG_DIAG_SQLSTATE);
  return state == nullptr ? std::string_view() : std::string_view(state);
}

RaisedError failure_of(const PGresult* failed, const std::string& server, const TableInfo* table) {
  return of_this_store(
      failure_of(ServerFailure{std::string(state_of(failed)), one_line(field(failed, PG_DIAG_MESSAGE_PRIMARY)),
                               field(failed, PG_DIAG_CONSTRAINT_NAME), field(failed, PG_DIAG_TABLE_NAME),
                               field(failed, PG_DIAG_COLUMN_NAME)},
                 server, table));
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
