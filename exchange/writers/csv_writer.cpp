// SPDX-License-Identifier: Apache-2.0
#include "exchange/writers/table_writers.h"

namespace mercato::exchange {
namespace {

class CsvWriter final : public TableWriter {
 public:
  explicit CsvWriter(Output& output) : output_(output) {}

  void row(std::span<const TableCell> cells) override {
    line_.clear();
    for (const TableCell& cell : cells) {
      append_cell(line_, cell.text);
      line_ += ',';
    }
    line_.back() = '\n';
    output_.write(line_);
  }
  void finish() override { output_.finish(); }

 private:
  Output& output_;
  std::string line_;
};

}  // namespace

std::unique_ptr<TableWriter> csv_writer(Output& output) { return std::make_unique<CsvWriter>(output); }

}  // namespace mercato::exchange
