// Lines of a stream, of bounded length. One thread at a time.
#pragma once

#include <cstddef>
#include <istream>
#include <string>

namespace mercato::gateway {

class LineReader {
 public:
  enum class Read { line, too_long, end };

  LineReader(std::istream& stream, std::size_t longest) : stream_(stream), longest_(longest) {}

  // The next line without its end, the last one also when nothing ends it. Of a line that is too long nothing is kept, and the
  // next call goes on behind it.
  Read next(std::string& line);

 private:
  std::istream& stream_;
  std::size_t longest_;
};

}  // namespace mercato::gateway
