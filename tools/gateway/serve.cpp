// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/serve.h"

#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "tools/gateway/line_reader.h"
#include "tools/gateway/memory_reserve.h"

namespace mercato::gateway {
namespace {

// A constant, because there is no memory to put it together.
constexpr std::string_view kNoMemory =
    R"({"jsonrpc":"2.0","id":null,"error":{"code":-32603,"message":"Out of memory"}})";

}  // namespace

void serve(Session& session, std::istream& requests, std::ostream& answers) {
  // Room for the largest product documents as text.
  constexpr std::size_t kLongestLine = std::size_t{256} << 20;
  LineReader lines(requests, kLongestLine);
  std::string line;
  for (;;) {
    keep_memory_reserve();
    const LineReader::Read read = lines.next(line);
    if (read == LineReader::Read::end) return;
    std::optional<std::string> answer;
    std::string_view said = kNoMemory;
    try {
      if (read == LineReader::Read::too_long) answer = Session::answer_to_too_long_line();
      if (read == LineReader::Read::line) answer = session.answer(line);
      if (read != LineReader::Read::no_memory) {
        if (!answer) continue;
        said = *answer;
      }
    } catch (const std::bad_alloc&) {
      // The constant is the answer.
    }
    answers << said << '\n' << std::flush;
    if (!answers) return;
  }
}

}  // namespace mercato::gateway
