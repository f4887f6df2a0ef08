// SPDX-License-Identifier: Apache-2.0
// Lines of a stream, of bounded length. One thread at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <string>
#include <string_view>
#include <utility>

namespace mercato::gateway {

class LineReader {
 public:
  enum class Read { line, too_long, no_memory, end };

  // What fits into a request without documents.
  static constexpr std::size_t kOrdinary = std::size_t{1} << 20;

  // Reads ahead in the stream: nobody else may read from it. `before_large` is called in the middle of a line that is
  // longer than an ordinary one, before more of it is read.
  LineReader(
      std::istream& stream, std::size_t longest, std::function<void()> before_large = [] {})
      : stream_(stream), longest_(longest), before_large_(std::move(before_large)), block_(kBlock, '\0') {}

  // The next line without its end. The last line may lack the end. Does not wait for more than the line. A line that is
  // too long, or that finds no memory, is dropped, and the next call goes on behind it.
  Read next(std::string& line);

 private:
  static constexpr std::size_t kBlock = std::size_t{1} << 16;

  // Whether anything is left to read.
  bool fill();

  std::istream& stream_;
  std::size_t longest_;
  std::function<void()> before_large_;
  std::string block_;
  std::string_view ahead_;  // the part of the block that no line has taken
};

}  // namespace mercato::gateway
