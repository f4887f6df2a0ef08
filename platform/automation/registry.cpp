// SPDX-License-Identifier: Apache-2.0
#include "mercato/registry.h"

#include <map>
#include <mutex>
#include <shared_mutex>

#include "values/text.h"

namespace mercato {
namespace {

struct Registry {
  std::shared_mutex mutex;
  std::map<std::string, const ClassTable*, std::less<>> classes;  // by upper-cased ProgID
};

Registry& registry() {
  static Registry instance;
  return instance;
}

}  // namespace

void register_class(const ClassTable& table) {
  std::unique_lock lock(registry().mutex);
  registry().classes[text::to_upper(table.prog_id())] = &table;
}

void unregister_class(const ClassTable& table) {
  std::unique_lock lock(registry().mutex);
  const auto found = registry().classes.find(text::to_upper(table.prog_id()));
  if (found != registry().classes.end() && found->second == &table) registry().classes.erase(found);
}

const ClassTable* registered_class(std::string_view prog_id) {
  std::shared_lock lock(registry().mutex);
  const auto found = registry().classes.find(text::to_upper(prog_id));
  return found == registry().classes.end() ? nullptr : found->second;
}

const ClassTable* registered_class_id(std::string_view class_id) {
  for (const ClassTable* table : registered_classes())
    if (text::equal_names(table->class_id(), class_id)) return table;
  return nullptr;
}

std::vector<const ClassTable*> registered_classes() {
  std::shared_lock lock(registry().mutex);
  std::vector<const ClassTable*> tables;
  for (const auto& [prog_id, table] : registry().classes) tables.push_back(table);
  return tables;
}

}  // namespace mercato
