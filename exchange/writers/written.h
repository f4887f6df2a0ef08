// SPDX-License-Identifier: Apache-2.0
// Where what is written goes. One thread.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "exchange/item_documents.h"
#include "mercato/raised_error.h"

namespace mercato::exchange {

class Output {
 public:
  virtual ~Output() = default;
  // Raise 75 when it cannot be written.
  virtual void write(std::string_view bytes) = 0;
  virtual void finish() = 0;
};

// A file that has its name when it is finished.
class FileOutput final : public Output {
 public:
  explicit FileOutput(std::string path) : file_(std::move(path)) {}
  void write(std::string_view bytes) override { file_.write(bytes); }
  void finish() override { file_.finish(); }

 private:
  WrittenFile file_;
};

class StreamOutput final : public Output {
 public:
  explicit StreamOutput(std::ostream& stream) : stream_(stream) {}
  void write(std::string_view bytes) override {
    stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream_) fail();
  }
  void finish() override {
    stream_.flush();
    if (!stream_) fail();
  }

 private:
  [[noreturn]] static void fail() { raise(error_number::kPathFileAccess, {}, "Standard output cannot be written."); }
  std::ostream& stream_;
};

}  // namespace mercato::exchange
