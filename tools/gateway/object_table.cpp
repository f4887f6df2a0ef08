#include "tools/gateway/object_table.h"

namespace mercato::gateway {

std::int64_t ObjectTable::handle_of(const ObjectPtr& object) {
  const auto [known, is_new] = handles_.try_emplace(object.get(), last_handle_ + 1);
  if (is_new) objects_.emplace(++last_handle_, object);
  return known->second;
}

ObjectPtr ObjectTable::find(std::int64_t handle) const {
  const auto found = objects_.find(handle);
  return found == objects_.end() ? nullptr : found->second;
}

void ObjectTable::remove(std::int64_t handle) {
  const auto found = objects_.find(handle);
  if (found == objects_.end()) return;
  const ObjectPtr object = found->second;  // dies last: its end may call back
  handles_.erase(object.get());
  objects_.erase(found);
}

}  // namespace mercato::gateway
