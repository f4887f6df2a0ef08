// SPDX-License-Identifier: Apache-2.0
// Watches one call of the client: its log entries, its statements, and whether it reached the object. Used on the
// session's thread.
#pragma once

#include "tools/gateway/json_values.h"
#include "tools/gateway/observing.h"

namespace mercato::gateway {

// What the call left behind.
struct CallRecord {
  bool entered = false;  // the called object's own method ran
  Json log = Json::array();
  Json statements = Json::array();  // those of the library's own classes, when they are traced
};

// Fills the record while it lives. Whoever observed before sees everything too, and may answer in an object's place.
class CallWatch : public CallObserver, public store::StatementObserver {
 public:
  CallWatch(CallRecord& record, ObjectTable& objects, bool traces)
      : record_(record), objects_(objects), traces_(traces) {}

  bool on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments,
               Variant& result) override;
  void on_statement(std::string_view text, bool by_library) override;

 private:
  CallRecord& record_;
  ObjectTable& objects_;
  bool traces_;
  bool outermost_ = true;  // the next call is the client's own
  Observing observing_{this, this};
};

}  // namespace mercato::gateway
