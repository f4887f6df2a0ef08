// SPDX-License-Identifier: Apache-2.0
#include "bench/support/component_files.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

namespace mercato::bench {

void CsvReader::CloseFile::operator()(gzFile_s* file) const noexcept { gzclose(file); }

CsvReader::CsvReader(const std::filesystem::path& path) : path_(path.string()), file_(gzopen(path_.c_str(), "rb")) {
  if (!file_) throw std::runtime_error("cannot open " + path_);
  if (!read_row(header_)) fail("no header line");
}

std::size_t CsvReader::column(std::string_view name) const {
  const auto found = std::ranges::find(header_, name);
  if (found == header_.end()) fail("no column " + std::string(name));
  return static_cast<std::size_t>(found - header_.begin());
}

bool CsvReader::next(std::vector<std::string>& row) {
  if (!read_row(row)) return false;
  if (row.size() != header_.size()) fail("the row has " + std::to_string(row.size()) + " fields");
  return true;
}

int CsvReader::get() {
  if (position_ == filled_) {
    const int read = gzread(file_.get(), buffer_.data(), static_cast<unsigned>(buffer_.size()));
    if (read < 0) fail("the file is damaged");
    position_ = 0;
    filled_ = static_cast<std::size_t>(read);
    if (filled_ == 0) return kEnd;
  }
  return static_cast<unsigned char>(buffer_[position_++]);
}

bool CsvReader::read_row(std::vector<std::string>& row) {
  ++row_number_;
  row.clear();
  int c = get();
  if (c == kEnd) return false;
  for (;;) {
    std::string& field = row.emplace_back();
    if (c == '"') {
      for (;;) {
        c = get();
        if (c == kEnd) fail("a quote is not closed");
        if (c == '"' && (c = get()) != '"') break;
        field += static_cast<char>(c);
      }
    }
    for (; c != ',' && c != '\n' && c != kEnd; c = get())
      if (c != '\r') field += static_cast<char>(c);
    if (c != ',') return true;
    c = get();
  }
}

void CsvReader::fail(const std::string& what) const {
  throw std::runtime_error(path_ + ", row " + std::to_string(row_number_) + ": " + what);
}

}  // namespace mercato::bench
