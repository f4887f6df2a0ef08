// SPDX-License-Identifier: Apache-2.0
// Which store file a log belongs to. The engine replays whatever log stands beside a store, and would overwrite a
// backup that was put in the store's place with the log of its predecessor.
//
// Every log that this library writes gets a note beside it, `STORE-owner`: the log's number, which the engine draws
// anew whenever it begins a log, and the marks that the store file can carry while this log is in force. The mark is
// the store's application id. It changes with every log, and stands in every copy of the file. Any thread.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mercato::store::sqlite {

struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(const FileIdentity&) const = default;
};
// Of the file that the path leads to; nothing when there is none.
std::optional<FileIdentity> identity_of(const std::string& path) noexcept;

// Where the mark stands in a store file, four bytes, the highest first.
inline constexpr int kPlaceOfMark = 68;
std::uint32_t mark_of(const unsigned char* bytes);

inline constexpr std::size_t kMostMarks = 100;

struct LogNote {
  std::uint64_t log = 0;
  std::optional<FileIdentity> store_file;
  std::optional<FileIdentity> log_file;
  std::vector<std::uint32_t> marks;
  bool operator==(const LogNote&) const = default;

  bool admits(std::uint32_t mark) const;
};

std::string log_path(const std::string& store);
std::string note_path(const std::string& store);

// Nothing when there is no note, or no whole one.
std::optional<LogNote> read_log_note(const std::string& store);
// By whoever holds the store's write lock; false when it cannot be written. The note has the rights of the store's
// file.
bool write_log_note(const std::string& store, const LogNote& note) noexcept;

// Whether the store's file came to its place later than its log was last written to.
bool store_is_newer_than_log(const std::string& store);

// The number of the log beside the store, when it holds something to replay.
std::optional<std::uint64_t> log_in_force(const std::string& store);
// The number in the first bytes of a log, of which there are `kLogHeaderBytes`.
inline constexpr int kLogHeaderBytes = 32;
std::uint64_t number_of_log(const unsigned char* header);

}  // namespace mercato::store::sqlite
