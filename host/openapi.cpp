// SPDX-License-Identifier: Apache-2.0
#include "host/openapi.h"

#include <string>
#include <string_view>

#include "host/route.h"
#include "mercato/version.h"

namespace mercato::host {
namespace {

using Members = std::initializer_list<std::pair<const char*, const char*>>;

// A type that ends with `?` may be null. What stands in `sometimes` may also be left out.
Json object_of(Members members, Members sometimes = {}) {
  Json properties = Json::object();
  Json required = Json::array();
  const auto add = [&properties](const char* name, std::string_view type) {
    if (type.ends_with("?"))
      properties[name] = {{"type", {std::string(type.substr(0, type.size() - 1)), "null"}}};
    else
      properties[name] = {{"type", type}};
  };
  for (const auto& [name, type] : members) {
    add(name, type);
    required.push_back(name);
  }
  for (const auto& [name, type] : sometimes) add(name, type);
  return {{"type", "object"}, {"required", std::move(required)}, {"properties", std::move(properties)}};
}

Json list_of(Json items) {
  return {{"type", "object"},
          {"required", {"items"}},
          {"properties", {{"items", {{"type", "array"}, {"items", std::move(items)}}}}}};
}

Json upload_schema() {
  return object_of({{"id", "string"},
                    {"kind", "string"},
                    {"mode", "string"},
                    {"state", "string"},
                    {"name", "string?"},
                    {"user", "string?"},
                    {"read", "integer"},
                    {"done", "integer"},
                    {"total", "integer?"},
                    {"accepted", "string?"},
                    {"started", "string?"},
                    {"ended", "string?"},
                    {"findings", "integer"},
                    {"stoppedBy", "string?"},
                    {"counts", "object"}});
}

Json schemas() {
  Json products = list_of(object_of({{"id", "integer"},
                                     {"partNumber", "string"},
                                     {"supplierPartNumber", "string"},
                                     {"description", "string"},
                                     {"unit", "string"},
                                     {"disabled", "boolean"}}));
  products["properties"]["next"] = {{"type", {"string", "null"}}};
  products["properties"]["total"] = {{"type", {"integer", "null"}}};
  Json findings = list_of(object_of({{"partNumber", "string?"},
                                     {"field", "string?"},
                                     {"value", "string?"},
                                     {"reason", "string"},
                                     {"outcome", "string"}}));
  findings["properties"]["next"] = {{"type", {"string", "null"}}};
  findings["properties"]["total"] = {{"type", "integer"}};
  return {
      {"Problem", object_of({{"type", "string"}, {"title", "string"}, {"status", "integer"}, {"detail", "string"}},
                            {{"number", "integer"}, {"source", "string"}, {"description", "string"}})},
      {"Products", std::move(products)},
      {"Product", object_of({{"PRODUCTID", "integer"},
                             {"PARTNUMBER", "string"},
                             {"properties", "array"},
                             {"prices", "array"},
                             {"buyers", "array"},
                             {"categories", "array"},
                             {"alternatives", "array"}})},
      {"Price", object_of({{"product", "integer"},
                           {"quantity", "number"},
                           {"currency", "string"},
                           {"date", "string"},
                           {"price", "number"},
                           {"discountPercent", "number"},
                           {"discountAmount", "number"},
                           {"taxPercent", "number"},
                           {"freight", "number"},
                           {"line", "object"}})},
      {"Catalogs",
       list_of(object_of({{"id", "integer"}, {"name", "string"}, {"description", "string"}, {"active", "boolean"}}))},
      {"Nodes", list_of(object_of({{"id", "integer"},
                                   {"parent", "integer?"},
                                   {"name", "string"},
                                   {"type", "integer"},
                                   {"category", "integer?"},
                                   {"children", "integer"}},
                                  {{"sees", "boolean"}, {"orders", "boolean"}, {"viewOnly", "boolean"}}))},
      {"Rights", object_of({{"user", "string"},
                            {"node", "integer"},
                            {"sight", "string"},
                            {"steps", "array"},
                            {"endless", "boolean"},
                            {"sees", "boolean"},
                            {"orders", "boolean"},
                            {"viewOnly", "boolean"}})},
      {"List", list_of({{"type", "object"}})},
      {"Upload", upload_schema()},
      {"Uploads", list_of({{"$ref", "#/components/schemas/Upload"}})},
      {"Findings", std::move(findings)},
      {"Document", {{"type", "string"}}},
      {"Events", {{"type", "string"}}},
      {"Session", object_of({{"name", "string"}, {"role", "string"}, {"user", "string?"}})},
      {"RpcAnswer", {{"type", {"object", "array"}}}},
      {"Description", {{"type", "object"}}},
      {"Text", {{"type", "string"}}}};
}

Json schema_of(const Parameter& parameter) {
  switch (parameter.kind) {
    case Parameter::Kind::integer:
      return {{"type", "integer"}, {"minimum", parameter.least}, {"maximum", parameter.most}};
    case Parameter::Kind::number:
      return {{"type", "number"}, {"exclusiveMinimum", 0}};
    case Parameter::Kind::day:
      return {{"type", "string"}, {"format", "date"}};
    case Parameter::Kind::choice: {
      Json choices = Json::array();
      std::string_view rest = parameter.choices;
      for (;;) {
        const std::size_t end = rest.find('|');
        choices.push_back(rest.substr(0, end));
        if (end == std::string_view::npos) return {{"type", "string"}, {"enum", std::move(choices)}};
        rest.remove_prefix(end + 1);
      }
    }
    default:
      return {{"type", "string"}};
  }
}

Json example_of(const Parameter& parameter) {
  if (parameter.kind == Parameter::Kind::integer || parameter.kind == Parameter::Kind::number)
    return Json::parse(parameter.example);
  return parameter.example;
}

Json parameters_of(const Route& route) {
  Json list = Json::array();
  for (const Parameter& parameter : route.parameters) {
    const bool in_path =
        std::string_view(route.path).find(std::string("{") + parameter.name + "}") != std::string_view::npos;
    Json one = {{"name", parameter.name},
                {"in", in_path ? "path" : "query"},
                {"required", parameter.required},
                {"description", parameter.description},
                {"schema", schema_of(parameter)}};
    if (*parameter.example != '\0') one["example"] = example_of(parameter);
    list.push_back(std::move(one));
  }
  return list;
}

const char* media_type_of(std::string_view answer) {
  return answer == "Text"       ? "text/plain"
         : answer == "Document" ? "application/xml"
         : answer == "Events"   ? "text/event-stream"
                                : "application/json";
}

Json operation_of(const Route& route) {
  Json operation = {{"summary", route.summary}};
  if (!route.parameters.empty()) operation["parameters"] = parameters_of(route);
  if (route.takes_document)
    operation["requestBody"] = {
        {"required", true},
        {"content", {{"application/xml", {{"schema", {{"type", "string"}}}, {"example", Json::parse(route.body)}}}}}};
  else if (*route.body != '\0')
    operation["requestBody"] = {
        {"required", true},
        {"content",
         {{"application/json", {{"schema", {{"type", {"object", "array"}}}}, {"example", Json::parse(route.body)}}}}}};
  const std::string_view answer = route.answer;
  Json responses = Json::object();
  if (answer.empty())
    responses["204"] = {{"description", "Done"}};
  else
    responses[std::to_string(route.status)] = {
        {"description", "The answer"},
        {"content",
         {{media_type_of(answer), {{"schema", {{"$ref", "#/components/schemas/" + std::string(answer)}}}}}}}};
  responses["default"] = {{"$ref", "#/components/responses/Problem"}};
  operation["responses"] = std::move(responses);
  if (route.role == Role::nobody)
    operation["security"] = Json::array();
  else
    operation["description"] = "For the role " + std::string(name_of(route.role)) + " and those above it.";
  return operation;
}

}  // namespace

Json openapi() {
  Json paths = Json::object();
  for (const Route& route : routes()) {
    std::string method = route.method;
    for (char& letter : method) letter = static_cast<char>(letter - 'A' + 'a');
    paths[route.path][method] = operation_of(route);
  }
  return {{"openapi", "3.1.0"},
          {"info", {{"title", "Mercato"}, {"version", MERCATO_VERSION}}},
          {"paths", std::move(paths)},
          {"security", Json::array({Json{{"bearer", Json::array()}}})},
          {"components",
           {{"securitySchemes", {{"bearer", {{"type", "http"}, {"scheme", "bearer"}}}}},
            {"schemas", schemas()},
            {"responses",
             {{"Problem",
               {{"description", "What was refused, and why"},
                {"content",
                 {{"application/problem+json", {{"schema", {{"$ref", "#/components/schemas/Problem"}}}}}}}}}}}}}};
}

}  // namespace mercato::host
