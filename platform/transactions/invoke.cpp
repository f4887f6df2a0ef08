// SPDX-License-Identifier: Apache-2.0
#include "mercato/invoke.h"

#include "mercato/object_context.h"
#include "platform/store/statement_observer.h"
#include "platform/store/unit_of_work.h"

namespace mercato {
namespace {

thread_local CallObserver* call_observer = nullptr;

void complete(std::vector<Variant>& arguments, const ClassTable& table, const MethodInfo& method) {
  const std::string label = table.prog_id() + "." + method.name;
  if (arguments.size() > method.arguments.size())
    raise(error_number::kWrongNumberOfArguments, {},
          label + " takes at most " + std::to_string(method.arguments.size()) + " arguments");
  const std::size_t given = arguments.size();
  arguments.resize(method.arguments.size(), kMissing);
  for (std::size_t position = 0; position < arguments.size(); ++position) {
    if (!arguments[position].is_missing()) continue;
    const ArgumentInfo& argument = method.arguments[position];
    // A parameter that takes any value takes Missing, too: a caller may hand on its own optional argument.
    if (position < given && !argument.optional && argument.type == InterfaceType<Variant>::name) continue;
    if (!argument.optional)
      raise(error_number::kArgumentNotOptional, {}, label + ": argument " + argument.name + " is not optional");
    arguments[position] = argument.default_value;
  }
}

}  // namespace

CallObserver* set_call_observer(CallObserver* observer) { return std::exchange(call_observer, observer); }

namespace {

Variant call_method(const ComponentPtr& target, std::string_view method_name, std::vector<Variant>& arguments) {
  if (!target) raise(error_number::kObjectNotSet);
  const ClassTable& table = target->class_table();
  const MethodInfo* method = table.find(method_name);
  if (!method) raise(error_number::kNoSuchMethod, {}, table.prog_id() + " has no method " + std::string(method_name));
  complete(arguments, table, *method);
  if (table.may_wait()) store::UnitOfWork::before_waiting();
  Variant answer;
  if (call_observer && call_observer->on_call(table, *method, arguments, answer)) return answer;
  store::StatementOrigin origin(!table.is_collaborator());
  ContextCall call(target->context());
  Variant result = method->invoke(*target, arguments);
  call.finish();
  return result;
}

}  // namespace

Variant invoke(const ComponentPtr& target, std::string_view method, std::vector<Variant>& arguments) {
  return raising_out_of_memory([&] { return call_method(target, method, arguments); });
}

Variant invoke(const ComponentPtr& target, std::string_view method, std::initializer_list<Variant> arguments) {
  return raising_out_of_memory([&] {
    std::vector<Variant> values(arguments);
    return call_method(target, method, values);
  });
}

}  // namespace mercato
