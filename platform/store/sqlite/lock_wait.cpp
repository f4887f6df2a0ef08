// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/lock_wait.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/store/call_limit.h"

namespace mercato::store::sqlite {
namespace {

struct Holder {
  sqlite3* engine;
  std::thread::id thread;
};

struct Holders {
  std::mutex guard;
  std::vector<Holder> all;
};

// Never destroyed: a session may outlive main.
Holders& holders() {
  static Holders* const instance = new Holders;
  return *instance;
}

struct FutileWait {
  std::uint64_t call = 0;
  std::string file;
  long milliseconds = 0;
};

thread_local FutileWait last_futile_wait;

// The engine resolves links, so that one file has one name.
std::string_view file_of(sqlite3* engine) {
  const char* const name = sqlite3_db_filename(engine, "main");
  return name ? name : "";
}

}  // namespace

HeldLock::HeldLock(sqlite3* engine) : engine_(engine) {
  const std::scoped_lock lock(holders().guard);
  holders().all.push_back({engine, std::this_thread::get_id()});
}

HeldLock::~HeldLock() {
  const std::scoped_lock lock(holders().guard);
  std::erase_if(holders().all, [this](const Holder& holder) { return holder.engine == engine_; });
}

bool held_by_this_thread(sqlite3* engine) {
  const std::scoped_lock lock(holders().guard);
  return std::ranges::any_of(holders().all, [&](const Holder& holder) {
    return holder.engine != engine && holder.thread == std::this_thread::get_id() &&
           file_of(holder.engine) == file_of(engine);
  });
}

void note_futile_wait(sqlite3* engine, long milliseconds) {
  last_futile_wait = {call_under_way(), std::string(file_of(engine)), milliseconds};
}

void forget_futile_wait() noexcept { last_futile_wait.call = 0; }

std::optional<long> futile_wait(sqlite3* engine) {
  const FutileWait& last = last_futile_wait;
  if (call_under_way() == 0 || last.call != call_under_way() || last.file != file_of(engine)) return std::nullopt;
  return last.milliseconds;
}

}  // namespace mercato::store::sqlite
