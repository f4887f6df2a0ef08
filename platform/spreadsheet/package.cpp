// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/package.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace mercato::spreadsheet {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File open_file(const std::string& path, std::uint64_t& size, const Limits& limits) {
  const auto failed = [](int code) { throw Unreadable(std::error_code(code, std::generic_category()).message()); };
  // Not blocking: opening a pipe that nobody writes to must not hang the caller.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) failed(errno);
  File file(::fdopen(descriptor, "rb"));
  if (!file) {
    const int code = errno;
    ::close(descriptor);
    failed(code);
  }
  struct stat status = {};
  if (::fstat(descriptor, &status) != 0) failed(errno);
  if (!S_ISREG(status.st_mode)) throw Unreadable("it is no file");
  size = static_cast<std::uint64_t>(status.st_size);
  if (size > limits.max_file_bytes)
    throw Unreadable("it has more than " + std::to_string(limits.max_file_bytes) + " bytes");
  return file;
}

// The first bytes tell a file that is no zip archive.
void refuse_other_formats(std::FILE* file) {
  constexpr std::string_view kCompoundFile = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
  std::array<char, kCompoundFile.size()> begin = {};
  const std::size_t got = std::fread(begin.data(), 1, begin.size(), file);
  std::rewind(file);
  const std::string_view bytes(begin.data(), got);
  if (bytes == kCompoundFile) throw Unreadable("it is protected by a password, or of the old binary format");
  if (!bytes.starts_with("PK")) throw Unreadable("it is no zip archive");
}

struct FreeSource {
  void operator()(zip_source_t* source) const noexcept { zip_source_free(source); }
};
using Source = std::unique_ptr<zip_source_t, FreeSource>;

// The library's own error, which holds memory.
class Failure {
 public:
  Failure() { zip_error_init(&error_); }
  ~Failure() { zip_error_fini(&error_); }
  Failure(const Failure&) = delete;
  Failure& operator=(const Failure&) = delete;
  zip_error_t* get() { return &error_; }
  std::string text() { return zip_error_strerror(&error_); }

 private:
  zip_error_t error_;
};

}  // namespace

std::size_t PartStream::read(std::span<char> buffer) {
  const zip_int64_t got = zip_fread(file_.get(), buffer.data(), buffer.size());
  if (got < 0) throw Unreadable("its part " + name_ + " is damaged: " + zip_file_strerror(file_.get()));
  const auto bytes = static_cast<std::uint64_t>(got);
  if (bytes > left_) throw Unreadable("its part " + name_ + " unpacks to far more than the file can hold");
  left_ -= bytes;
  return static_cast<std::size_t>(bytes);
}

Package::Package(const std::string& path, const Limits& limits) {
  std::uint64_t size = 0;
  File file = open_file(path, size, limits);
  refuse_other_formats(file.get());
  most_part_bytes_ = std::min(limits.max_part_bytes, std::max(limits.free_part_bytes, size * limits.max_ratio));

  Failure failure;
  Source source(zip_source_filep_create(file.get(), 0, -1, failure.get()));
  if (!source) throw Unreadable("it is no zip archive: " + failure.text());
  file.release();  // the source closes it
  archive_.reset(zip_open_from_source(source.get(), ZIP_RDONLY, failure.get()));
  if (!archive_) throw Unreadable("it is no whole zip archive: " + failure.text());
  source.release();  // the archive frees it
}

bool Package::has(const std::string& name) const {
  return zip_name_locate(archive_.get(), name.c_str(), ZIP_FL_NOCASE) >= 0;
}

PartStream Package::open(const std::string& name) const {
  // Names of parts are compared without regard to case.
  const zip_int64_t found = zip_name_locate(archive_.get(), name.c_str(), ZIP_FL_NOCASE);
  if (found < 0) throw Unreadable("it has no part " + name);
  const auto index = static_cast<zip_uint64_t>(found);
  zip_stat_t status;
  zip_stat_init(&status);
  if (zip_stat_index(archive_.get(), index, 0, &status) == 0 && (status.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 &&
      status.encryption_method != ZIP_EM_NONE)
    throw Unreadable("it is encrypted");
  PartStream::File file(zip_fopen_index(archive_.get(), index, 0));
  if (!file) throw Unreadable("its part " + name + " cannot be unpacked: " + zip_strerror(archive_.get()));
  return {std::move(file), name, most_part_bytes_};
}

}  // namespace mercato::spreadsheet
