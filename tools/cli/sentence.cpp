#include "tools/cli/sentence.h"

#include "frame/types/text.h"

namespace mercato::cli {

std::string innermost_description(std::string_view description) {
  constexpr std::string_view kBegin = "\r\n DESC: ";
  constexpr std::string_view kEnd = ".\r\n";
  const std::size_t begin = description.rfind(kBegin);
  if (begin == std::string_view::npos) return std::string(description);
  std::string_view innermost = description.substr(begin + kBegin.size());
  // The first end that no further text of the description follows: one before the information of its own level.
  const std::size_t info = innermost.find(".\r\n INFO: ");
  const std::size_t end = info != std::string_view::npos ? info : innermost.find(kEnd);
  return std::string(innermost.substr(0, end));
}

std::string sentence(const RaisedError& error) {
  std::string text(text::trim(innermost_description(error.Description)));
  // Some raises carry their sentence in the source.
  const bool says_nothing = text.empty() || text == error_number::default_description(error.Number);
  if (says_nothing && (text.empty() || error.Source.find(' ') != std::string::npos)) text = error.Source;
  if (!text.empty() && text.back() != '.') text += '.';
  return text;
}

}  // namespace mercato::cli
