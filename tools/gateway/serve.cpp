#include "tools/gateway/serve.h"

#include <string>

#include "tools/gateway/line_reader.h"

namespace mercato::gateway {

void serve(Session& session, std::istream& requests, std::ostream& answers) {
  // Room for the largest product documents as text.
  constexpr std::size_t kLongestLine = std::size_t{256} << 20;
  LineReader lines(requests, kLongestLine);
  std::string line;
  for (;;) {
    std::optional<std::string> answer;
    switch (lines.next(line)) {
      case LineReader::Read::end:
        return;
      case LineReader::Read::too_long:
        answer = Session::answer_to_too_long_line();
        break;
      case LineReader::Read::line:
        answer = session.answer(line);
        break;
    }
    if (!answer) continue;
    answers << *answer << '\n' << std::flush;
    if (!answers) return;
  }
}

}  // namespace mercato::gateway
