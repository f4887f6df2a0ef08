// SPDX-License-Identifier: Apache-2.0
// A piece of work in a process and on a fresh copy of a store of its own, and what it leaves there.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/child_process.h"
#include "bench/support/cost.h"

namespace mercato::bench {

struct Rows {
  std::int64_t count = 0;
  std::uint64_t hash = 0;  // of all their columns
  bool operator==(const Rows&) const = default;
};

// What the queries find, one after the other.
inline Rows rows_of(const std::filesystem::path& path, const std::vector<std::string>& queries) {
  BareStore store(path);
  Rows found;
  for (const std::string& query : queries) {
    const BareStatement rows = store.prepare(query);
    for (; sqlite3_step(rows.get()) == SQLITE_ROW; ++found.count)
      found.hash = found.hash * 0x100000001B3u + read_row(rows.get());
  }
  return found;
}

inline void copy_store(const std::filesystem::path& from, const std::filesystem::path& to) {
  for (const char* ending : {"-wal", "-shm"}) std::filesystem::remove(to.string() + ending);
  std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
}

// `work` gets the copy, which lies beside `from`. `queries` find what is to be compared.
template <class Work>
Cost<Rows> measure_on_copy(const std::filesystem::path& from, const std::vector<std::string>& queries, Work work) {
  return in_child_process([&] {
    const std::filesystem::path copy = from.parent_path() / "measured.db";
    copy_store(from, copy);
    Cost<Rows> cost = measure<Rows>([&](Cost<Rows>&) { work(copy); });
    cost.contents = rows_of(copy, queries);
    return cost;
  });
}

// The steps of a statement that yields no rows.
inline void finish(const BareStore& store, sqlite3_stmt* statement) {
  if (sqlite3_step(statement) != SQLITE_DONE) store.fail("writing a row");
  sqlite3_reset(statement);
}

}  // namespace mercato::bench
