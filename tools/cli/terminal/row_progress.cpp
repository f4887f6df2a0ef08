// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/terminal/row_progress.h"

#include <unistd.h>

#include <iostream>
#include <utility>

#include "platform/store/unit_of_work.h"

namespace mercato::cli {

WorkingLine::WorkingLine() {
  if (!shows_progress()) return;
  begin_anew();
  if (::isatty(STDOUT_FILENO) == 1) results_ = std::make_unique<Printed>(std::cout, *this);
  messages_ = std::make_unique<Printed>(std::cerr, *this);
  before_ = store::set_row_observer(this);
}

WorkingLine::~WorkingLine() {
  if (!messages_) return;
  store::set_row_observer(before_);
  messages_.reset();
  results_.reset();
  if (is_shown_) wipe_line();
}

void WorkingLine::on_read_row() {
  ++read_;
  show();
}

void WorkingLine::on_written_rows(std::int64_t count) {
  written_ += static_cast<std::size_t>(count);
  show();
}

void WorkingLine::on_printed(const std::ostream& stream) {
  if (is_writing_) return;
  if (&stream == &std::cout) is_over_ = true;
  begin_anew();
  if (std::exchange(is_shown_, false)) wipe_line();
}

void WorkingLine::begin_anew() {
  begin_ = shown_at_ = std::chrono::steady_clock::now();
  read_ = written_ = 0;
}

void WorkingLine::show() {
  if (is_over_ || Progress::any()) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - begin_ < std::chrono::seconds(1) || now - shown_at_ < std::chrono::milliseconds(100)) return;
  store::UnitOfWork::before_waiting();  // the person at the terminal may have stopped its output
  std::string words = std::to_string(read_) + " rows read, ";
  if (written_ > 0) words += std::to_string(written_) + " written, ";
  words += rate_of(read_ + written_, now - begin_) + kWipesRest;
  is_writing_ = true;
  write_over(words);
  is_writing_ = false;
  is_shown_ = true;
  shown_at_ = now;
}

WorkingLine::Printed::Printed(std::ostream& stream, WorkingLine& line)
    : stream_(stream), screen_(stream.rdbuf(this)), line_(line) {}

WorkingLine::Printed::~Printed() {
  const std::ios::iostate state = stream_.rdstate();  // what could not be written stays known
  stream_.rdbuf(screen_);
  stream_.setstate(state);
}

WorkingLine::Printed::int_type WorkingLine::Printed::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
  const char byte = traits_type::to_char_type(character);
  return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

std::streamsize WorkingLine::Printed::xsputn(const char* bytes, std::streamsize count) {
  line_.on_printed(stream_);
  return screen_->sputn(bytes, count);
}

int WorkingLine::Printed::sync() { return screen_->pubsync(); }

}  // namespace mercato::cli
