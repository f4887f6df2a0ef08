// SPDX-License-Identifier: Apache-2.0
// How far a command has come, by the rows that the store reads and writes for it: where the library does the work in one
// call, nobody else can tell. On standard error, on a terminal only. Main thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <streambuf>

#include "platform/store/row_observer.h"
#include "tools/cli/terminal/terminal.h"

namespace mercato::cli {

// While it lives: the rows that are written, of so many that are expected.
class RowProgress : private store::RowObserver {
 public:
  explicit RowProgress(std::size_t expected) : progress_(expected), before_(store::set_row_observer(this)) {}
  ~RowProgress() override { store::set_row_observer(before_); }
  RowProgress(const RowProgress&) = delete;
  RowProgress& operator=(const RowProgress&) = delete;

 private:
  void on_read_row() override {}
  void on_written_rows(std::int64_t count) override { progress_.advance(static_cast<std::size_t>(count)); }

  Progress progress_;
  store::RowObserver* before_;
};

// For a whole command: what takes longer than a second and has no progress of its own says how many rows it has read and
// written, and how many that is in a second. Whatever else is printed wipes it: a message begins the count anew, and
// behind the first result on a terminal there is none.
class WorkingLine : private store::RowObserver {
 public:
  WorkingLine();
  ~WorkingLine() override;
  WorkingLine(const WorkingLine&) = delete;
  WorkingLine& operator=(const WorkingLine&) = delete;

 private:
  // Stands before a stream, and says so when something is printed.
  class Printed : public std::streambuf {
   public:
    Printed(std::ostream& stream, WorkingLine& line);
    ~Printed() override;
    Printed(const Printed&) = delete;
    Printed& operator=(const Printed&) = delete;

   protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    int sync() override;

   private:
    std::ostream& stream_;
    std::streambuf* screen_;
    WorkingLine& line_;
  };

  void on_read_row() override;
  void on_written_rows(std::int64_t count) override;
  void on_printed(const std::ostream& stream);
  void show();
  void begin_anew();

  store::RowObserver* before_ = nullptr;
  std::unique_ptr<Printed> results_;
  std::unique_ptr<Printed> messages_;
  std::size_t read_ = 0;
  std::size_t written_ = 0;
  bool is_over_ = false;
  bool is_shown_ = false;
  bool is_writing_ = false;
  std::chrono::steady_clock::time_point begin_;
  std::chrono::steady_clock::time_point shown_at_;
};

}  // namespace mercato::cli
