// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/log_owner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <utility>

namespace mercato::store::sqlite {
namespace {

constexpr const char* kTitle = "mercato-log-owner-1";
constexpr const char* kEnd = "end";  // what a note that was cut off lacks

// In a log: the header, then frames of a header and a page each.
constexpr std::size_t kFrameHeaderBytes = 24;
constexpr std::size_t kNumberInHeader = 16;
constexpr std::size_t kNumberInFrame = kLogHeaderBytes + 8;

std::uint64_t big_endian(const unsigned char* bytes) {
  std::uint64_t number = 0;
  for (int i = 0; i < 8; ++i) number = number << 8 | bytes[i];
  return number;
}

void print(std::ostream& out, const std::optional<FileIdentity>& file) {
  const FileIdentity known = file.value_or(FileIdentity{});
  out << ' ' << known.device << ' ' << known.inode;
}

std::optional<FileIdentity> read_identity(std::istream& in) {
  FileIdentity file;
  in >> file.device >> file.inode;
  return file == FileIdentity{} ? std::nullopt : std::optional(file);
}

}  // namespace

std::optional<FileIdentity> identity_of(const std::string& path) noexcept {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

std::uint32_t mark_of(const unsigned char* bytes) {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

bool LogNote::admits(std::uint32_t mark) const { return std::ranges::find(marks, mark) != marks.end(); }

std::string log_path(const std::string& store) { return store + "-wal"; }
std::string note_path(const std::string& store) { return store + "-owner"; }

std::optional<LogNote> read_log_note(const std::string& store) {
  std::ifstream in(note_path(store));
  std::string title;
  std::size_t marks = 0;
  LogNote note;
  if (!(in >> title >> note.log) || title != kTitle) return std::nullopt;
  note.store_file = read_identity(in);
  note.log_file = read_identity(in);
  if (!(in >> marks) || marks > kMostMarks) return std::nullopt;
  note.marks.resize(marks);
  for (std::uint32_t& mark : note.marks) in >> mark;
  std::string end;
  if (!(in >> end) || end != kEnd) return std::nullopt;
  return note;
}

bool write_log_note(const std::string& store, const LogNote& note) noexcept {
  try {
    std::ostringstream text;
    text << kTitle << ' ' << note.log;
    print(text, note.store_file);
    print(text, note.log_file);
    text << ' ' << note.marks.size();
    for (const std::uint32_t mark : note.marks) text << ' ' << mark;
    text << ' ' << kEnd << '\n';

    struct stat status {};
    if (stat(store.c_str(), &status) != 0) return false;
    // Read as a whole or not at all. It need not reach the disk: without it a log is replayed as ever.
    const std::string beside = note_path(store) + "-new";
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0) return false;
    const std::string bytes = text.str();
    bool written = fchmod(file, status.st_mode & 0777) == 0 &&
                   write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    written = close(file) == 0 && written;
    if (written && rename(beside.c_str(), note_path(store).c_str()) == 0) return true;
    unlink(beside.c_str());
    return false;
  } catch (...) {
    return false;
  }
}

bool store_is_newer_than_log(const std::string& store) {
  struct stat file {};
  struct stat log {};
  if (stat(store.c_str(), &file) != 0 || stat(log_path(store).c_str(), &log) != 0) return false;
  // The time of the last change of the file or of its name, which nobody can set. Within one tick of the clock the file
  // counts as the newer one: a refusal can be undone, a replayed log cannot.
  return std::pair(file.st_ctim.tv_sec, file.st_ctim.tv_nsec) >= std::pair(log.st_ctim.tv_sec, log.st_ctim.tv_nsec);
}

std::uint64_t number_of_log(const unsigned char* header) { return big_endian(header + kNumberInHeader); }

std::optional<std::uint64_t> log_in_force(const std::string& store) {
  const int file = open(log_path(store).c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return std::nullopt;
  std::array<unsigned char, kLogHeaderBytes + kFrameHeaderBytes> bytes;
  const ssize_t count = pread(file, bytes.data(), bytes.size(), 0);
  close(file);
  if (count != static_cast<ssize_t>(bytes.size())) return std::nullopt;
  const std::uint64_t number = number_of_log(bytes.data());
  // A frame that carries another number is left of an earlier log.
  return big_endian(bytes.data() + kNumberInFrame) == number ? std::optional(number) : std::nullopt;
}

}  // namespace mercato::store::sqlite
