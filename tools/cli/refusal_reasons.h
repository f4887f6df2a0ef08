// SPDX-License-Identifier: Apache-2.0
// Why the library refuses, in words. The reasons are asked of the library and its reference checker; nothing is
// changed. They are printed in front of the library's own words, each on a line of standard error that begins with
// "refused: ". Main thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mercato/raised_error.h"
#include "mercato/variant.h"
#include "tools/cli/commands.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {

using Reasons = std::vector<std::string>;

// What still uses the row of this key, by the rules in force: "3 products still use unit BX".
Reasons reasons_against_delete(std::string_view table, const Variant& key);
// Which of the values no row of the table can hold: names that are no columns, values that do not fit, references to
// nothing ("there is no business partner 99").
Reasons reasons_against_write(std::string_view table, const Array& fields, const Array& values);
// That the library cannot ask for this user, whose id it puts into its statements as it stands.
Reasons reasons_against_user(const std::string& user);

// These raise 5 with a sentence, before the library is asked.
// "There is no unit QQ", when no row of the table has this key.
void expect_row(std::string_view table, const Variant& key);
// "The store gives out PRODUCTID itself: leave it out", when one of the fields is such a key.
void expect_no_assigned_field(std::string_view table, const Array& fields);

// That there is no such user. The library takes him all the same, for another system may create him yet, and so does a
// command with --force.
void expect_user(const std::string& user, bool force);
inline constexpr const char* kForceHelp = "Also for what is not there, since another system will create it";

// Returns the failure to go on with. The reasons are kept for whoever tells it, or they take the place of the failure's
// words about a statement, which say nothing to a user who wrote none.
RaisedError told_with(const RaisedError& error, const Reasons& reasons);
// Those that were kept since it was asked last.
Reasons take_reasons();
void print_reasons(const Reasons& reasons);

// Runs the work. When it raises, the reasons that `explain` finds for the failure are told with it.
template <class Work, class Explain>
auto explaining(Explain explain, Work work) {
  try {
    return work();
  } catch (const Raised& raised) {
    Reasons reasons;
    try {
      reasons = explain(raised.error());
    } catch (const Raised&) {  // the failure itself is told, without reasons
    }
    throw Raised(told_with(raised.error(), reasons));
  }
}

// A refusal that is a result: the reasons, then what came back. As JSON the values with the member "reasons", which has
// what came back when there are none. Returns kFailed.
int refuse(const OutputOptions& output, gateway::Json values, const std::string& result, const Reasons& reasons);

// Deletes the row of this key through a method that returns whether it did, and says so, or why not. It is asked for
// consent before, unless the row stays anyway.
struct Deletion {
  const char* prog_id;
  const char* method;
  const char* table;
  Variant key;
  bool yes;          // nobody is asked
  std::string name;  // which the question says behind the key, with what else goes
};
int delete_row(const Deletion& deletion, const OutputOptions& output);

}  // namespace mercato::cli
