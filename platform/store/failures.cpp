// SPDX-License-Identifier: Apache-2.0
#include "platform/store/failures.h"

#include <utility>

#include "platform/store/call_limit.h"

namespace mercato::store {
namespace {

using namespace error_number;

RaisedError failure(std::int32_t number, std::string description) {
  return {number, {}, std::move(description), {}, 0};
}

}  // namespace

RaisedError statement_refused(const std::string& words) {
  return failure(kStatementRefused, "The store refused the statement: " + words);
}

RaisedError value_too_long(const TableInfo& table, const Column& column) {
  return failure(kValueTooLong, "The value is too long: column " + table.name + "." + column.name + " takes at most " +
                                    std::to_string(column.width) + " characters");
}

RaisedError value_out_of_range(const TableInfo& table, const Column& column) {
  return failure(kValueTooLong, "The value is out of the range of column " + table.name + "." + column.name);
}

RaisedError value_missing(const std::string& column, const std::string& words) {
  return failure(kConstraintViolated, column + " may not be Null (" + words + ")");
}

RaisedError key_is_taken(const std::string& words) {
  return failure(kConstraintViolated, "There is already a row with this key (" + words + ")");
}

RaisedError check_violated(const std::string& words) {
  return failure(kConstraintViolated, "The change violates a check of the store (" + words + ")");
}

RaisedError constraint_violated(const std::string& words) {
  return failure(kConstraintViolated, "The change violates a constraint of the store (" + words + ")");
}

RaisedError rows_closed() {
  return failure(kObjectClosed, "The connection that these rows are read from has been closed");
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

std::string at_the_start(std::string label) {
  if (!label.empty() && label.front() == 't') label.front() = 'T';
  return label;
}

RaisedError unless_call_limit_passed(RaisedError failure) {
  try {
    check_call_limit_now();
  } catch (const Raised& passed) {
    return passed.error();
  }
  return failure;
}

}  // namespace mercato::store
