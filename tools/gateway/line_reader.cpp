#include "tools/gateway/line_reader.h"

#include <streambuf>

namespace mercato::gateway {

LineReader::Read LineReader::next(std::string& line) {
  using Traits = std::streambuf::traits_type;
  // One huge line must not hold its memory for the rest of the session.
  constexpr std::size_t kKeptCapacity = std::size_t{1} << 20;
  if (line.capacity() > kKeptCapacity) line = std::string();
  line.clear();

  std::streambuf& bytes = *stream_.rdbuf();
  bool too_long = false;
  for (;;) {
    const Traits::int_type next = bytes.sbumpc();
    if (Traits::eq_int_type(next, Traits::eof())) {
      stream_.setstate(std::ios::eofbit);
      if (too_long) return Read::too_long;
      return line.empty() ? Read::end : Read::line;
    }
    const char character = Traits::to_char_type(next);
    if (character == '\n') return too_long ? Read::too_long : Read::line;
    if (too_long) continue;
    if (line.size() == longest_) {
      too_long = true;
      line = std::string();
    } else {
      line += character;
    }
  }
}

}  // namespace mercato::gateway
