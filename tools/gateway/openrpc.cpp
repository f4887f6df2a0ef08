// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/openrpc.h"

#include <map>
#include <string>
#include <utility>

#include "tools/gateway/describe.h"
#include "tools/gateway/rpc_error.h"

namespace mercato::gateway {
namespace {

Json ref(const std::string& schema) { return {{"$ref", "#/components/schemas/" + schema}}; }
Json type(const char* name) { return {{"type", name}}; }
Json object(Json properties, Json required) {
  return {{"type", "object"}, {"properties", std::move(properties)}, {"required", std::move(required)}};
}
Json array_of(Json items) { return {{"type", "array"}, {"items", std::move(items)}}; }
// A value with a form of its own.
Json form(const char* name, Json properties = Json::object()) {
  Json required = Json::array({"$"});
  for (const auto& [member, schema] : properties.items()) required.push_back(member);
  Json all = {{"$", {{"const", name}}}};
  all.update(properties);
  return object(std::move(all), std::move(required));
}

// The schema of a type at the interface; that of any value for what has no plain one.
Json schema_of(const std::string& name) {
  static const std::map<std::string, Json> schemas = {
      {"long", type("integer")},         {"short", type("integer")},     {"double", type("number")},
      {"string", type("string")},        {"boolean", type("boolean")},   {"date", ref("Date")},
      {"currency", ref("Currency")},     {"array", ref("Array")},        {"Dictionary", ref("Dictionary")},
      {"Collection", ref("Collection")}, {"Recordset", ref("Recordset")}};
  const auto found = schemas.find(name);
  return found == schemas.end() ? ref("Value") : found->second;
}

Json value_schemas() {
  const Json pairs = array_of({{"type", "array"}, {"items", ref("Value")}, {"minItems", 2}, {"maxItems", 2}});
  const Json strings = array_of(type("string"));
  const Json rows = array_of(array_of(ref("Value")));
  const Json array = {
      {"oneOf",
       {array_of(ref("Value")), form("array", {{"lower", type("integer")}, {"items", array_of(ref("Value"))}})}}};
  Json any = Json::array({{{"type", {"null", "string", "boolean", "number"}}}});
  for (const char* name :
       {"Unset", "Short", "Date", "Currency", "Array", "Dictionary", "Collection", "Recordset", "Object"})
    any.push_back(ref(name));
  return {{"Value",
           {{"description", "Null, a text, a Boolean, a number, or a value with a form of its own"},
            {"oneOf", std::move(any)}}},
          {"Unset", object({{"$", {{"enum", {"empty", "missing", "nothing"}}}}}, {"$"})},
          {"Short", form("short", {{"value", type("integer")}})},
          {"Date", form("date", {{"value", {{"type", "string"}, {"examples", {"2026-07-01T08:30:00"}}}}})},
          {"Currency", form("currency", {{"value", {{"type", "string"}, {"examples", {"12.3400"}}}}})},
          {"Array", array},
          {"Dictionary", form("dictionary", {{"items", pairs}})},
          {"Collection", form("collection", {{"items", pairs}})},
          {"Recordset", form("recordset", {{"fields", strings}, {"rows", rows}})},
          {"Object", form("object", {{"id", type("integer")}, {"progId", type("string")}})},
          {"Arguments",
           {{"description", "By position, or by name; those that may be left out may be left out"},
            {"oneOf", {array_of(ref("Value")), type("object")}}}},
          {"LogEntry", object({{"source", type("string")}, {"text", type("string")}, {"severity", type("integer")}},
                              {"source", "text", "severity"})},
          {"Vote", {{"enum", {"commit", "abort", "none"}}}},
          {"Outcome", {{"enum", {"committed", "rolledback", "open", "none"}}}},
          {"Rows", rows}};
}

Json call_result(Json value) {
  return object({{"value", std::move(value)},
                 {"args", array_of(ref("Value"))},
                 {"vote", ref("Vote")},
                 {"outcome", ref("Outcome")},
                 {"log", array_of(ref("LogEntry"))},
                 {"statements", array_of(type("string"))}},
                {"value", "args", "vote", "outcome", "log"});
}

Json parameter(const char* name, Json schema, bool required = true) {
  return {{"name", name}, {"required", required}, {"schema", std::move(schema)}};
}

Json method(const char* name, const char* description, Json parameters, Json result) {
  return {{"name", name},
          {"description", description},
          {"paramStructure", "by-name"},
          {"params", std::move(parameters)},
          {"result", {{"name", "result"}, {"schema", std::move(result)}}},
          {"errors", Json::array({{{"$ref", "#/components/errors/CallFailed"}}})}};
}

Json own_methods() {
  const Json prog_id = parameter("progId", type("string"));
  const Json name = parameter("method", type("string"));
  const Json args = parameter("args", ref("Arguments"), false);
  const Json cursor = {{"type", {"integer", "null"}}};
  const Json page_size = {{"type", "integer"}, {"minimum", 1}};
  return Json::array(
      {method("create", "Creates an object with a context of its own.", Json::array({prog_id}),
              object({{"object", type("integer")}}, {"object"})),
       method("call", "Calls a method of an object.", Json::array({parameter("object", type("integer")), name, args}),
              call_result(ref("Value"))),
       method("release", "Drops an object, or the rows that a cursor has not given yet.",
              Json::array({parameter("object", type("integer"), false), parameter("cursor", type("integer"), false)}),
              object({{"outcome", ref("Outcome")}}, {"outcome"})),
       method("invoke", "Creates an object, calls a method of it, and drops it.", Json::array({prog_id, name, args}),
              call_result(ref("Value"))),
       method("execute", "Runs one statement. With `rows` the result has so many at most, and a cursor.",
              Json::array({parameter("sql", type("string")), parameter("rows", page_size, false)}),
              object({{"affected", type("integer")},
                      {"fields", array_of(type("string"))},
                      {"rows", ref("Rows")},
                      {"cursor", cursor}},
                     {"affected", "fields", "rows"})),
       method("fetch", "The next rows of a cursor: 1,000 unless `rows` says how many.",
              Json::array({parameter("cursor", type("integer")), parameter("rows", page_size, false)}),
              object({{"rows", ref("Rows")}, {"cursor", cursor}}, {"rows", "cursor"})),
       method("describe", "The classes, their methods and arguments.",
              Json::array({parameter("progId", type("string"), false)}), type("object")),
       method("cancel", "Ends a request that runs or waits, with the failure of the call limit. Answered at once.",
              Json::array({parameter("id", {{"type", {"string", "number"}}})}), type("boolean"))});
}

Json method_of_class(const Json& one, const Json& method) {
  Json parameters = Json::array();
  for (const Json& argument : method.at("arguments"))
    parameters.push_back({{"name", argument.at("name")},
                          {"description", argument.at("description")},
                          {"required", !argument.at("optional").get<bool>()},
                          {"schema", schema_of(argument.at("type"))}});
  const Json& result = method.at("result");
  Json json = {{"name", one.at("progId").get<std::string>() + "." + method.at("name").get<std::string>()},
               {"description", method.at("description")},
               {"tags", Json::array({{{"name", one.at("progId")}}})},
               {"paramStructure", "by-name"},
               {"params", std::move(parameters)},
               {"result",
                {{"name", "result"},
                 {"schema", call_result(result.is_null() ? ref("Unset") : schema_of(result.get<std::string>()))}}},
               {"errors", Json::array({{{"$ref", "#/components/errors/CallFailed"}}})}};
  if (method.at("deprecated") == true) json["deprecated"] = true;
  return json;
}

}  // namespace

Json openrpc(std::string_view version) {
  Json methods = own_methods();
  const Json described = describe({}, Detail::whole);
  for (const Json& one : described.at("classes"))
    for (const Json& method : one.at("methods")) methods.push_back(method_of_class(one, method));
  const Json failure = object({{"number", type("integer")},
                               {"source", type("string")},
                               {"description", type("string")},
                               {"helpFile", type("string")},
                               {"helpContext", type("integer")}},
                              {"number", "source", "description"});
  return {{"openrpc", "1.2.6"},
          {"info", {{"title", "Mercato"}, {"version", version}, {"license", {{"name", "Apache-2.0"}}}}},
          {"methods", std::move(methods)},
          {"components",
           {{"schemas", value_schemas()},
            {"errors",
             {{"CallFailed",
               {{"code", kCallFailed}, {"message", "The description of the failure"}, {"data", failure}}}}}}}};
}

}  // namespace mercato::gateway
