// SPDX-License-Identifier: Apache-2.0
// A component: an object that knows its class table, by which late-bound clients call it, and the context that the
// transaction server gave it. One call at a time.
#pragma once

#include <memory>
#include <string_view>

#include "mercato/export.h"
#include "mercato/object.h"

namespace mercato {

class ClassTable;
class ObjectContext;

/// An object that can be called by name. One call at a time.
class MERCATO_API Component : public Object, public std::enable_shared_from_this<Component> {
 public:
  /// The name of the class at the interface.
  static constexpr std::string_view kClassName = "object";
  std::string_view type_name() const override;

  /// How its class describes itself.
  virtual const ClassTable& class_table() const = 0;

  /// Null when the object was created without the transaction server.
  const std::shared_ptr<ObjectContext>& context() const { return context_; }
  /// For the transaction server, which gives each object its context.
  void set_context(std::shared_ptr<ObjectContext> context) { context_ = std::move(context); }

 private:
  std::shared_ptr<ObjectContext> context_;
};

/// Shared with whoever holds it.
using ComponentPtr = std::shared_ptr<Component>;

}  // namespace mercato
