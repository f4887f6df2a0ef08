// SPDX-License-Identifier: Apache-2.0
// Output that is longer than the screen goes through a pager. Main thread.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <streambuf>
#include <string>
#include <utility>

namespace mercato::cli {

// What is written to standard output while it lives is kept until it is more than the screen has lines for, and then
// goes to the pager: MERCATO_PAGER, PAGER or less. What is flushed before that is shown at once, and all that follows
// too, since somebody waits for it. Nothing of this where standard output is no terminal, the pager is empty or "cat",
// or none is named and the terminal knows no codes.
class Pager {
 public:
  explicit Pager(bool wanted);
  // Waits until the reader has had enough.
  ~Pager();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

 private:
  class Bytes : public std::streambuf {
   public:
    Bytes(std::streambuf& screen, std::size_t lines, std::string command)
        : screen_(screen), lines_(lines), command_(std::move(command)) {}
    void finish();

   protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    int sync() override;

   private:
    void show_directly();
    void start_pager();

    std::streambuf& screen_;
    std::size_t lines_;  // that are left of the screen
    std::string command_;
    std::string kept_;
    std::FILE* pager_ = nullptr;
    bool direct_ = false;
  };

  std::streambuf* screen_ = nullptr;  // null: there is no pager
  std::unique_ptr<Bytes> bytes_;
};

}  // namespace mercato::cli
