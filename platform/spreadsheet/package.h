// SPDX-License-Identifier: Apache-2.0
// A workbook's file: a zip archive whose parts are read by name, in pieces, within limits. Private to this folder.
// One thread at a time.
#pragma once

#include <zip.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>

#include "platform/spreadsheet/workbook_limits.h"

namespace mercato::spreadsheet {

// Why a workbook cannot be read, as a phrase: "it is no zip archive". Never leaves this folder.
class Unreadable : public std::exception {
 public:
  explicit Unreadable(std::string reason) : reason_(std::move(reason)) {}
  const char* what() const noexcept override { return reason_.c_str(); }

 private:
  std::string reason_;
};

// One part, unpacked from its beginning to its end. Must not outlive its package.
class PartStream {
 public:
  struct Close {
    void operator()(zip_file_t* file) const noexcept { zip_fclose(file); }
  };
  using File = std::unique_ptr<zip_file_t, Close>;

  PartStream(File file, std::string name, std::uint64_t most_bytes)
      : file_(std::move(file)), name_(std::move(name)), left_(most_bytes) {}

  // Fills the buffer as far as there is content. Returns 0 at the end; the checksum fits then. Throws Unreadable
  // when the part is damaged or grows beyond its limit.
  std::size_t read(std::span<char> buffer);

 private:
  File file_;
  std::string name_;
  std::uint64_t left_;
};

class Package {
 public:
  // Throws Unreadable.
  Package(const std::string& path, const Limits& limits);

  bool has(const std::string& name) const;
  // Throws Unreadable when there is no such part, or when it is encrypted.
  PartStream open(const std::string& name) const;

 private:
  struct Discard {
    void operator()(zip_t* archive) const noexcept { zip_discard(archive); }
  };
  std::unique_ptr<zip_t, Discard> archive_;
  std::uint64_t most_part_bytes_ = 0;
};

}  // namespace mercato::spreadsheet
