// SPDX-License-Identifier: Apache-2.0
#include "platform/files/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "mercato/raised_error.h"

namespace mercato::files {
namespace {

constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;  // one read or write call moves less than 2 GiB

// `missing`: what "no such file" means for the operation at hand.
[[noreturn]] void fail(std::string_view action, const std::string& path, int code, std::int32_t missing) {
  std::int32_t number = error_number::kPathFileAccess;
  if (code == ENOENT || code == ENOTDIR) number = missing;
  if (code == EACCES || code == EPERM || code == EROFS) number = error_number::kPermissionDenied;
  raise(number, {},
        "Cannot " + std::string(action) + " \"" + path +
            "\": " + std::error_code(code, std::generic_category()).message());
}

class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) {}
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return value_; }

 private:
  int value_;
};

std::string folder_of(const std::string& path) {
  const auto folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder.string();
}

constexpr std::string_view kBesidePrefix = ".mercato-";
constexpr std::string_view kBesideSuffix = ".tmp";

std::string name_beside(const std::string& path) {
  static std::atomic<unsigned> counter{0};
  // Its length does not depend on the target's, which may be as long as names can be.
  return folder_of(path) + "/" + std::string(kBesidePrefix) + std::to_string(::getpid()) + "-" +
         std::to_string(counter++) + std::string(kBesideSuffix);
}

// A writer holds the lock of its file for as long as it lives.
void delete_if_abandoned(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat status = {};
  if (file.get() >= 0 && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
      ::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
    ::unlink(path.c_str());
}

// What is read-only is not deleted. The system would only ask whether its folder may be written.
void refuse_read_only(const std::filesystem::path& path) {
  constexpr auto kWritable =
      std::filesystem::perms::owner_write | std::filesystem::perms::group_write | std::filesystem::perms::others_write;
  std::error_code ignored;
  const auto status = std::filesystem::symlink_status(path, ignored);
  if (std::filesystem::exists(status) && (status.permissions() & kWritable) == std::filesystem::perms::none)
    raise(error_number::kPermissionDenied, {}, "Cannot delete \"" + path.string() + "\": It is read-only");
}

}  // namespace

bool folder_exists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

void create_folder(const std::string& path) {
  if (::mkdir(path.c_str(), 0777) == 0) return;
  const int code = errno;
  if (code == EEXIST && folder_exists(path)) return;
  fail("create the folder", path, code, error_number::kPathNotFound);
}

void delete_folder(const std::string& path) {
  if (!folder_exists(path)) fail("delete the folder", path, ENOENT, error_number::kPathNotFound);
  std::error_code failure;
  refuse_read_only(path);
  if (!std::filesystem::is_symlink(path, failure))
    for (std::filesystem::recursive_directory_iterator entry(path, failure), end; entry != end;
         entry.increment(failure))
      refuse_read_only(entry->path());
  std::filesystem::remove_all(path, failure);
  if (failure) fail("delete the folder", path, failure.value(), error_number::kPathNotFound);
}

bool file_exists(const std::string& path) {
  std::error_code ignored;
  const auto status = std::filesystem::status(path, ignored);
  return std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

void delete_file(const std::string& path) {
  if (folder_exists(path)) fail("delete the file", path, EISDIR, error_number::kFileNotFound);
  refuse_read_only(path);
  if (::unlink(path.c_str()) != 0) fail("delete the file", path, errno, error_number::kFileNotFound);
}

void require_deletable(const std::string& path) {
  refuse_read_only(path);
  if (::access(folder_of(path).c_str(), W_OK | X_OK) != 0)
    fail("delete the file", path, errno, error_number::kFileNotFound);
}

std::string read_file(const std::string& path, std::size_t max_bytes) {
  const auto failed = [&](int code) { fail("read the file", path, code, error_number::kFileNotFound); };
  // Not blocking: opening a pipe that nobody writes to must not hang the caller.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (file.get() < 0) failed(errno);
  struct stat status = {};
  if (::fstat(file.get(), &status) != 0) failed(errno);
  if (S_ISDIR(status.st_mode)) failed(EISDIR);
  if (!S_ISREG(status.st_mode)) failed(EINVAL);

  std::string content;
  const auto too_large = [&] {
    raise(error_number::kPathFileAccess, {},
          "Cannot read the file \"" + path + "\": it has more than " + std::to_string(max_bytes) + " bytes");
  };
  if (static_cast<std::uintmax_t>(status.st_size) > max_bytes) too_large();
  // One byte more than the file had when it was opened, so that the read that finds its end needs no more room.
  content.resize(static_cast<std::size_t>(status.st_size) + 1);
  std::size_t filled = 0;
  for (;;) {
    const auto got = ::read(file.get(), content.data() + filled, std::min(content.size() - filled, kLargestTransfer));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failed(errno);
    if (got == 0) break;
    filled += static_cast<std::size_t>(got);
    if (filled > max_bytes) too_large();
    if (filled == content.size()) content.resize(content.size() * 2);
  }
  content.resize(filled);
  return content;
}

void write_file_atomically(const std::string& path, std::string_view bytes) {
  AtomicFile file(path);
  file.write(bytes);
  file.commit();
}

void delete_abandoned_files(const std::string& folder) noexcept {
  try {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const std::string name = entry.path().filename().string();
      if (name.starts_with(kBesidePrefix) && name.ends_with(kBesideSuffix)) delete_if_abandoned(entry.path().string());
    }
  } catch (const std::exception&) {  // the folder cannot be read, or no memory is left
  }
}

// The object is made before the file is, so that a failure in here deletes the file again.
AtomicFile::AtomicFile(std::string path) : AtomicFile() {
  path_ = std::move(path);
  for (;;) {
    beside_ = name_beside(path_);
    descriptor_ = ::open(beside_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ < 0) {
      if (errno == EEXIST) continue;  // left behind by a process that had our id and was killed
      fail("write the file", path_, errno, error_number::kPathNotFound);
    }
    // Only somebody who takes the file for abandoned, and deletes it, can hold the lock before us.
    while (::flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) {
    }
    if (file_exists(beside_)) return;
    discard();
  }
}

AtomicFile::~AtomicFile() { discard(); }

void AtomicFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto put = ::write(descriptor_, bytes.data(), std::min(bytes.size(), kLargestTransfer));
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) fail("write the file", path_, errno, error_number::kPathNotFound);
    bytes.remove_prefix(static_cast<std::size_t>(put));
  }
}

void AtomicFile::commit() {
  const std::string folder_path = folder_of(path_);  // nothing may fail once the file has its name
  if (::fsync(descriptor_) != 0 || ::rename(beside_.c_str(), path_.c_str()) != 0) {
    fail("write the file", path_, errno, error_number::kPathNotFound);
  }
  ::close(std::exchange(descriptor_, -1));
  // The new name has to survive a crash too. Where a file system cannot flush a folder, the file is complete anyhow.
  const Descriptor folder(::open(folder_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.get() >= 0) ::fsync(folder.get());
}

void AtomicFile::discard() noexcept {
  if (descriptor_ < 0) return;
  ::close(std::exchange(descriptor_, -1));
  ::unlink(beside_.c_str());
}

}  // namespace mercato::files
