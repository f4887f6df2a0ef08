// SPDX-License-Identifier: Apache-2.0
#include "tests/allocation/failing_allocations.h"

#include <libxml/xmlmemory.h>
#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <pugixml.hpp>

namespace mercato::test {
namespace {

struct State {
  bool armed = false;
  Failing how = Failing::once;
  std::int64_t nth = 0;
  std::int64_t asked = 0;
  bool failed = false;
};
thread_local constinit State state;
thread_local constinit bool libxml2_spared = false;

bool fails() {
  if (!state.armed) return false;
  ++state.asked;
  if (state.nth == 0 || state.asked < state.nth || (state.how == Failing::once && state.asked > state.nth))
    return false;
  state.failed = true;
  return true;
}

void* allocate(std::size_t size) { return fails() ? nullptr : std::malloc(size == 0 ? 1 : size); }
void* reallocate(void* memory, std::size_t size) { return fails() ? nullptr : std::realloc(memory, size); }

void* libxml2_allocate(std::size_t size) { return libxml2_spared ? std::malloc(size) : allocate(size); }
void* libxml2_reallocate(void* memory, std::size_t size) {
  return libxml2_spared ? std::realloc(memory, size) : reallocate(memory, size);
}

// The engine's own functions, behind ours.
sqlite3_mem_methods engine_memory;
void* engine_allocate(int size) { return fails() ? nullptr : engine_memory.xMalloc(size); }
void* engine_reallocate(void* memory, int size) { return fails() ? nullptr : engine_memory.xRealloc(memory, size); }

char* duplicate(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* const copy = libxml2_allocate(size);
  return copy ? static_cast<char*>(std::memcpy(copy, text, size)) : nullptr;
}

// Before anybody uses one of them.
const bool installed = [] {
  sqlite3_config(SQLITE_CONFIG_GETMALLOC, &engine_memory);
  sqlite3_mem_methods counted = engine_memory;
  counted.xMalloc = engine_allocate;
  counted.xRealloc = engine_reallocate;
  sqlite3_config(SQLITE_CONFIG_MALLOC, &counted);
  pugi::set_memory_management_functions(allocate, std::free);
  xmlMemSetup(std::free, libxml2_allocate, libxml2_reallocate, duplicate);
  return true;
}();

}  // namespace

FailingAllocations::FailingAllocations(std::int64_t nth, Failing how) { state = {installed, how, nth, 0, false}; }
void spare_libxml2(bool spared) { libxml2_spared = spared; }

FailingAllocations::~FailingAllocations() { stop_failing(); }

void stop_failing() { state.armed = false; }

std::int64_t allocations_asked_for() { return state.asked; }
bool allocation_failed() { return state.failed; }

void* allocate_or_throw(std::size_t size) {
  void* const memory = allocate(size);
  if (!memory) throw std::bad_alloc();
  return memory;
}
void* allocate_or_null(std::size_t size) noexcept { return allocate(size); }

}  // namespace mercato::test

void* operator new(std::size_t size) { return mercato::test::allocate_or_throw(size); }
void* operator new[](std::size_t size) { return mercato::test::allocate_or_throw(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return mercato::test::allocate_or_null(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return mercato::test::allocate_or_null(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
