// SPDX-License-Identifier: Apache-2.0
#include "collaborators/grundwerk/log.h"

#include <spdlog/pattern_formatter.h>

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "mercato/settings.h"
#include "platform/files/turning_file.h"
#include "values/text.h"

namespace mercato::collaborators {
namespace {

constexpr std::size_t kLargestFile = 10'000'000;
constexpr int kOlderFiles = 5;
constexpr std::int32_t kInformation = 1;

// Control characters would steer the terminal that shows the log: each is written as its number, "\x1B" for an escape.
// Tabs stay. Of a text that is not UTF-8 no byte beyond ASCII is trusted.
void append_harmless(std::string& record, std::string_view text) {
  const bool is_utf8 = text::is_valid(text);
  for (std::size_t at = 0; at < text.size(); ++at) {
    auto byte = static_cast<unsigned char>(text[at]);
    const auto next = at + 1 < text.size() ? static_cast<unsigned char>(text[at + 1]) : 0u;
    // U+0080 to U+009F, in two bytes.
    const bool is_upper_control = is_utf8 && byte == 0xC2 && next >= 0x80 && next <= 0x9F;
    if (is_upper_control) byte = static_cast<unsigned char>(text[++at]);
    if (is_upper_control || (byte < 0x20 && byte != '\t') || byte == 0x7F || (byte >= 0x80 && !is_utf8)) {
      char number[5];
      std::snprintf(number, sizeof number, "\\x%02X", static_cast<unsigned>(byte));
      record += number;
    } else {
      record += static_cast<char>(byte);
    }
  }
}

// Each line of the text that is not empty, behind `lead`. All three kinds of line ends count.
void append_lines(std::string& record, std::string_view text, std::string_view lead) {
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find_first_of("\r\n", begin), text.size());
    if (end > begin) {
      if (!record.empty()) record += lead;
      append_harmless(record, text.substr(begin, end - begin));
    }
    begin = end + 1;
  }
}

// The record, with the host's time and the severity in front.
std::string stamped(const std::string& record, std::int32_t severity) {
  thread_local spdlog::pattern_formatter formatter("%Y-%m-%dT%H:%M:%S.%e%z %l %v");
  spdlog::memory_buf_t line;
  formatter.format({"", severity == kInformation ? spdlog::level::info : spdlog::level::err, record}, line);
  return {line.data(), line.size()};
}

}  // namespace

const ClassTable& Log::table() {
  static const ClassTable table =
      ClassTable::of<Log>("Grundwerk.Log", "{1F94B3E6-7D2C-4E58-8A05-C96D3F17B2A8}", TransactionAttribute::undeclared)
          .collaborator()
          .method("WriteEntry", &Log::WriteEntry, {"source", "text", "severity"})
          .method("WriteEntryAlternate", &Log::WriteEntryAlternate, {"source", "text", "severity"});
  return table;
}

Variant Log::WriteEntry(std::string& source, std::string& text, std::int32_t& severity) {
  const auto current = settings();
  if (current->log_file.empty()) return {};
  constexpr std::string_view kSetIn = "\n    ";
  std::string record;
  append_lines(record, source, kSetIn);
  if (record.empty()) record = "-";
  append_lines(record, text, kSetIn);
  files::append_record({current->log_file, kLargestFile, kOlderFiles}, stamped(record, severity));
  return {};
}

Variant Log::WriteEntryAlternate(std::string& source, std::string& text, std::int32_t& severity) {
  return WriteEntry(source, text, severity);
}

}  // namespace mercato::collaborators
