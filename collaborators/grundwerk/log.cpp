#include "collaborators/grundwerk/log.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <string_view>

#include "collaborators/grundwerk/settings.h"

namespace mercato::collaborators {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestFile = 10'000'000;
constexpr std::size_t kOlderFiles = 5;
constexpr auto kRetry = std::chrono::seconds(30);  // opening a file that resists takes long
constexpr std::int32_t kInformation = 1;

// The log file that is open, if any.
struct OpenFile {
  std::mutex guard;
  std::string path;
  std::shared_ptr<spdlog::logger> logger;
  Clock::time_point retry_at;
};

std::shared_ptr<spdlog::logger> open_logger(const std::string& path) {
  auto file = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(path, kLargestFile, kOlderFiles);
  auto logger = std::make_shared<spdlog::logger>("Grundwerk.Log", std::move(file));
  logger->set_pattern("%Y-%m-%dT%H:%M:%S.%e%z %l %v");
  logger->flush_on(spdlog::level::info);
  logger->set_error_handler([](const std::string&) {});  // the default one writes to the host's standard error
  return logger;
}

// Null while the file cannot be opened.
std::shared_ptr<spdlog::logger> logger_of(const std::string& path) {
  static OpenFile open;
  const std::lock_guard lock(open.guard);
  if (path != open.path) {
    open.path = path;
    open.logger.reset();
    open.retry_at = {};
  }
  if (!open.logger && Clock::now() >= open.retry_at) {
    try {
      open.logger = open_logger(path);
    } catch (const spdlog::spdlog_ex&) {
      open.retry_at = Clock::now() + kRetry;
    }
  }
  return open.logger;
}

// Each line that is not empty on one of its own, behind `lead`. All three kinds of line ends count.
void append_lines(std::string& record, std::string_view text, std::string_view lead) {
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find_first_of("\r\n", begin), text.size());
    if (end > begin) record.append(record.empty() ? "" : lead).append(text.substr(begin, end - begin));
    begin = end + 1;
  }
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
  const auto logger = logger_of(current->log_file);
  if (!logger) return {};
  constexpr std::string_view kSetIn = "\n    ";
  std::string record;
  append_lines(record, source, kSetIn);
  if (record.empty()) record = "-";
  append_lines(record, text, kSetIn);
  logger->log(severity == kInformation ? spdlog::level::info : spdlog::level::err, record);
  return {};
}

Variant Log::WriteEntryAlternate(std::string& source, std::string& text, std::int32_t& severity) {
  return WriteEntry(source, text, severity);
}

}  // namespace mercato::collaborators
