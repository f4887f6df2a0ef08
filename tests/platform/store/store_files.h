// Helpers of the store tests: a folder of their own for each test, statements, expected failures.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/types/raised_error.h"
#include "platform/store/driver.h"
#include "platform/store/session_pool.h"

namespace mercato::store::test {

// A folder below the temporary one, gone with the object.
class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "mercato-test-XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    close_idle_sessions();
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  std::string path(std::string_view name = {}) const { return name.empty() ? path_.string() : (path_ / name).string(); }
  // Of a SQLite store in this folder, which is created when it is opened first.
  std::string store(std::string_view name = "store.db") const {
    return "Provider=SQLite;Data Source=" + path(name) + ";Create=Yes";
  }

 private:
  std::filesystem::path path_;
};

inline Execution run(Session& session, std::string text) { return session.execute(Sql::verbatim(std::move(text))); }

inline std::vector<std::vector<Variant>> rows_of(Cursor& cursor) {
  std::vector<std::vector<Variant>> rows;
  while (cursor.next()) cursor.read(rows.emplace_back());
  return rows;
}

inline std::vector<std::vector<Variant>> query(Session& session, std::string text) {
  return rows_of(*run(session, std::move(text)).cursor);
}

// The first field of the first row.
inline Variant query_one(Session& session, std::string text) { return query(session, std::move(text)).at(0).at(0); }

// The failure that the work raises; number 0 when it raises none.
inline RaisedError failure_of(const std::function<void()>& work) {
  try {
    work();
  } catch (const Raised& raised) {
    return raised.error();
  }
  return {};
}

}  // namespace mercato::store::test
