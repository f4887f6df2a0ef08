// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/line_reader.h"

#include <algorithm>
#include <new>
#include <streambuf>

namespace mercato::gateway {

bool LineReader::fill() {
  if (!ahead_.empty()) return true;
  std::streambuf& bytes = *stream_.rdbuf();
  using Traits = std::streambuf::traits_type;
  if (Traits::eq_int_type(bytes.sgetc(), Traits::eof())) return false;
  // Only what has arrived, but one byte at least: a read of more would wait for it.
  const auto wanted = std::clamp<std::streamsize>(bytes.in_avail(), 1, kBlock);
  const std::streamsize count = bytes.sgetn(block_.data(), wanted);
  ahead_ = std::string_view(block_).substr(0, static_cast<std::size_t>(count));
  return true;
}

LineReader::Read LineReader::next(std::string& line) {
  // One huge line must not hold its memory for the rest of the session.
  if (line.capacity() > kOrdinary) line = std::string();
  line.clear();

  bool anything = false;
  bool large = false;
  Read read = Read::line;
  for (bool ended = false; !ended && fill();) {
    anything = true;
    const std::size_t end = ahead_.find('\n');
    const std::string_view part = ahead_.substr(0, end);
    ended = end != std::string_view::npos;
    ahead_.remove_prefix(part.size() + (ended ? 1 : 0));
    if (read != Read::line) continue;
    if (!large && line.size() + part.size() > kOrdinary) {
      large = true;
      before_large_();
    }
    try {
      if (part.size() > longest_ - line.size())
        read = Read::too_long;
      else
        line += part;
    } catch (const std::bad_alloc&) {
      read = Read::no_memory;
    }
    if (read != Read::line) line = std::string();
  }
  return anything ? read : Read::end;
}

}  // namespace mercato::gateway
