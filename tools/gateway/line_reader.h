// SPDX-License-Identifier: Apache-2.0
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

  // The next line without its end. The last line may lack the end. Does not wait for more than the line. A line that is
  // too long, or that finds no memory, is dropped, and the next call goes on behind it.
  Read next(std::string& line);

 private:
  static constexpr std::size_t kBlock = std::size_t{1} << 16;

  // Whether anything is left to read.
  bool fill();

  std::istream& stream_;
  std::size_t longest_;
  std::string block_;
  std::string_view ahead_;  // the part of the block that no line has taken
};

}  // namespace mercato::gateway
