// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/odbc_failure.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

#include "platform/store/failures.h"
#include "platform/store/postgres_dialect/server_failure.h"
#include "values/text.h"

namespace mercato::store::odbc {
namespace {

using namespace error_number;

RaisedError failure(std::int32_t number, std::string description) {
  return {number, {}, std::move(description), {}, 0};
}

bool is_one_of(std::int32_t native, std::initializer_list<std::int32_t> numbers) {
  return std::ranges::find(numbers, native) != numbers.end();
}

// "store.dbo.PRODUCT" is "PRODUCT".
std::string last_name(const std::string& name) { return name.substr(name.rfind('.') + 1); }

RaisedError too_long(const std::string& words, const TableInfo* table) {
  // Recent servers name table and column.
  const std::vector<std::string> names = quoted_in(words, '\'');
  const auto column = table != nullptr && names.size() >= 2 ? table->find(names[1]) : std::nullopt;
  if (column) return value_too_long(*table, table->columns[*column]);
  return failure(kValueTooLong, "The value is too long (" + words + ")");
}

RaisedError missing_in_tsql(const std::string& words) {
  const std::vector<std::string> names = quoted_in(words, '\'');
  return names.size() < 2 ? constraint_violated(words) : value_missing(last_name(names[1]) + "." + names[0], words);
}

RaisedError told(const std::string& description, const std::string& words) {
  return failure(kStoreFailure, description + " (" + words + ")");
}

RaisedError failure_by_state(const Diagnosis& given, const std::string& server) {
  const std::string_view kind = std::string_view(given.state).substr(0, 2);
  if (kind == "23") return constraint_violated(given.words);
  if (given.state == "22001") return failure(kValueTooLong, "The value is too long (" + given.words + ")");
  if (given.state == "22003")
    return failure(kValueTooLong, "A value is out of the range of its column (" + given.words + ")");
  if (given.state == "40001")
    return told("Another transaction on " + server + " was first. Repeat the call", given.words);
  if (given.state == "HYT00" || given.state == "HY008")
    return unless_call_limit_passed(told("The statement was ended on " + server, given.words));
  if (given.state == "HY001" || given.state == "HY014")
    return failure(kOutOfMemory, std::string(default_description(kOutOfMemory)));
  if (kind == "22" || kind == "42" || kind == "07" || kind == "21" || kind == "37" || kind == "S0")
    return statement_refused(given.words);
  return told(at_the_start(server) + " reported a failure", given.words);
}

}  // namespace

RaisedError failure_of_tsql(const Diagnosis& given, const std::string& server, const TableInfo* table) {
  const std::string& words = given.words;
  switch (given.native) {
    case 515:
      return missing_in_tsql(words);
    case 547:
      return constraint_violated(words);
    case 2601:
    case 2627:
      return key_is_taken(words);
    case 2628:
    case 8152:
      return too_long(words, table);
    case 1205:
      return told("Two transactions waited for each other on " + server + ", and this one was undone. Repeat the call",
                  words);
    case 1222:
      return told("Another process or connection holds what is to be changed on " + server +
                      ", and did not let go of it in time",
                  words);
    case 3906:
    case 3908:
      return told(
          at_the_start(server) + " takes no changes from this user, or is a copy. Connect to one that takes them",
          words);
    default:
      break;
  }
  if (is_one_of(given.native, {220, 232, 8115}))
    return failure(kValueTooLong, "A value is out of the range of its column" +
                                      (table != nullptr ? " in " + table->name : std::string()) + " (" + words + ")");
  // A text that does not read as what it is compared with or put into; a statement that is none; names of nothing.
  if (is_one_of(given.native, {241, 242, 245, 257, 295, 529, 8114}) ||
      is_one_of(given.native,
                {102, 105, 156, 170, 174, 195, 207, 208, 209, 319, 544, 1088, 2705, 2714, 3701, 4104, 8144}))
    return statement_refused(words);
  if (is_one_of(given.native, {229, 230, 262, 297, 300}))
    return told("The user of the connection may not do this on " + server + ". Give it the right to", words);
  if (is_one_of(given.native, {1101, 1105, 9002}))
    return told("The disk of " + server + " is full. Free some space, then repeat the call", words);
  return failure_by_state(given, server);
}

RaisedError failure_of_postgresql(const Diagnosis& given, const std::string& server, const TableInfo* table) {
  postgres::ServerFailure failed{given.state, given.words, {}, {}, {}};
  const std::vector<std::string> names = quoted_in(given.words, '"');
  if (given.state == "23502" && names.size() >= 2) {
    failed.column = names[0];
    failed.table = names[1];
  } else if (given.state == "23514" && !names.empty()) {
    failed.constraint = names.back();
  }
  // The driver's own: what it says beside the server.
  const std::string_view kind = std::string_view(given.state).substr(0, 2);
  if (kind == "HY" || kind == "IM" || kind == "S1") return failure_by_state(given, server);
  return postgres::failure_of(failed, server, table);
}

RaisedError opening_failure(const Diagnosis& given, const std::string& server) {
  const std::string subject = at_the_start(server);
  const auto has = [&given](std::string_view part) { return given.words.find(part) != std::string::npos; };
  std::string what = subject + " cannot be reached";
  std::string advice = "See that it runs, and correct Server and Port";
  if (given.state == "IM002") {
    what = "The driver manager knows no such data source or driver";
    advice = "Install the driver, and correct DSN or Driver";
  } else if (given.state.starts_with("IM") || has("Can't open lib")) {
    what = "The driver of " + server + " cannot be used";
    advice = "Install it, or correct Driver";
  } else if (given.native == 18456 || given.state == "28000" || given.state == "28P01" || has("role \"") ||
             has("password authentication failed") || has("no password supplied")) {
    what = subject + " refuses the user";
    advice = "Correct UID and PWD";
  } else if (given.native == 4060 || (has("database \"") && has("does not exist"))) {
    what = subject + " has no such database";
    advice = "Create it, or correct Database";
  } else if (has("certificate") || has("SSL")) {
    what = "The connection to " + server + " is not safe enough";
    advice = "Look at the server's certificate, and at the driver's settings of encryption";
  }
  return of_this_store(told(what + ". " + advice, given.words));
}

std::vector<std::string> quoted_in(const std::string& words, char quote) {
  std::vector<std::string> found;
  for (std::size_t begin = words.find(quote); begin != std::string::npos;) {
    const std::size_t end = words.find(quote, begin + 1);
    if (end == std::string::npos) break;
    found.push_back(words.substr(begin + 1, end - begin - 1));
    begin = words.find(quote, end + 1);
  }
  return found;
}

std::string words_of_server(std::string_view message) {
  while (message.starts_with('[')) {
    const std::size_t end = message.find(']');
    if (end == std::string_view::npos) break;
    message = text::trim(message.substr(end + 1));
  }
  constexpr std::string_view kOfPostgresql = "ERROR: ", kBehind[] = {"\nDETAIL:", "\nHINT:", "\nCONTEXT:", ";\n"};
  if (message.starts_with(kOfPostgresql)) message = text::trim(message.substr(kOfPostgresql.size()));
  for (const std::string_view begin : kBehind) message = message.substr(0, message.find(begin));
  return one_line(message);
}

RaisedError of_this_store(RaisedError given) {
  if (given.Source.empty()) given.Source = kFailureSource;
  return given;
}

void raise_store_failure(std::string description) {
  raise(kStoreFailure, std::string(kFailureSource), std::move(description));
}

}  // namespace mercato::store::odbc
