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

class MERCATO_API Component : public Object, public std::enable_shared_from_this<Component> {
 public:
  static constexpr std::string_view kClassName = "object";
  std::string_view type_name() const override;

  virtual const ClassTable& class_table() const = 0;

  /// Null when the object was created without the transaction server.
  const std::shared_ptr<ObjectContext>& context() const { return context_; }
  void set_context(std::shared_ptr<ObjectContext> context) { context_ = std::move(context); }

 private:
  std::shared_ptr<ObjectContext> context_;
};

using ComponentPtr = std::shared_ptr<Component>;

}  // namespace mercato
