// SPDX-License-Identifier: Apache-2.0
#include "exchange/input/source.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>
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

// How much was read, and what it has unpacked to.
class Unpacking {
 public:
  Unpacking(std::string path, const UnpackingLimits& limits) : path_(std::move(path)), limits_(limits) {}

  void read(std::uint64_t bytes) { packed_ += bytes; }
  // Raises when it is too much.
  void gave(std::uint64_t bytes) {
    unpacked_ += bytes;
    if (unpacked_ > limits_.most_bytes || (unpacked_ > limits_.free_bytes && unpacked_ / limits_.most_ratio > packed_))
      raise(error_number::kInvalidArgument, {},
            quoted(path_) +
                " unpacks to far more than a catalogue does, and was not read on. Unpack it first if it "
                "is what it should be.");
  }
  [[noreturn]] void fail(const char* reason) const {
    raise(error_number::kInvalidArgument, {},
          quoted(path_) + " cannot be unpacked: " + (reason == nullptr ? "it is damaged" : reason) + ".");
  }
  const std::string& path() const { return path_; }

 private:
  const std::string path_;
  const UnpackingLimits limits_;
  std::uint64_t packed_ = 0;
  std::uint64_t unpacked_ = 0;
};

// A gzip stream, of one part or several, whose check sums are compared: the archive library does not.
class GzipBytes final : public ReadBytes {
 public:
  GzipBytes(std::unique_ptr<Bytes> packed, std::string path, const UnpackingLimits& limits)
      : packed_(std::move(packed)), unpacking_(std::move(path), limits), piece_(kPieceOfFile) {
    constexpr int kGzipOnly = 16;
    if (::inflateInit2(&stream_, MAX_WBITS + kGzipOnly) != Z_OK) throw std::bad_alloc();
  }
  ~GzipBytes() override { ::inflateEnd(&stream_); }
  GzipBytes(const GzipBytes&) = delete;
  GzipBytes& operator=(const GzipBytes&) = delete;

 private:
  std::string_view read() override {
    for (;;) {
      if (stream_.avail_in == 0) {
        const std::string_view packed = packed_->next();
        if (packed.empty() && !between_parts_) unpacking_.fail("it is cut off");
        if (packed.empty()) return {};
        unpacking_.read(packed.size());
        stream_.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(packed.data()));  // it is only read
        stream_.avail_in = static_cast<uInt>(packed.size());
      }
      if (between_parts_ && *stream_.next_in == 0) return {};  // zeros fill up a block
      if (between_parts_) ::inflateReset(&stream_);
      stream_.next_out = reinterpret_cast<Bytef*>(piece_.data());
      stream_.avail_out = static_cast<uInt>(piece_.size());
      const int status = ::inflate(&stream_, Z_NO_FLUSH);
      if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) unpacking_.fail("it is damaged");
      between_parts_ = status == Z_STREAM_END;
      const std::size_t size = piece_.size() - stream_.avail_out;
      unpacking_.gave(size);
      if (size > 0) return {piece_.data(), size};
    }
  }

  const std::unique_ptr<Bytes> packed_;
  Unpacking unpacking_;
  std::vector<char> piece_;
  z_stream stream_ = {};
  bool between_parts_ = false;
};

// What an archive unpacks to. Private: a zstd stream is read from other bytes, a zip archive from its path, since its
// directory stands at its end.
class UnpackedBytes final : public ReadBytes {
 public:
  UnpackedBytes(std::unique_ptr<Bytes> packed, std::string path, const UnpackingLimits& limits)
      : packed_(std::move(packed)), unpacking_(std::move(path), limits), archive_(archive_read_new()) {
    archive_read_support_filter_zstd(archive_.get());
    archive_read_support_format_raw(archive_.get());
    const auto opened = archive_read_open(archive_.get(), this, nullptr, &UnpackedBytes::give, nullptr);
    archive_entry* entry = nullptr;
    if (opened != ARCHIVE_OK || archive_read_next_header(archive_.get(), &entry) != ARCHIVE_OK) fail();
  }
  UnpackedBytes(std::string path, const UnpackingLimits& limits)
      : unpacking_(std::move(path), limits), archive_(archive_read_new()) {
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
    unpacked.unpacking_.read(piece.size());
    *buffer = piece.data();
    return static_cast<la_ssize_t>(piece.size());
  }

  archive_entry* open_zip() {
    archive_read_support_format_zip_seekable(archive_.get());
    if (archive_read_open_filename(archive_.get(), unpacking_.path().c_str(), kPieceOfFile) != ARCHIVE_OK) fail();
    return next_entry();
  }
  archive_entry* next_entry() {
    archive_entry* entry = nullptr;
    const int status = archive_read_next_header(archive_.get(), &entry);
    if (status == ARCHIVE_EOF) return nullptr;
    if (status != ARCHIVE_OK) fail();
    if (archive_entry_is_encrypted(entry) != 0)
      raise(error_number::kInvalidArgument, {}, quoted(unpacking_.path()) + " is encrypted. Unpack it first.");
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
    unpacking_.read(std::filesystem::file_size(unpacking_.path(), unknown));
    if (count == 1) return;
    raise(error_number::kInvalidArgument, {},
          count == 0 ? quoted(unpacking_.path()) + " is an archive without a file."
                     : quoted(unpacking_.path()) + " is an archive with " + std::to_string(count) + " files: " + names +
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
    unpacking_.gave(size);
    return {static_cast<const char*>(piece), size};
  }

  [[noreturn]] void fail() const { unpacking_.fail(archive_error_string(archive_.get())); }

  std::unique_ptr<Bytes> packed_;
  Unpacking unpacking_;
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
  if (begin.starts_with(kGzip)) return std::make_unique<GzipBytes>(std::move(file), path, limits);
  if (begin.starts_with(kZstd)) return std::make_unique<UnpackedBytes>(std::move(file), path, limits);
  if (!begin.starts_with(kZip) || is_workbook(begin)) return file;
  if (path == "-")
    raise(error_number::kInvalidArgument, {}, "The standard input is a zip archive, which is read from a file only.");
  return std::make_unique<UnpackedBytes>(path, limits);
}

}  // namespace mercato::exchange
