// SPDX-License-Identifier: Apache-2.0
#include "exchange/input/source.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include "mercato/raised_error.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kPieceOfFile = std::size_t{256} * 1024;
constexpr std::size_t kPeeked = std::size_t{64} * 1024;
constexpr std::string_view kGzip = "\x1F\x8B";
constexpr std::string_view kZstd = "\x28\xB5\x2F\xFD";
constexpr std::string_view kZip = "PK\x03\x04";

std::string quoted(const std::string& path) { return path == "-" ? "The standard input" : "The file \"" + path + "\""; }

// Bytes that come from somewhere piece by piece, the first of which can be looked at.
class ReadBytes : public Bytes {
 public:
  std::string_view next() final {
    if (!peeked_.empty()) {
      buffer_ = std::exchange(peeked_, {});
      return buffer_;
    }
    return at_end_ ? std::string_view() : read();
  }
  std::string_view peek() final {
    while (peeked_.size() < kPeeked && !at_end_) {
      const std::string_view piece = read();
      at_end_ = piece.empty();
      peeked_ += piece;
    }
    return std::string_view(peeked_).substr(0, kPeeked);
  }

 protected:
  // The next piece, valid until the next call; empty at the end.
  virtual std::string_view read() = 0;

 private:
  std::string peeked_;
  std::string buffer_;
  bool at_end_ = false;
};

class FileBytes final : public ReadBytes {
 public:
  explicit FileBytes(std::string path) : path_(std::move(path)), piece_(kPieceOfFile) {
    if (path_ == "-") {
      file_ = STDIN_FILENO;
      return;
    }
    file_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (file_ < 0 && errno == ENOENT) raise(error_number::kFileNotFound, {}, quoted(path_) + " is not there.");
    if (file_ < 0) fail();
  }
  ~FileBytes() override {
    if (file_ > STDIN_FILENO) ::close(file_);
  }
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;

 private:
  std::string_view read() override {
    for (;;) {
      const ssize_t count = ::read(file_, piece_.data(), piece_.size());
      if (count >= 0) return {piece_.data(), static_cast<std::size_t>(count)};
      if (errno != EINTR) fail();
    }
  }
  [[noreturn]] void fail() const {
    raise(error_number::kPathFileAccess, {},
          quoted(path_) + " cannot be read: " + std::generic_category().message(errno) + ".");
  }

  const std::string path_;
  std::vector<char> piece_;
  int file_ = -1;
};

// What an archive unpacks to. Private: a compressed stream is read from other bytes, a zip archive from its path, since
// its directory stands at its end.
class UnpackedBytes final : public ReadBytes {
 public:
  UnpackedBytes(std::unique_ptr<Bytes> packed, std::string path, const UnpackingLimits& limits)
      : packed_(std::move(packed)), path_(std::move(path)), limits_(limits), archive_(archive_read_new()) {
    archive_read_support_filter_gzip(archive_.get());
    archive_read_support_filter_zstd(archive_.get());
    archive_read_support_format_raw(archive_.get());
    const auto opened = archive_read_open(archive_.get(), this, nullptr, &UnpackedBytes::give, nullptr);
    archive_entry* entry = nullptr;
    if (opened != ARCHIVE_OK || archive_read_next_header(archive_.get(), &entry) != ARCHIVE_OK) fail();
  }
  UnpackedBytes(std::string path, const UnpackingLimits& limits)
      : path_(std::move(path)), limits_(limits), archive_(archive_read_new()) {
    require_one_file();
    archive_.reset(archive_read_new());
    archive_entry* entry = open_zip();
    while (!is_file(entry)) entry = next_entry();
  }

 private:
  struct Free {
    void operator()(archive* one) const { archive_read_free(one); }
  };

  static la_ssize_t give(archive*, void* self, const void** buffer) {
    auto& unpacked = *static_cast<UnpackedBytes*>(self);
    const std::string_view piece = unpacked.packed_->next();
    unpacked.packed_bytes_ += piece.size();
    *buffer = piece.data();
    return static_cast<la_ssize_t>(piece.size());
  }

  archive_entry* open_zip() {
    archive_read_support_format_zip_seekable(archive_.get());
    if (archive_read_open_filename(archive_.get(), path_.c_str(), kPieceOfFile) != ARCHIVE_OK) fail();
    return next_entry();
  }
  archive_entry* next_entry() {
    archive_entry* entry = nullptr;
    const int status = archive_read_next_header(archive_.get(), &entry);
    if (status == ARCHIVE_EOF) return nullptr;
    if (status != ARCHIVE_OK) fail();
    if (archive_entry_is_encrypted(entry) != 0)
      raise(error_number::kInvalidArgument, {}, quoted(path_) + " is encrypted. Unpack it first.");
    return entry;
  }
  // What a folder, or a program for its own use, has put there is none.
  static bool is_file(archive_entry* entry) {
    const char* name = archive_entry_pathname(entry);
    return archive_entry_filetype(entry) == AE_IFREG && name != nullptr &&
           std::string_view(name).find("__MACOSX/") != 0;
  }

  void require_one_file() {
    std::string names;
    std::size_t count = 0;
    for (archive_entry* entry = open_zip(); entry != nullptr; entry = next_entry()) {
      if (!is_file(entry)) continue;
      constexpr std::size_t kShown = 5;
      if (++count <= kShown) names.append(names.empty() ? "" : ", ").append(archive_entry_pathname(entry));
    }
    std::error_code unknown;
    packed_bytes_ = std::filesystem::file_size(path_, unknown);
    if (count == 1) return;
    raise(error_number::kInvalidArgument, {},
          count == 0 ? quoted(path_) + " is an archive without a file."
                     : quoted(path_) + " is an archive with " + std::to_string(count) + " files: " + names +
                           (count > 5 ? ", ..." : "") + ". Unpack it, and import them one by one.");
  }

  std::string_view read() override {
    const void* piece = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    do {
      const int status = archive_read_data_block(archive_.get(), &piece, &size, &offset);
      if (status == ARCHIVE_EOF) return {};
      if (status != ARCHIVE_OK) fail();
    } while (size == 0);
    unpacked_bytes_ += size;
    if (unpacked_bytes_ > limits_.most_bytes ||
        (unpacked_bytes_ > limits_.free_bytes && unpacked_bytes_ / limits_.most_ratio > packed_bytes_))
      raise(error_number::kInvalidArgument, {},
            quoted(path_) +
                " unpacks to far more than a catalogue does, and was not read on. Unpack it first if it "
                "is what it should be.");
    return {static_cast<const char*>(piece), size};
  }

  [[noreturn]] void fail() const {
    const char* reason = archive_error_string(archive_.get());
    raise(error_number::kInvalidArgument, {},
          quoted(path_) + " cannot be unpacked: " + (reason == nullptr ? "it is damaged" : reason) + ".");
  }

  std::unique_ptr<Bytes> packed_;
  const std::string path_;
  const UnpackingLimits limits_;
  std::uint64_t packed_bytes_ = 0;
  std::uint64_t unpacked_bytes_ = 0;
  std::unique_ptr<archive, Free> archive_;
};

}  // namespace

bool is_workbook(std::string_view begin) {
  return begin.starts_with(kZip) &&
         (begin.find("[Content_Types].xml") != std::string_view::npos || begin.find("xl/") != std::string_view::npos);
}

std::unique_ptr<Bytes> open_source(const std::string& path, const UnpackingLimits& limits) {
  auto file = std::make_unique<FileBytes>(path);
  const std::string_view begin = file->peek();
  if (begin.starts_with(kGzip) || begin.starts_with(kZstd))
    return std::make_unique<UnpackedBytes>(std::move(file), path, limits);
  if (!begin.starts_with(kZip) || is_workbook(begin)) return file;
  if (path == "-")
    raise(error_number::kInvalidArgument, {}, "The standard input is a zip archive, which is read from a file only.");
  return std::make_unique<UnpackedBytes>(path, limits);
}

}  // namespace mercato::exchange
