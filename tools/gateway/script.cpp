#include "tools/gateway/script.h"

#include <algorithm>
#include <utility>

#include "values/text.h"

namespace mercato::gateway {
namespace {

bool is_log_entry(const ClassTable& table, const MethodInfo& method) {
  return text::equal_names(table.prog_id(), "Grundwerk.Log") &&
         (method.name == "WriteEntry" || method.name == "WriteEntryAlternate");
}

}  // namespace

void Script::stub(const MethodInfo& method, Stub stub) {
  std::deque<Stub>& stubs = stubs_[&method];
  std::erase_if(stubs, [&](const Stub& other) { return other.when == stub.when; });
  if (stub.when)
    stubs.push_front(std::move(stub));
  else
    stubs.push_back(std::move(stub));
}

void Script::unstub(const ClassTable& table) {
  std::erase_if(stubs_, [&](const auto& stubbed) { return table.find(stubbed.first->name) == stubbed.first; });
}

Json Script::take_calls(const ClassTable& table) {
  const auto found = calls_.find(&table);
  if (found == calls_.end()) return Json::array();
  Json calls = std::move(found->second);
  calls_.erase(found);
  return calls;
}

void Script::fail(std::string text, std::int64_t nth, RaisedError failure) {
  failures_.push_back({std::move(text), nth, std::move(failure)});
}

void Script::begin_watch(bool traces) {
  watch_.emplace().traces = traces;
  outermost_ = true;
}

Watch Script::end_watch() {
  outermost_ = false;
  return *std::exchange(watch_, std::nullopt);
}

Json Script::list(std::span<const Variant> arguments) {
  Json json = Json::array();
  for (const Variant& argument : arguments) json.push_back(to_json(argument, objects_));
  return json;
}

Stub* Script::matching_stub(const MethodInfo& method, std::span<const Variant> arguments) {
  const auto stubs = stubs_.find(&method);
  if (stubs == stubs_.end()) return nullptr;
  for (Stub& stub : stubs->second) {
    if (!stub.when) return &stub;
    if (stub.when->size() > arguments.size()) continue;
    if (list(arguments.first(stub.when->size())) == *stub.when) return &stub;
  }
  return nullptr;
}

bool Script::on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments, Variant& result) {
  const bool outermost = std::exchange(outermost_, false);
  if (watch_ && is_log_entry(table, method))
    watch_->log.push_back({{"source", to_json(arguments[0], objects_)},
                           {"text", to_json(arguments[1], objects_)},
                           {"severity", to_json(arguments[2], objects_)}});
  if (records_calls_) {
    Json& calls = calls_[&table];
    calls.push_back({{"method", method.name}, {"args", list(arguments)}});
  }
  if (Stub* stub = matching_stub(method, arguments)) {
    if (stub->failure.Number != 0) raise(stub->failure.Number, stub->failure.Source, stub->failure.Description);
    result = stub->values[std::min(stub->next, stub->values.size() - 1)];
    ++stub->next;
    return true;
  }
  if (watch_ && outermost) watch_->entered = true;
  return false;
}

void Script::on_statement(std::string_view text, bool by_library) {
  if (watch_ && watch_->traces && by_library) watch_->statements.push_back(std::string(text));
  std::optional<RaisedError> due;
  std::erase_if(failures_, [&](Failure& failure) {
    if (text.find(failure.text) == std::string_view::npos || --failure.left > 0) return false;
    // Of two that fall due on one statement the one that was armed first refuses it.
    if (!due) due = std::move(failure.error);
    return true;
  });
  if (due) raise(due->Number, due->Source, due->Description);
}

}  // namespace mercato::gateway
