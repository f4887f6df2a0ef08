// SPDX-License-Identifier: Apache-2.0
#include "platform/files/turning_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <exception>
#include <filesystem>
#include <thread>

namespace mercato::files {
namespace {

namespace fs = std::filesystem;

constexpr int kMostTries = 100;  // others may turn the file over between our opening and our locking it
constexpr int kMostLockTries = 200;
constexpr auto kLockPause = std::chrono::microseconds(500);

class Appending {
 public:
  explicit Appending(const std::string& path) : path_(path), descriptor_(open()) {
    if (descriptor_ >= 0 || errno != ENOENT) return;
    std::error_code ignored;
    fs::create_directories(fs::path(path).parent_path(), ignored);
    descriptor_ = open();
  }
  ~Appending() {
    if (descriptor_ >= 0) ::close(descriptor_);  // lets go of the lock, too
  }
  Appending(const Appending&) = delete;
  Appending& operator=(const Appending&) = delete;

  bool is_open() const { return descriptor_ >= 0; }

  // Whoever has the lock is the only one to append and to turn over.
  bool lock() const {
    for (int tries = 0; tries < kMostLockTries; ++tries) {
      if (::flock(descriptor_, LOCK_EX | LOCK_NB) == 0) return true;
      if (errno != EWOULDBLOCK && errno != EINTR) return false;
      std::this_thread::sleep_for(kLockPause);
    }
    return false;
  }
  // False once somebody turned it over.
  bool is_at_its_path() const {
    struct stat mine {};
    struct stat there {};
    return ::fstat(descriptor_, &mine) == 0 && ::stat(path_.c_str(), &there) == 0 && mine.st_ino == there.st_ino &&
           mine.st_dev == there.st_dev;
  }
  // 0 for what is no plain file: it is never turned over.
  std::size_t size() const {
    struct stat mine {};
    return ::fstat(descriptor_, &mine) == 0 && S_ISREG(mine.st_mode) ? static_cast<std::size_t>(mine.st_size) : 0;
  }
  bool write(std::string_view bytes) const {
    while (!bytes.empty()) {
      const auto put = ::write(descriptor_, bytes.data(), bytes.size());
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
  }

 private:
  // Not blocking: a pipe that nobody reads from must not hang the caller.
  int open() const { return ::open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666); }

  const std::string& path_;
  int descriptor_;
};

std::string older_name(const fs::path& path, int number) {
  if (number == 0) return path.string();
  fs::path name = path.stem();
  name += "." + std::to_string(number);
  name += path.extension();
  return (path.parent_path() / name).string();
}

bool turn_over(const TurningFile& file) {
  for (int number = file.older; number > 1; --number)
    ::rename(older_name(file.path, number - 1).c_str(), older_name(file.path, number).c_str());  // if it exists
  return ::rename(file.path.c_str(), older_name(file.path, 1).c_str()) == 0;
}

}  // namespace

bool append_record(const TurningFile& file, std::string_view record) noexcept {
  try {
    for (int tries = 0; tries < kMostTries; ++tries) {
      const Appending appending(file.path);
      if (!appending.is_open()) return false;
      if (appending.lock()) {
        if (!appending.is_at_its_path()) continue;
        if (const std::size_t size = appending.size(); size > 0 && size + record.size() > file.largest) {
          if (!turn_over(file)) return false;
          continue;
        }
      }
      return appending.write(record);
    }
  } catch (const std::exception&) {
    // Out of memory: the record is not written.
  }
  return false;
}

}  // namespace mercato::files
