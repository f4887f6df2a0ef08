// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/describe.h"

#include <algorithm>
#include <vector>

#include "mercato/registry.h"
#include "mercato/server.h"
#include "tools/gateway/rpc_error.h"

namespace mercato::gateway {
namespace {

Json describe_argument(const ArgumentInfo& argument) {
  ObjectTable no_objects;
  return {{"name", argument.name},
          {"type", argument.type},
          {"byReference", argument.by_reference},
          {"optional", argument.optional},
          {"default", argument.optional ? to_json(argument.default_value, no_objects) : Json(nullptr)}};
}

Json describe_method(const MethodInfo& method) {
  Json arguments = Json::array();
  for (const ArgumentInfo& argument : method.arguments) arguments.push_back(describe_argument(argument));
  return {{"name", method.name},
          {"arguments", std::move(arguments)},
          {"result", method.result.empty() ? Json(nullptr) : Json(method.result)},
          {"deprecated", !method.deprecated.empty()}};
}

Json describe_class(const ClassTable& table) {
  Json methods = Json::array();
  for (const MethodInfo& method : table.methods()) methods.push_back(describe_method(method));
  return {{"progId", table.prog_id()},
          {"defaultInterface", table.default_interface()},
          {"transaction", attribute_name(table.attribute())},
          {"implements", table.implements()},
          {"methods", std::move(methods)}};
}

}  // namespace

Json describe(std::string_view prog_id) {
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
  for (const ClassTable* table : tables) classes.push_back(describe_class(*table));
  return {{"classes", std::move(classes)}};
}

}  // namespace mercato::gateway
