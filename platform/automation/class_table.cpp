// SPDX-License-Identifier: Apache-2.0
#include "mercato/class_table.h"

#include <algorithm>

#include "values/text.h"

namespace mercato {

std::string_view Component::type_name() const { return class_table().class_name(); }

std::string_view attribute_name(TransactionAttribute attribute) {
  switch (attribute) {
    case TransactionAttribute::required:
      return "required";
    case TransactionAttribute::none:
      return "none";
    case TransactionAttribute::undeclared:
      return "undeclared";
  }
  return {};
}

ArgumentName optional(const char* name, Variant default_value) {
  ArgumentName argument(name);
  argument.optional = true;
  argument.default_value = std::move(default_value);
  return argument;
}

ClassTable& ClassTable::deprecated(std::string instead) {
  methods_.back().deprecated = std::move(instead);
  return *this;
}

ClassTable& ClassTable::returns(std::string_view type) {
  methods_.back().result = type;
  return *this;
}

ClassTable& ClassTable::takes(std::string_view argument, std::string_view type) {
  for (ArgumentInfo& info : methods_.back().arguments)
    if (info.name == argument) info.type = type;
  return *this;
}

std::string_view ClassTable::class_name() const { return std::string_view(prog_id_).substr(prog_id_.find('.') + 1); }

const MethodInfo* ClassTable::find(std::string_view name) const {
  for (const auto* methods : {&methods_, &interface_methods_})
    for (const MethodInfo& method : *methods)
      if (text::equal_names(method.name, name)) return &method;
  return nullptr;
}

}  // namespace mercato
