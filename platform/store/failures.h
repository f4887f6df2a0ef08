// SPDX-License-Identifier: Apache-2.0
// The failures that every store knows, in the library's words: number and description, without a source. `words` are the
// engine's own, which stand in brackets behind. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "mercato/raised_error.h"
#include "platform/store/row_layout.h"

namespace mercato::store {

RaisedError statement_refused(const std::string& words);
RaisedError value_too_long(const TableInfo& table, const Column& column);
RaisedError value_out_of_range(const TableInfo& table, const Column& column);
// `column` with its table: "PRODUCT.NAME".
RaisedError value_missing(const std::string& column, const std::string& words);
RaisedError key_is_taken(const std::string& words);
RaisedError check_violated(const std::string& words);
RaisedError constraint_violated(const std::string& words);
// Rows are read whose session is gone, or was given back.
RaisedError rows_closed();

// The failure, or the call limit's when that has passed: it is why somebody gave up.
RaisedError unless_call_limit_passed(RaisedError failure);

// The engine's words in one line, without the stop at its end.
std::string one_line(std::string_view words);

// The label of a server ("the server 'db.example.com'") as the first words of a sentence.
std::string at_the_start(std::string label);

}  // namespace mercato::store
