// SPDX-License-Identifier: Apache-2.0
// What a Variant can hold by reference: Dictionary, Collection, Recordset, components. Shared, never copied.
#pragma once

#include <memory>
#include <string_view>

#include "mercato/export.h"

namespace mercato {

/// What a Variant holds by reference. Shared, never copied.
class MERCATO_API Object {
 public:
  /// Only classes that derive from it are made.
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  /// The class's plain name, such as "Dictionary".
  virtual std::string_view type_name() const = 0;
};

/// Shared with whoever holds it.
using ObjectPtr = std::shared_ptr<Object>;

}  // namespace mercato
