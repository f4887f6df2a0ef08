// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/openrpc.h"

#include <map>
#include <string>
#include <utility>

#include "tools/gateway/describe.h"
#include "tools/gateway/rpc_error.h"

namespace mercato::gateway {
namespace {

Json reference_to(const std::string& schema) { return {{"$ref", "#/components/schemas/" + schema}}; }
Json plain_type(const char* name) { return {{"type", name}}; }
Json object_schema(Json properties, Json required) {
  return {{"type", "object"}, {"properties", std::move(properties)}, {"required", std::move(required)}};
}
Json array_of(Json items) { return {{"type", "array"}, {"items", std::move(items)}}; }
// A value with a form of its own.
Json value_form(const char* name, Json properties = Json::object()) {
  Json required = Json::array({"$"});
  for (const auto& [member, schema] : properties.items()) required.push_back(member);
  Json all = {{"$", {{"const", name}}}};
  all.update(properties);
  return object_schema(std::move(all), std::move(required));
}

// The schema of a type at the interface; that of any value for what has no plain one.
Json schema_of(const std::string& name) {
  static const std::map<std::string, Json> schemas = {{"long", plain_type("integer")},
                                                      {"short", plain_type("integer")},
                                                      {"double", plain_type("number")},
                                                      {"string", plain_type("string")},
                                                      {"boolean", plain_type("boolean")},
                                                      {"date", reference_to("Date")},
                                                      {"currency", reference_to("Currency")},
                                                      {"array", reference_to("Array")},
                                                      {"Dictionary", reference_to("Dictionary")},
                                                      {"Collection", reference_to("Collection")},
                                                      {"Recordset", reference_to("Recordset")}};
  const auto found = schemas.find(name);
  return found == schemas.end() ? reference_to("Value") : found->second;
}

Json value_schemas() {
  const Json pairs = array_of({{"type", "array"}, {"items", reference_to("Value")}, {"minItems", 2}, {"maxItems", 2}});
  const Json strings = array_of(plain_type("string"));
  const Json rows = array_of(array_of(reference_to("Value")));
  const Json array = {
      {"oneOf",
       {array_of(reference_to("Value")),
        value_form("array", {{"lower", plain_type("integer")}, {"items", array_of(reference_to("Value"))}})}}};
  Json any = Json::array({{{"type", {"null", "string", "boolean", "number"}}}});
  for (const char* name :
       {"Unset", "Short", "Date", "Currency", "Array", "Dictionary", "Collection", "Recordset", "Object"})
    any.push_back(reference_to(name));
  return {{"Value",
           {{"description", "Null, a text, a Boolean, a number, or a value with a form of its own"},
            {"oneOf", std::move(any)}}},
          {"Unset", object_schema({{"$", {{"enum", {"empty", "missing", "nothing"}}}}}, {"$"})},
          {"Short", value_form("short", {{"value", plain_type("integer")}})},
          {"Date", value_form("date", {{"value", {{"type", "string"}, {"examples", {"2026-07-01T08:30:00"}}}}})},
          {"Currency", value_form("currency", {{"value", {{"type", "string"}, {"examples", {"12.3400"}}}}})},
          {"Array", array},
          {"Dictionary", value_form("dictionary", {{"items", pairs}})},
          {"Collection", value_form("collection", {{"items", pairs}})},
          {"Recordset", value_form("recordset", {{"fields", strings}, {"rows", rows}})},
          {"Object", value_form("object", {{"id", plain_type("integer")}, {"progId", plain_type("string")}})},
          {"Arguments",
           {{"description", "By position, or by name; those that may be left out may be left out"},
            {"oneOf", {array_of(reference_to("Value")), plain_type("object")}}}},
          {"LogEntry",
           object_schema(
               {{"source", plain_type("string")}, {"text", plain_type("string")}, {"severity", plain_type("integer")}},
               {"source", "text", "severity"})},
          {"Vote", {{"enum", {"commit", "abort", "none"}}}},
          {"Outcome", {{"enum", {"committed", "rolledback", "open", "none"}}}},
          {"Rows", rows}};
}

Json call_result(Json value) {
  return object_schema({{"value", std::move(value)},
                        {"args", array_of(reference_to("Value"))},
                        {"vote", reference_to("Vote")},
                        {"outcome", reference_to("Outcome")},
                        {"log", array_of(reference_to("LogEntry"))},
                        {"statements", array_of(plain_type("string"))}},
                       {"value", "args", "vote", "outcome", "log"});
}

Json parameter_schema(const char* name, Json schema, bool required = true) {
  return {{"name", name}, {"required", required}, {"schema", std::move(schema)}};
}

Json method_schema(const char* name, const char* description, Json parameters, Json result) {
  return {{"name", name},
          {"description", description},
          {"paramStructure", "by-name"},
          {"params", std::move(parameters)},
          {"result", {{"name", "result"}, {"schema", std::move(result)}}},
          {"errors", Json::array({{{"$ref", "#/components/errors/CallFailed"}}})}};
}

Json own_methods() {
  const Json prog_id = parameter_schema("progId", plain_type("string"));
  const Json name = parameter_schema("method", plain_type("string"));
  const Json args = parameter_schema("args", reference_to("Arguments"), false);
  const Json cursor = {{"type", {"integer", "null"}}};
  const Json page_size = {{"type", "integer"}, {"minimum", 1}};
  return Json::array(
      {method_schema("create", "Creates an object with a context of its own.", Json::array({prog_id}),
                     object_schema({{"object", plain_type("integer")}}, {"object"})),
       method_schema("call", "Calls a method of an object.",
                     Json::array({parameter_schema("object", plain_type("integer")), name, args}),
                     call_result(reference_to("Value"))),
       method_schema("release", "Drops an object, or the rows that a cursor has not given yet.",
                     Json::array({parameter_schema("object", plain_type("integer"), false),
                                  parameter_schema("cursor", plain_type("integer"), false)}),
                     object_schema({{"outcome", reference_to("Outcome")}}, {"outcome"})),
       method_schema("invoke", "Creates an object, calls a method of it, and drops it.",
                     Json::array({prog_id, name, args}), call_result(reference_to("Value"))),
       method_schema(
           "execute", "Runs one statement. With `rows` the result has so many at most, and a cursor.",
           Json::array({parameter_schema("sql", plain_type("string")), parameter_schema("rows", page_size, false)}),
           object_schema({{"affected", plain_type("integer")},
                          {"fields", array_of(plain_type("string"))},
                          {"rows", reference_to("Rows")},
                          {"cursor", cursor}},
                         {"affected", "fields", "rows"})),
       method_schema(
           "fetch", "The next rows of a cursor: 1,000 unless `rows` says how many.",
           Json::array({parameter_schema("cursor", plain_type("integer")), parameter_schema("rows", page_size, false)}),
           object_schema({{"rows", reference_to("Rows")}, {"cursor", cursor}}, {"rows", "cursor"})),
       method_schema("describe", "The classes, their methods and arguments.",
                     Json::array({parameter_schema("progId", plain_type("string"), false)}), plain_type("object")),
       method_schema("cancel",
                     "Ends a request that runs or waits, with the failure of the call limit. Answered at once.",
                     Json::array({parameter_schema("id", {{"type", {"string", "number"}}})}), plain_type("boolean"))});
}

Json method_of_class(const Json& one, const Json& method) {
  Json parameters = Json::array();
  for (const Json& argument : method.at("arguments"))
    parameters.push_back({{"name", argument.at("name")},
                          {"description", argument.at("description")},
                          {"required", !argument.at("optional").get<bool>()},
                          {"schema", schema_of(argument.at("type"))}});
  const Json& result = method.at("result");
  Json json = {
      {"name", one.at("progId").get<std::string>() + "." + method.at("name").get<std::string>()},
      {"description", method.at("description")},
      {"tags", Json::array({{{"name", one.at("progId")}}})},
      {"paramStructure", "by-name"},
      {"params", std::move(parameters)},
      {"result",
       {{"name", "result"},
        {"schema", call_result(result.is_null() ? reference_to("Unset") : schema_of(result.get<std::string>()))}}},
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
  const Json failure = object_schema({{"number", plain_type("integer")},
                                      {"source", plain_type("string")},
                                      {"description", plain_type("string")},
                                      {"helpFile", plain_type("string")},
                                      {"helpContext", plain_type("integer")}},
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
