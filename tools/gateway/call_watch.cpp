// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/call_watch.h"

#include <string>
#include <utility>

#include "values/text.h"

namespace mercato::gateway {
namespace {

bool is_log_entry(const ClassTable& table, const MethodInfo& method) {
  return text::equal_names(table.prog_id(), "Grundwerk.Log") &&
         (method.name == "WriteEntry" || method.name == "WriteEntryAlternate");
}

}  // namespace

bool CallWatch::on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments,
                        Variant& result) {
  const bool outermost = std::exchange(outermost_, false);
  if (is_log_entry(table, method))
    record_.log.push_back({{"source", to_json(arguments[0], objects_)},
                           {"text", to_json(arguments[1], objects_)},
                           {"severity", to_json(arguments[2], objects_)}});
  CallObserver* const earlier = observing_.earlier_calls;
  if (earlier && earlier->on_call(table, method, arguments, result)) return true;
  if (outermost) record_.entered = true;
  return false;
}

void CallWatch::on_statement(std::string_view text, bool by_library) {
  if (traces_ && by_library) record_.statements.push_back(std::string(text));
  if (observing_.earlier_statements) observing_.earlier_statements->on_statement(text, by_library);
}

}  // namespace mercato::gateway
