// SPDX-License-Identifier: Apache-2.0
// The script of a session: stubs answer calls in an object's place, failures refuse statements, and the calls that
// were made are recorded; the clock and the settings of the process are the session's. One for each session; used on
// the session's thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mercato/invoke.h"
#include "mercato/raised_error.h"
#include "mercato/settings.h"
#include "platform/store/statement_observer.h"
#include "tools/gateway/json_values.h"
#include "tools/gateway/params.h"

namespace mercato::gateway {

class Script : public CallObserver, public store::StatementObserver {
 public:
  explicit Script(ObjectTable& objects) : objects_(objects), settings_before_(collaborators::settings()) {}
  // Puts the clock and the settings of the process back.
  ~Script() override;
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;

  // The methods of the session that write the script, each with its parameters. They throw RpcError kInvalidParams.
  //
  // A stub takes the place of an earlier one of the method with the same "when".
  Json stub(const Params& params);
  Json unstub(const Params& params);
  // The calls on a class's objects since the last time; forgets them.
  Json calls(const Params& params);
  Json fail(const Params& params);
  Json clock(const Params& params);
  Json configure(const Params& params);
  Json limit(const Params& params);

  bool on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments,
               Variant& result) override;
  void on_statement(std::string_view text, bool by_library) override;

 private:
  // Answers of a stubbed method: a value for each call, the last one for all further ones, or a failure.
  struct Stub {
    std::optional<Json> when;  // leading arguments that must match; asked before a stub without it
    std::vector<Variant> values;
    RaisedError failure;  // raised when its number is not 0
    std::size_t next = 0;
  };
  // The statement that contains the text is refused, once `left` such statements have come.
  struct Failure {
    std::string text;
    std::int64_t left;
    RaisedError error;
  };

  Stub read_stub(const Params& params);
  Stub* matching_stub(const MethodInfo& method, std::span<const Variant> arguments);
  Json list(std::span<const Variant> arguments);

  ObjectTable& objects_;
  std::shared_ptr<const collaborators::Settings> settings_before_;
  std::map<const MethodInfo*, std::deque<Stub>> stubs_;  // of one method: those with `when` first, the latest in front
  std::map<const ClassTable*, Json> calls_;
  std::vector<Failure> failures_;
};

}  // namespace mercato::gateway
