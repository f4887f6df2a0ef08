// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/script.h"

#include <algorithm>
#include <utility>

#include "mercato/clock.h"
#include "platform/store/hidden_passwords.h"

namespace mercato::gateway {

Script::~Script() {
  clock::restore_clock();
  collaborators::restore_settings(settings_before_);
}

// Stubs

Script::Stub Script::read_stub(const Params& params) {
  const JsonInput* value = params.find("value");
  const JsonInput* values = params.find("values");
  const JsonInput* raise = params.find("raise");
  if ((value != nullptr) + (values != nullptr) + (raise != nullptr) != 1)
    refuse("A stub has one of \"value\", \"values\" and \"raise\"");

  Stub stub;
  if (const JsonInput* when = params.find("when")) {
    if (!when->is_array()) refuse("\"when\" is an array of leading arguments");
    stub.when = to_json(from_json(*when, objects_), objects_);
  }
  if (value) stub.values.push_back(from_json(*value, objects_));
  if (values) {
    if (!values->is_array() || values->empty()) refuse("\"values\" is an array with at least one value");
    for (const JsonInput& one : *values) stub.values.push_back(from_json(one, objects_));
  }
  if (raise) {
    stub.failure = params.failure("raise");
    if (stub.failure.Number == 0) refuse("A failure's number is not 0");
  }
  return stub;
}

Json Script::stub(const Params& params) {
  const MethodInfo& method = params.method_named("method", params.class_named("progId"));
  Stub stub = read_stub(params);
  std::deque<Stub>& stubs = stubs_[&method];
  std::erase_if(stubs, [&](const Stub& other) { return other.when == stub.when; });
  if (stub.when)
    stubs.push_front(std::move(stub));
  else
    stubs.push_back(std::move(stub));
  return Json::object();
}

Json Script::unstub(const Params& params) {
  if (params.find("progId")) {
    const ClassTable& table = params.class_named("progId");
    std::erase_if(stubs_, [&](const auto& stubbed) { return table.find(stubbed.first->name) == stubbed.first; });
  } else {
    stubs_.clear();
  }
  return Json::object();
}

Script::Stub* Script::matching_stub(const MethodInfo& method, std::span<const Variant> arguments) {
  const auto stubs = stubs_.find(&method);
  if (stubs == stubs_.end()) return nullptr;
  for (Stub& stub : stubs->second) {
    if (!stub.when) return &stub;
    if (stub.when->size() > arguments.size()) continue;
    if (list(arguments.first(stub.when->size())) == *stub.when) return &stub;
  }
  return nullptr;
}

// The record of calls

Json Script::list(std::span<const Variant> arguments) {
  Json json = Json::array();
  for (const Variant& argument : arguments) json.push_back(to_json(argument, objects_));
  return json;
}

Json Script::calls(const Params& params) {
  const auto found = calls_.find(&params.class_named("progId"));
  if (found == calls_.end()) return Json::array();
  Json calls = std::move(found->second);
  calls_.erase(found);
  return calls;
}

bool Script::on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments, Variant& result) {
  Json args = list(arguments);
  for (Json& text : args)
    if (text.is_string()) text = store::without_passwords(text.get<std::string>());
  calls_[&table].push_back({{"method", method.name}, {"args", std::move(args)}});
  Stub* const stub = matching_stub(method, arguments);
  if (!stub) return false;
  if (stub->failure.Number != 0) raise(stub->failure.Number, stub->failure.Source, stub->failure.Description);
  result = stub->values[std::min(stub->next, stub->values.size() - 1)];
  ++stub->next;
  return true;
}

// Failures

Json Script::fail(const Params& params) {
  if (params.get("text").is_null()) {
    failures_.clear();
    return Json::object();
  }
  const std::int64_t nth = params.integer_or("nth", 1);
  if (nth < 1) refuse("\"nth\" counts from 1");
  RaisedError failure = params.failure();
  failures_.push_back({params.text("text"), nth, std::move(failure)});
  return Json::object();
}

void Script::on_statement(std::string_view text, bool) {
  std::optional<RaisedError> due;
  std::erase_if(failures_, [&](Failure& failure) {
    if (text.find(failure.text) == std::string_view::npos || --failure.left > 0) return false;
    // Of two that fall due on one statement the one that was armed first refuses it.
    if (!due) due = std::move(failure.error);
    return true;
  });
  if (due) raise(due->Number, due->Source, due->Description);
}

// Clock and settings

Json Script::clock(const Params& params) {
  if (params.get("now").is_null()) {
    clock::restore_clock();
    return Json::object();
  }
  const std::optional<Date> now = Date::parse(params.text("now"));
  if (!now) refuse("\"now\" is no date");
  clock::script_clock(*now, params.find("step") ? params.number("step") : 0);
  return Json::object();
}

Json Script::configure(const Params& params) {
  collaborators::Settings changed = *collaborators::settings();
  if (params.find("section") || params.find("name") || params.find("value"))
    changed.parameters[params.text("section")][params.text("name")] = from_json(params.get("value"), objects_);
  if (params.find("webRoot")) changed.web_root = params.text("webRoot");
  if (params.find("installDir")) changed.install_dir = params.text("installDir");
  collaborators::set_settings(std::move(changed));
  return Json::object();
}

Json Script::limit(const Params& params) {
  collaborators::Settings changed = *collaborators::settings();
  changed.call_seconds = params.number("callSeconds");
  collaborators::set_settings(std::move(changed));
  return Json::object();
}

}  // namespace mercato::gateway
