// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/params.h"

#include <algorithm>
#include <limits>

#include "mercato/registry.h"

namespace mercato::gateway {

Params::Params(const JsonInput& json, const std::vector<std::string_view>& names) : json_(json) {
  if (!json.is_object()) refuse("The parameters are given by name");
  for (const auto& [name, value] : json.items())
    if (std::find(names.begin(), names.end(), name) == names.end()) refuse("There is no parameter \"" + name + "\"");
}

const JsonInput* Params::find(const char* name) const {
  const auto found = json_.find(name);
  return found == json_.end() ? nullptr : &*found;
}

const JsonInput& Params::get(const char* name) const {
  const JsonInput* value = find(name);
  if (!value) refuse(std::string("The parameter \"") + name + "\" is missing");
  return *value;
}

std::string Params::text(const char* name) const {
  const JsonInput& value = get(name);
  if (!value.is_string()) refuse(std::string("The parameter \"") + name + "\" is a string");
  return value.get<std::string>();
}

std::string Params::text_or(const char* name, const char* otherwise) const {
  return find(name) ? text(name) : otherwise;
}

std::int64_t Params::integer(const char* name) const {
  const JsonInput& value = get(name);
  if (!value.is_number_integer()) refuse(std::string("The parameter \"") + name + "\" is an integer");
  return value.get<std::int64_t>();
}

std::int64_t Params::integer_or(const char* name, std::int64_t otherwise) const {
  return find(name) ? integer(name) : otherwise;
}

double Params::number(const char* name) const {
  const JsonInput& value = get(name);
  if (!value.is_number()) refuse(std::string("The parameter \"") + name + "\" is a number");
  return value.get<double>();
}

const ClassTable& Params::class_named(const char* name) const {
  const std::string prog_id = text(name);
  const ClassTable* table = registered_class(prog_id);
  if (!table) refuse("Nobody answers to '" + prog_id + "'");
  return *table;
}

const MethodInfo& Params::method_named(const char* name, const ClassTable& table) const {
  const std::string called = text(name);
  const MethodInfo* method = table.find(called);
  if (!method) refuse(table.prog_id() + " has no method '" + called + "'");
  return *method;
}

const JsonInput& Params::arguments() const {
  static const JsonInput none = JsonInput::array();
  const JsonInput* args = find("args");
  return args ? *args : none;
}

RaisedError Params::failure() const {
  const std::int64_t given = integer("number");
  if (given < std::numeric_limits<std::int32_t>::min() || given > std::numeric_limits<std::uint32_t>::max())
    refuse("The parameter \"number\" has 32 bits");
  const auto number = static_cast<std::int32_t>(static_cast<std::uint32_t>(given));
  return {number, text_or("source", ""), text_or("description", ""), {}, 0};
}

RaisedError Params::failure(const char* name) const {
  return Params(get(name), {"number", "source", "description"}).failure();
}

}  // namespace mercato::gateway
