// SPDX-License-Identifier: Apache-2.0
// The objects that a client holds, by handle. Handles count from 1 and are never given twice. One thread at a time.
#pragma once

#include <cstdint>
#include <map>
#include <unordered_map>

#include "mercato/object.h"

namespace mercato::gateway {

class ObjectTable {
 public:
  // The object's handle; a new one when it has none.
  std::int64_t handle_of(const ObjectPtr& object);
  // Null when nobody has the handle.
  ObjectPtr find(std::int64_t handle) const;
  void remove(std::int64_t handle);
  // The handles that are in use, in the order in which they were given.
  const std::map<std::int64_t, ObjectPtr>& objects() const { return objects_; }

 private:
  std::map<std::int64_t, ObjectPtr> objects_;
  std::unordered_map<const Object*, std::int64_t> handles_;
  std::int64_t last_handle_ = 0;
};

}  // namespace mercato::gateway
