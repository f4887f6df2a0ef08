// SPDX-License-Identifier: Apache-2.0
// Rows of a comma-separated file: quoted fields, doubled quotes and line ends inside quotes included. A file packed
// with gzip is read as it is, a plain one too. One thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct gzFile_s;

namespace mercato::bench {

class CsvReader {
 public:
  // Reads the header line. Throws std::runtime_error when there is no such file, or no line in it.
  explicit CsvReader(const std::filesystem::path& path);

  // Where the column with this name stands. Throws std::runtime_error when there is none.
  std::size_t column(std::string_view name) const;
  // The next row, as long as the header; false at the end. Throws std::runtime_error for a row of another length, a
  // quote that nothing closes, and a damaged file.
  bool next(std::vector<std::string>& row);

 private:
  struct CloseFile {
    void operator()(gzFile_s* file) const noexcept;
  };
  static constexpr int kEnd = -1;

  int get();
  bool read_row(std::vector<std::string>& row);
  [[noreturn]] void fail(const std::string& what) const;

  std::string path_;
  std::unique_ptr<gzFile_s, CloseFile> file_;
  std::array<char, 1 << 16> buffer_;
  std::size_t position_ = 0;
  std::size_t filled_ = 0;
  std::size_t row_number_ = 0;
  std::vector<std::string> header_;
};

}  // namespace mercato::bench
