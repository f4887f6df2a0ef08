// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/memory_reserve.h"

#include <atomic>
#include <cstdlib>
#include <exception>
#include <new>

namespace mercato::gateway {
namespace {

constexpr std::size_t kReserve = std::size_t{4} << 20;

constinit std::atomic<void*> reserve = nullptr;

// C++ calls it when an allocation fails, and tries the allocation again when it returns.
void give_up_reserve() {
  void* const kept = reserve.exchange(nullptr);
  std::free(kept);
  if (!kept || std::uncaught_exceptions() == 0) throw std::bad_alloc();
}

}  // namespace

void keep_memory_reserve() {
  if (!reserve) std::free(reserve.exchange(std::malloc(kReserve)));
  std::set_new_handler(give_up_reserve);
}

}  // namespace mercato::gateway
