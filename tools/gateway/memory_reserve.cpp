// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/memory_reserve.h"

#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

namespace mercato::gateway {
namespace {

constexpr std::size_t kReserve = std::size_t{4} << 20;

void* reserve = nullptr;

// C++ calls it when an allocation fails, and tries the allocation again when it returns.
void give_up_reserve() {
  void* const kept = std::exchange(reserve, nullptr);
  std::free(kept);
  if (!kept || std::uncaught_exceptions() == 0) throw std::bad_alloc();
}

}  // namespace

void keep_memory_reserve() {
  if (!reserve) reserve = std::malloc(kReserve);
  std::set_new_handler(give_up_reserve);
}

}  // namespace mercato::gateway
