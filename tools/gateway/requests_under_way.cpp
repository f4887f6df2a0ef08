// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/requests_under_way.h"

#include <algorithm>
#include <variant>

namespace mercato::gateway {

void RequestsUnderWay::wait_for_turn(const Asked& asked) {
  std::list<One> waiting;
  for (const auto& request : asked.requests)
    waiting.push_back({std::visit([](const auto& one) { return one.id; }, request)});
  const std::lock_guard lock(mutex_);
  requests_.splice(requests_.end(), waiting);
}

bool RequestsUnderWay::cancel(const Json& id) {
  const std::lock_guard lock(mutex_);
  const auto one = std::ranges::find_if(requests_, [&](const One& each) { return !id.is_null() && each.id == id; });
  if (one == requests_.end()) return false;
  one->cancelled = true;
  if (runs_ && one == requests_.begin()) cancelled_ = true;
  return true;
}

void RequestsUnderWay::begin() {
  const std::lock_guard lock(mutex_);
  runs_ = true;
  cancelled_ = requests_.front().cancelled;
}

void RequestsUnderWay::end() {
  const std::lock_guard lock(mutex_);
  requests_.pop_front();
  runs_ = false;
  cancelled_ = false;
}

}  // namespace mercato::gateway
