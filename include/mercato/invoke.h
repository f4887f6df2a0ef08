// SPDX-License-Identifier: Apache-2.0
// Late-bound calls. Every call between components passes here, so that a call can be watched, or answered in a
// component's place.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "mercato/class_table.h"
#include "mercato/export.h"

namespace mercato {

/// Calls a method by its name in any case, under the target's context. Arguments that were left out are added to
/// `arguments` with their defaults. After the call, failed or not, it holds what became of the arguments by reference.
/// Raises 438 for an unknown method, 450 for too many arguments, 449 for one that is missing and has no default, what
/// conversions of arguments raise, what the method raises, and 7 when there is no memory for the call.
MERCATO_API Variant invoke(const ComponentPtr& target, std::string_view method, std::vector<Variant>& arguments);
/// The same, for a caller that does not want the updated arguments.
MERCATO_API Variant invoke(const ComponentPtr& target, std::string_view method,
                           std::initializer_list<Variant> arguments);

/// Watches this thread's late-bound calls.
class MERCATO_API CallObserver {
 public:
  virtual ~CallObserver() = default;
  /// Comes before the call. True: `result` is the answer, and the method is not run. May raise in the method's place.
  virtual bool on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments,
                       Variant& result) = 0;
};

/// The thread's observer; returns the one before.
MERCATO_API CallObserver* set_call_observer(CallObserver* observer);

}  // namespace mercato
