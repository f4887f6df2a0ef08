// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/failure.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/store/failures.h"
#include "platform/store/sqlite/declared_type.h"
#include "platform/store/sqlite/lock_wait.h"

namespace mercato::store::sqlite {
namespace {

using namespace error_number;

std::string quoted(const std::string& path) { return "'" + path + "'"; }

// "UNIQUE constraint failed: T.A, T.B" names what failed behind the colon.
std::string_view object_of(std::string_view words) {
  const std::size_t colon = words.find(": ");
  return colon == std::string_view::npos ? std::string_view() : words.substr(colon + 2);
}

// The column that a check of the table definition guards, by the check's name.
const Column* guarded_column(const TableInfo* table, std::string_view constraint,
                             std::string (*name_of)(std::string_view column)) {
  if (!table) return nullptr;
  const auto column = std::ranges::find_if(
      table->columns, [&](const Column& candidate) { return name_of(candidate.name) == constraint; });
  return column == table->columns.end() ? nullptr : &*column;
}

const Column* assigned_column(const TableInfo& table) {
  const auto column = std::ranges::find_if(table.columns, &Column::assigned);
  return column == table.columns.end() ? nullptr : &*column;
}

RaisedError violation(int code, const std::string& words, const TableInfo* table) {
  const std::string object(object_of(words));
  switch (code) {
    case SQLITE_CONSTRAINT_CHECK:
      if (const Column* column = guarded_column(table, object, &width_constraint))
        return value_too_long(*table, *column);
      if (const Column* column = guarded_column(table, object, &range_constraint))
        return value_out_of_range(*table, *column);
      return check_violated(words);
    case SQLITE_CONSTRAINT_NOTNULL:
      return value_missing(object, words);
    case SQLITE_CONSTRAINT_UNIQUE:
    case SQLITE_CONSTRAINT_PRIMARYKEY:
    case SQLITE_CONSTRAINT_ROWID:
      return key_is_taken(words);
    default:
      return constraint_violated(words);
  }
}

bool says_full(int system_error) { return system_error == ENOSPC || system_error == EDQUOT || system_error == EFBIG; }

// The system's reason for a failed read or write. The engine itself keeps it for some statements only, the files for
// all.
int system_error_of(sqlite3* engine) {
  if (!engine) return 0;
  if (const int kept = sqlite3_system_errno(engine); kept != 0) return kept;
  for (const int which : {SQLITE_FCNTL_JOURNAL_POINTER, SQLITE_FCNTL_FILE_POINTER}) {
    sqlite3_file* file = nullptr;
    int reason = 0;
    if (sqlite3_file_control(engine, "main", which, &file) == SQLITE_OK && file && file->pMethods &&
        file->pMethods->xFileControl(file, SQLITE_FCNTL_LAST_ERRNO, &reason) == SQLITE_OK && reason != 0)
      return reason;
  }
  return 0;
}

RaisedError describe(sqlite3* engine, int code, const std::string& path, long waited_ms, const TableInfo* table) {
  const std::string words = engine ? sqlite3_errmsg(engine) : sqlite3_errstr(code);
  const auto failure = [](std::int32_t number, std::string description) {
    return RaisedError{number, {}, std::move(description), {}, 0};
  };
  const auto full = [&] {
    return failure(kStoreFailure, "The disk is full: the store " + quoted(path) +
                                      " cannot grow. Free some space, then repeat the call (" + words + ")");
  };
  switch (code & 0xFF) {
    case SQLITE_CONSTRAINT:
      return violation(code, words, table);
    case SQLITE_TOOBIG:
      return failure(kValueTooLong, "The value is larger than the store can hold (" + words + ")");
    case SQLITE_MISMATCH:
      // A key that 64 bits do not hold never gets as far as the check of its range.
      if (const Column* const key = table ? assigned_column(*table) : nullptr) return value_out_of_range(*table, *key);
      [[fallthrough]];
    case SQLITE_ERROR:
    case SQLITE_SCHEMA:
    case SQLITE_RANGE:
      return statement_refused(words);
    case SQLITE_FULL:
      return full();
    case SQLITE_READONLY:
      return failure(kStoreFailure,
                     "The store " + quoted(path) +
                         " is read-only. Give this process the right to write to the file and its folder (" + words +
                         ")");
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      if (engine && held_by_this_thread(engine))
        return failure(kStoreFailure, "An object of this thread holds an open transaction on the store " +
                                          quoted(path) + ". It has to vote, or to be released, first (" + words + ")");
      return failure(kStoreFailure, "Another process or connection holds the store " + quoted(path) +
                                        ", and did not let go of it in " + std::to_string(waited_ms) +
                                        " milliseconds (" + words + ")");
    case SQLITE_CORRUPT:
      return failure(kStoreFailure, "The store " + quoted(path) + std::string(kIsDamaged) + words + ")");
    case SQLITE_NOTADB:
      return failure(kStoreFailure, quoted(path) + " is not a store. Correct Data Source (" + words + ")");
    case SQLITE_NOMEM:
      return failure(kOutOfMemory, {});
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN: {
      const int system_error = system_error_of(engine);
      if (says_full(system_error)) return full();
      std::string reason = words;
      if (system_error != 0) reason += ": " + std::generic_category().message(system_error);
      return failure(kStoreFailure, "The store " + quoted(path) + " cannot be read or written (" + reason + ")");
    }
    default:
      return failure(kStoreFailure, "The store " + quoted(path) + " reported a failure (" + words + ")");
  }
}

}  // namespace

RaisedError of_this_store(RaisedError failure) {
  failure.Source = kFailureSource;
  return failure;
}

RaisedError failure_of(sqlite3* engine, int code, const std::string& path, long waited_ms, const TableInfo* table) {
  RaisedError failure = of_this_store(describe(engine, code, path, waited_ms, table));
  if (failure.Description.empty()) failure.Description = default_description(failure.Number);
  return failure;
}

void raise_store_failure(std::string description) {
  raise(kStoreFailure, std::string(kFailureSource), std::move(description));
}

}  // namespace mercato::store::sqlite
