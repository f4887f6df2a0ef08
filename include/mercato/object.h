// What a Variant can hold by reference: Dictionary, Collection, Recordset, components. Shared, never copied.
#pragma once

#include <memory>
#include <string_view>

#include "mercato/export.h"

namespace mercato {

class MERCATO_API Object {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  /// The class's plain name, such as "Dictionary".
  virtual std::string_view type_name() const = 0;
};

using ObjectPtr = std::shared_ptr<Object>;

}  // namespace mercato
