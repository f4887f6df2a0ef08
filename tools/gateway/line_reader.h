// Lines of a stream, of bounded length. One thread at a time.
#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

namespace mercato::gateway {

class LineReader {
 public:
  enum class Read { line, too_long, no_memory, end };

  // Reads ahead in the stream: nobody else may read from it.
  LineReader(std::istream& stream, std::size_t longest) : stream_(stream), longest_(longest), block_(kBlock, '\0') {}

  // The next line without its end, the last one also when nothing ends it. Waits for no more than the line. Of a line
  // that is too long, or for which there is no memory, nothing is kept, and the next call goes on behind it.
  Read next(std::string& line);

 private:
  static constexpr std::size_t kBlock = std::size_t{1} << 16;

  // Whether anything is left to read.
  bool fill();

  std::istream& stream_;
  std::size_t longest_;
  std::string block_;
  std::string_view ahead_;  // of the block, what no line has taken
};

}  // namespace mercato::gateway
