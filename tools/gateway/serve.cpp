// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/serve.h"

#include <array>
#include <condition_variable>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>

#include "tools/gateway/line_reader.h"
#include "tools/gateway/memory_reserve.h"
#include "tools/gateway/request.h"

namespace mercato::gateway {
namespace {

// Room for the largest product documents as text.
constexpr std::size_t kLongestLine = std::size_t{256} << 20;
// A constant, because there is no memory to put it together.
constexpr std::string_view kNoMemory =
    R"({"jsonrpc":"2.0","id":null,"error":{"code":-32603,"message":"Out of memory"}})";

// A line that found no memory.
struct Lost {};
// What was read: what the line asks for, or the answer to what is no request.
struct Line {
  std::variant<Lost, Asked, std::string> content;
  std::size_t bytes = 0;
};

// Lines that are read and not answered yet. It takes no memory itself.
class Inbox {
 public:
  // The reader's side. Waits for room, and drops the line when nobody answers any more.
  void push(Line line) {
    std::unique_lock lock(mutex_);
    const std::size_t bytes = line.bytes;
    changed_.wait(lock, [&] {
      return closed_ || count_ == 0 || (count_ < lines_.size() && bytes_ + bytes <= LineReader::kOrdinary);
    });
    if (closed_) return;
    lines_[(first_ + count_++) % lines_.size()] = std::move(line);
    bytes_ += bytes;
    changed_.notify_all();
  }
  void wait_until_idle() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return closed_ || (count_ == 0 && idle_); });
  }
  void end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
  }
  bool closed() {
    const std::lock_guard lock(mutex_);
    return closed_;
  }

  // The server's side. Nothing at the end.
  std::optional<Line> next() {
    std::unique_lock lock(mutex_);
    idle_ = true;
    changed_.notify_all();
    changed_.wait(lock, [&] { return count_ > 0 || ended_; });
    idle_ = false;
    if (count_ == 0) return std::nullopt;
    Line line = std::exchange(lines_[first_], {});
    first_ = (first_ + 1) % lines_.size();
    --count_;
    bytes_ -= line.bytes;
    changed_.notify_all();
    return line;
  }
  void close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::array<Line, 64> lines_;
  std::size_t first_ = 0;
  std::size_t count_ = 0;
  std::size_t bytes_ = 0;
  bool idle_ = false;
  bool ended_ = false;
  bool closed_ = false;
};

// Both threads write answers.
class Answers {
 public:
  explicit Answers(std::ostream& stream) : stream_(stream) {}
  // Whether somebody may still read them.
  bool write(std::string_view line) {
    const std::lock_guard lock(mutex_);
    stream_ << line << '\n' << std::flush;
    return static_cast<bool>(stream_);
  }

 private:
  std::mutex mutex_;
  std::ostream& stream_;
};

// What was read as a line for the session; nothing for a request that is answered already.
std::optional<Line> line_for(Session& session, const std::string& text, Answers& answers) {
  try {
    Asked asked = read_requests(text);
    if (session.is_cancellation(asked)) {
      if (const auto answer = session.answer(asked)) answers.write(*answer);
      return std::nullopt;
    }
    session.under_way().wait_for_turn(asked);
    return Line{std::move(asked), text.size()};
  } catch (const RefusedLine& refused) {
    return Line{Session::answer_to(refused), text.size()};
  }
}

void read_ahead(Session& session, std::istream& requests, Inbox& inbox, Answers& answers) {
  LineReader lines(requests, kLongestLine, [&] { inbox.wait_until_idle(); });
  std::string text;
  for (;;) {
    const LineReader::Read read = lines.next(text);
    if (read == LineReader::Read::end || inbox.closed()) break;
    std::optional<Line> line = Line{};
    try {
      if (read == LineReader::Read::line) line = line_for(session, text, answers);
      if (read == LineReader::Read::too_long)
        line->content = Session::answer_to({kInvalidRequest, "The line is too long", nullptr});
    } catch (const std::bad_alloc&) {
      line.emplace();
    }
    if (line) inbox.push(std::move(*line));
  }
  inbox.end();
}

// Returns whether there may be more to answer.
bool answer_next(Session& session, Inbox& inbox, Answers& answers) {
  keep_memory_reserve();
  const std::optional<Line> line = inbox.next();
  if (!line) return false;
  try {
    if (const auto* refusal = std::get_if<std::string>(&line->content)) return answers.write(*refusal);
    if (const auto* asked = std::get_if<Asked>(&line->content)) {
      const std::optional<std::string> answer = session.answer(*asked);
      return !answer || answers.write(*answer);
    }
  } catch (const std::bad_alloc&) {
    // The constant is the answer.
  }
  return answers.write(kNoMemory);
}

}  // namespace

void serve(Session& session, std::istream& requests, std::ostream& answers, const std::function<void()>& stop_reading) {
  Inbox inbox;
  Answers written(answers);
  std::thread reader([&] { read_ahead(session, requests, inbox, written); });
  while (answer_next(session, inbox, written)) {
  }
  inbox.close();
  stop_reading();
  reader.join();
}

}  // namespace mercato::gateway
