// What a session watches and answers during calls: log entries, statements, recorded calls, stubbed methods, refused
// statements. One for each session; used on the session's thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/automation/invoke.h"
#include "platform/store/statement_observer.h"
#include "tools/gateway/json_values.h"
#include "values/raised_error.h"

namespace mercato::gateway {

// Answers of a stubbed method: a value for each call, the last one for all further ones, or a failure.
struct Stub {
  std::optional<Json> when;  // leading arguments that must match; asked before a stub without it
  std::vector<Variant> values;
  RaisedError failure;  // raised when its number is not 0
  std::size_t next = 0;
};

// What one outermost call left behind.
struct Watch {
  bool traces = false;
  bool entered = false;  // the called object's own method ran
  Json log = Json::array();
  Json statements = Json::array();  // those of the library's own classes, when it traces
};

class Script : public CallObserver, public store::StatementObserver {
 public:
  Script(ObjectTable& objects, bool records_calls) : objects_(objects), records_calls_(records_calls) {}

  // In place of an earlier stub of the method with the same `when`.
  void stub(const MethodInfo& method, Stub stub);
  // Those of one class, or all.
  void unstub(const ClassTable& table);
  void unstub_all() { stubs_.clear(); }

  // The calls on a class's objects since the last time; forgets them.
  Json take_calls(const ClassTable& table);

  // The nth statement from now that contains the text is refused.
  void fail(std::string text, std::int64_t nth, RaisedError failure);
  void forget_failures() { failures_.clear(); }

  void begin_watch(bool traces);
  Watch end_watch();

  bool on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments,
               Variant& result) override;
  void on_statement(std::string_view text, bool by_library) override;

 private:
  struct Failure {
    std::string text;
    std::int64_t left;
    RaisedError error;
  };

  Stub* matching_stub(const MethodInfo& method, std::span<const Variant> arguments);
  Json list(std::span<const Variant> arguments);

  ObjectTable& objects_;
  bool records_calls_;
  std::map<const MethodInfo*, std::deque<Stub>> stubs_;  // of one method: those with `when` first, the latest in front
  std::map<const ClassTable*, Json> calls_;
  std::vector<Failure> failures_;
  std::optional<Watch> watch_;
  bool outermost_ = false;  // the next call is the client's own
};

}  // namespace mercato::gateway
