// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/describe.h"

#include <algorithm>
#include <vector>

#include "mercato/registry.h"
#include "mercato/server.h"
#include "tools/gateway/header_comments.h"
#include "tools/gateway/rpc_error.h"
#include "values/text.h"

namespace mercato::gateway {
namespace {

Json describe_argument(const ArgumentInfo& argument, const MethodComment* comment) {
  ObjectTable no_objects;
  Json json = {{"name", argument.name},
               {"type", argument.type},
               {"byReference", argument.by_reference},
               {"optional", argument.optional},
               {"default", argument.optional ? to_json(argument.default_value, no_objects) : Json(nullptr)}};
  if (comment) json["description"] = description_of_argument(*comment, argument.name);
  return json;
}

// Of a method that no header declares there is nothing to say.
const MethodComment& comment_of(const ClassComment& described, const std::string& method) {
  static const MethodComment none;
  const auto found = described.methods.find(text::to_lower(method));
  return found == described.methods.end() ? none : found->second;
}

// `described`: null when only the tables are asked for.
Json describe_method(const MethodInfo& method, const ClassComment* described) {
  const MethodComment* const comment = described ? &comment_of(*described, method.name) : nullptr;
  Json arguments = Json::array();
  for (const ArgumentInfo& argument : method.arguments) arguments.push_back(describe_argument(argument, comment));
  Json json = {{"name", method.name},
               {"arguments", std::move(arguments)},
               {"result", method.result.empty() ? Json(nullptr) : Json(method.result)},
               {"deprecated", !method.deprecated.empty()}};
  if (!comment) return json;
  json["description"] = comment->text;
  json["failures"] = failures_in(comment->text);
  if (!method.deprecated.empty())
    json["replacedBy"] = method.deprecated.starts_with("Mercato.") ? Json(method.deprecated) : Json(nullptr);
  return json;
}

Json describe_class(const ClassTable& table, Detail detail) {
  static const ClassComment none;
  const auto found = class_comments().find(table.class_name());
  const ClassComment* const described = detail == Detail::tables          ? nullptr
                                        : found == class_comments().end() ? &none
                                                                          : &found->second;
  Json methods = Json::array();
  for (const MethodInfo& method : table.methods()) methods.push_back(describe_method(method, described));
  for (const char* name : {"IReferentialIntegrity_BeforeDelete", "IReferentialIntegrity_Exists"})
    if (const MethodInfo* method = table.find(name)) methods.push_back(describe_method(*method, described));
  Json json = {{"progId", table.prog_id()},
               {"defaultInterface", table.default_interface()},
               {"transaction", attribute_name(table.attribute())},
               {"implements", table.implements()},
               {"methods", std::move(methods)}};
  if (described) {
    json["description"] = described->text;
    json["failures"] = failures_in(described->text);
  }
  return json;
}

}  // namespace

Json describe(std::string_view prog_id, Detail detail) {
  std::vector<const ClassTable*> tables;
  if (prog_id.empty()) {
    const auto classes = library_classes();
    tables.assign(classes.begin(), classes.end());
    std::sort(tables.begin(), tables.end(),
              [](const ClassTable* left, const ClassTable* right) { return left->prog_id() < right->prog_id(); });
  } else if (const ClassTable* table = registered_class(prog_id)) {
    tables.push_back(table);
  } else {
    refuse("Nobody answers to '" + std::string(prog_id) + "'");
  }
  Json classes = Json::array();
  for (const ClassTable* table : tables) classes.push_back(describe_class(*table, detail));
  return {{"classes", std::move(classes)}};
}

}  // namespace mercato::gateway
