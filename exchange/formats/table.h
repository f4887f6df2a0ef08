// SPDX-License-Identifier: Apache-2.0
// A table as it streams by, whatever file it stands in. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace mercato::exchange {

struct TableRow {
  std::uint64_t line = 0;  // on which it begins, of a sheet its number; counted from 1
  std::vector<std::string> cells;
  std::string fault;  // why it cannot be read, as a sentence; the rows behind it can. Empty: it is good
};

class Table {
 public:
  virtual ~Table() = default;
  // The next row that has a cell with something in it. False at the end. Raises 5 when the file as a whole cannot be
  // read on.
  virtual bool next(TableRow& row) = 0;
};

inline constexpr std::size_t kMostColumns = 16384;  // as many as a sheet can have
inline constexpr std::size_t kSampleRows = 1000;

// A table whose first rows can be looked at before they are read.
class SampledTable final : public Table {
 public:
  explicit SampledTable(Table& table) : table_(table) {
    TableRow row;
    while (sample_.size() < kSampleRows && table_.next(row)) sample_.push_back(std::move(row));
  }

  // What is left of them.
  const std::deque<TableRow>& sample() const { return sample_; }

  bool next(TableRow& row) override {
    if (sample_.empty()) return table_.next(row);
    row = std::move(sample_.front());
    sample_.pop_front();
    return true;
  }

 private:
  Table& table_;
  std::deque<TableRow> sample_;
};

}  // namespace mercato::exchange
