// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/object_table.h"

#include <new>

namespace mercato::gateway {

std::int64_t ObjectTable::handle_of(const ObjectPtr& object) {
  if (const auto known = handles_.find(object.get()); known != handles_.end()) return known->second;
  const auto place = objects_.emplace(last_handle_ + 1, object).first;
  try {
    handles_.emplace(object.get(), place->first);
  } catch (const std::bad_alloc&) {
    objects_.erase(place);  // an object has both or none
    throw;
  }
  return ++last_handle_;
}

ObjectPtr ObjectTable::find(std::int64_t handle) const {
  const auto found = objects_.find(handle);
  return found == objects_.end() ? nullptr : found->second;
}

void ObjectTable::remove(std::int64_t handle) {
  const auto found = objects_.find(handle);
  if (found == objects_.end()) return;
  const ObjectPtr object = found->second;  // released last: its end may call back into this table
  handles_.erase(object.get());
  objects_.erase(found);
}

}  // namespace mercato::gateway
