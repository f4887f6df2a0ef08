// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/terminal/pager.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <utility>

namespace mercato::cli {
namespace {

std::string chosen_pager() {
  for (const char* name : {"MERCATO_PAGER", "PAGER"})
    if (const char* const pager = std::getenv(name)) return pager;
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && std::string_view(terminal) == "dumb" ? ""
                                                                     : "less";  // it would ask there whether to go on
}

// 0 where nobody reads a screen.
std::size_t lines_of_screen() {
  winsize size = {};
  return ::isatty(STDOUT_FILENO) == 1 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_row : 0;
}

}  // namespace

Pager::Pager(bool wanted) {
  const std::size_t lines = lines_of_screen();
  std::string command = chosen_pager();
  if (!wanted || lines < 2 || command.empty() || command == "cat") return;
  screen_ = std::cout.rdbuf();
  bytes_ = std::make_unique<Bytes>(*screen_, lines - 1, std::move(command));
  std::cout.rdbuf(bytes_.get());
}

Pager::~Pager() {
  if (!screen_) return;
  std::cout.rdbuf(screen_);
  bytes_->finish();
}

void Pager::Bytes::finish() {
  if (!pager_) return show_directly();
  // Ctrl-C is the pager's as long as it runs.
  std::signal(SIGINT, SIG_IGN);
  ::pclose(pager_);
}

void Pager::Bytes::show_directly() {
  direct_ = true;
  screen_.sputn(kept_.data(), static_cast<std::streamsize>(kept_.size()));
  kept_.clear();
  screen_.pubsync();
}

void Pager::Bytes::start_pager() {
  ::setenv("LESS", "FRX", 0);  // colours as they are; the text stays on the screen
  screen_.pubsync();
  pager_ = ::popen(command_.c_str(), "w");
  if (!pager_) return show_directly();
  std::fwrite(kept_.data(), 1, kept_.size(), pager_);
  kept_.clear();
}

std::streamsize Pager::Bytes::xsputn(const char* bytes, std::streamsize count) {
  const auto size = static_cast<std::size_t>(count);
  if (direct_) return screen_.sputn(bytes, count);
  if (pager_) {
    std::fwrite(bytes, 1, size, pager_);  // its reader may have had enough
    return count;
  }
  kept_.append(bytes, size);
  const auto ends = static_cast<std::size_t>(std::count(bytes, bytes + size, '\n'));
  if (ends > lines_)
    start_pager();
  else
    lines_ -= ends;
  return count;
}

Pager::Bytes::int_type Pager::Bytes::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
  const char byte = traits_type::to_char_type(character);
  return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

int Pager::Bytes::sync() {
  if (pager_) return 0;
  if (!direct_) show_directly();
  return screen_.pubsync();
}

}  // namespace mercato::cli
