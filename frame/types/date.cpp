#include "frame/types/date.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

#include "frame/types/raised_error.h"
#include "frame/types/text.h"

namespace mercato {
namespace {

constexpr std::int64_t kEpochInUnixDays = -25569;  // 30 December 1899
constexpr std::int64_t kSecondsPerDay = 86400;

constexpr std::array<std::string_view, 12> kMonths = {"JANUARY",   "FEBRUARY", "MARCH",    "APRIL",
                                                      "MAY",       "JUNE",     "JULY",     "AUGUST",
                                                      "SEPTEMBER", "OCTOBER",  "NOVEMBER", "DECEMBER"};

bool exists(int year, int month, int day) {
  using namespace std::chrono;
  return year >= 100 && year <= 9999 && month >= 1 && day >= 1 &&
         year_month_day{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                        std::chrono::day{static_cast<unsigned>(day)}}
             .ok();
}

std::int64_t unix_days(int year, int month, int day) {
  using namespace std::chrono;
  return sys_days{year_month_day{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                 std::chrono::day{static_cast<unsigned>(day)}}}
      .time_since_epoch()
      .count();
}

// Two digits mean this century up to 29, the last one from 30.
int full_year(int year, std::size_t digits) {
  if (digits > 2) return year;
  return year < 30 ? 2000 + year : 1900 + year;
}

struct Word {
  enum class Kind { number, name, symbol } kind;
  std::string text;  // names in capitals
  int number = 0;
  std::size_t digits = 0;
};

// Numbers, names and separators; blanks only separate. Nothing for a text with other characters in it.
std::optional<std::vector<Word>> words_of(std::string_view text) {
  std::vector<Word> words;
  std::size_t position = 0;
  while (position < text.size()) {
    const char byte = text[position];
    if (byte == ' ' || byte == '\t') {
      ++position;
    } else if (byte >= '0' && byte <= '9') {
      Word word{Word::Kind::number, {}, 0, 0};
      while (position < text.size() && text[position] >= '0' && text[position] <= '9') {
        if (++word.digits > 4) return std::nullopt;
        word.number = word.number * 10 + (text[position++] - '0');
      }
      words.push_back(word);
    } else if ((byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z')) {
      Word word{Word::Kind::name, {}, 0, 0};
      while (position < text.size() && ((text[position] | 0x20) >= 'a' && (text[position] | 0x20) <= 'z'))
        word.text.push_back(static_cast<char>(text[position++] & ~0x20));
      words.push_back(word);
    } else if (std::string_view("/-.:,").find(byte) != std::string_view::npos) {
      words.push_back({Word::Kind::symbol, std::string(1, byte), 0, 0});
      ++position;
    } else {
      return std::nullopt;
    }
  }
  return words;
}

// Reads the words of one text from left to right.
class DateReader {
 public:
  DateReader(std::vector<Word> words, bool month_first) : words_(std::move(words)), month_first_(month_first) {}

  std::optional<Date> read() {
    if (words_.empty()) return std::nullopt;
    CivilTime civil;
    const bool has_date = !time_comes_next();
    if (has_date && !read_date(civil)) return std::nullopt;
    if (has_date && is_name("T")) ++next_;
    if (next_ < words_.size() && !read_time(civil)) return std::nullopt;
    if (next_ != words_.size() || !exists(civil.year, civil.month, civil.day)) return std::nullopt;
    return Date::from_civil(civil);
  }

 private:
  bool is_symbol(std::string_view text) const {
    return kind_at(next_) == Word::Kind::symbol && words_[next_].text == text;
  }
  bool is_name(std::string_view text) const { return kind_at(next_) == Word::Kind::name && words_[next_].text == text; }
  std::optional<Word::Kind> kind_at(std::size_t position) const {
    return position < words_.size() ? std::optional(words_[position].kind) : std::nullopt;
  }
  bool time_comes_next() const {
    return kind_at(next_) == Word::Kind::number &&
           ((kind_at(next_ + 1) == Word::Kind::symbol && words_[next_ + 1].text == ":") ||
            (kind_at(next_ + 1) == Word::Kind::name &&
             (words_[next_ + 1].text == "AM" || words_[next_ + 1].text == "PM")));
  }
  void skip_separator() {
    if (is_symbol("/") || is_symbol("-") || is_symbol(".") || is_symbol(",")) ++next_;
  }

  bool read_date(CivilTime& civil) {
    std::vector<Word> numbers;
    int named_month = 0;
    std::size_t named_at = 0;
    while (numbers.size() + (named_month ? 1 : 0) < 3 && next_ < words_.size()) {
      if (!numbers.empty() && time_comes_next()) break;
      if (kind_at(next_) == Word::Kind::number) {
        numbers.push_back(words_[next_++]);
      } else if (kind_at(next_) == Word::Kind::name && named_month == 0) {
        named_month = month_of(words_[next_].text);
        if (named_month == 0) return false;
        named_at = numbers.size();
        ++next_;
      } else {
        return false;
      }
      if (numbers.size() + (named_month ? 1 : 0) < 3) skip_separator();
    }
    if (is_symbol(",")) ++next_;
    return named_month != 0 ? with_named_month(civil, numbers, named_month, named_at) : with_numbers(civil, numbers);
  }

  static int month_of(const std::string& text) {
    for (std::size_t month = 0; month < kMonths.size(); ++month)
      if (text.size() >= 3 && kMonths[month].substr(0, text.size()) == text) return static_cast<int>(month) + 1;
    return 0;
  }

  static bool with_named_month(CivilTime& civil, const std::vector<Word>& numbers, int month, std::size_t named_at) {
    if (numbers.size() != 2) return false;
    // "5 July 2026", "July 5, 2026", "2026 July 5"
    const bool year_first = numbers[0].digits > 2 || (named_at == 1 && numbers[0].number > 31);
    const Word& year = year_first ? numbers[0] : numbers[1];
    const Word& day = year_first ? numbers[1] : numbers[0];
    civil.year = full_year(year.number, year.digits);
    civil.month = month;
    civil.day = day.number;
    return exists(civil.year, civil.month, civil.day);
  }

  bool with_numbers(CivilTime& civil, const std::vector<Word>& numbers) const {
    if (numbers.size() != 3) return false;
    int first = numbers[0].number;
    int second = numbers[1].number;
    if (numbers[0].digits > 2) {
      civil.year = numbers[0].number;
      civil.month = second;
      civil.day = numbers[2].number;
      return exists(civil.year, civil.month, civil.day);
    }
    if (!month_first_) std::swap(first, second);
    civil.year = full_year(numbers[2].number, numbers[2].digits);
    civil.month = first;
    civil.day = second;
    if (!exists(civil.year, first, second)) std::swap(civil.month, civil.day);
    return exists(civil.year, civil.month, civil.day);
  }

  bool read_time(CivilTime& civil) {
    std::array<int, 3> parts{};
    std::size_t count = 0;
    while (kind_at(next_) == Word::Kind::number && count < parts.size()) {
      parts[count++] = words_[next_++].number;
      if (!is_symbol(":")) break;
      if (kind_at(++next_) != Word::Kind::number) return false;
    }
    // A fraction of a second is read and dropped.
    if (count == 3 && is_symbol(".") && kind_at(next_ + 1) == Word::Kind::number) next_ += 2;
    bool half_named = false;
    if (is_name("AM") || is_name("PM")) {
      half_named = true;
      const bool afternoon = is_name("PM");
      if (parts[0] < 1 || parts[0] > 12) return false;
      parts[0] = parts[0] % 12 + (afternoon ? 12 : 0);
      ++next_;
    }
    if (count == 0 || (count == 1 && !half_named)) return false;
    civil.hour = parts[0];
    civil.minute = parts[1];
    civil.second = parts[2];
    return civil.hour < 24 && civil.minute < 60 && civil.second < 60;
  }

  std::vector<Word> words_;
  bool month_first_;
  std::size_t next_ = 0;
};

// The seconds since the zero date; before it the time of day still counts forward.
std::int64_t whole_seconds(double days) {
  const double day = std::trunc(days);
  const double time = std::fabs(days - day);
  return static_cast<std::int64_t>(day) * kSecondsPerDay +
         static_cast<std::int64_t>(std::llround(time * kSecondsPerDay));
}

}  // namespace

Date Date::from_civil(const CivilTime& civil) {
  const bool time_exists = civil.hour >= 0 && civil.hour < 24 && civil.minute >= 0 && civil.minute < 60 &&
                           civil.second >= 0 && civil.second < 60;
  if (!exists(civil.year, civil.month, civil.day) || !time_exists) raise(error_number::kInvalidArgument);
  const auto day = static_cast<double>(unix_days(civil.year, civil.month, civil.day) - kEpochInUnixDays);
  const double time = (civil.hour * 3600 + civil.minute * 60 + civil.second) / static_cast<double>(kSecondsPerDay);
  return Date(day < 0 ? day - time : day + time);
}

Date Date::from_unix_seconds(std::int64_t seconds) {
  std::int64_t day = seconds / kSecondsPerDay;
  std::int64_t time = seconds % kSecondsPerDay;
  if (time < 0) {
    time += kSecondsPerDay;
    --day;
  }
  const auto days = static_cast<double>(day - kEpochInUnixDays);
  const double fraction = static_cast<double>(time) / static_cast<double>(kSecondsPerDay);
  return Date(days < 0 ? days - fraction : days + fraction);
}

std::optional<Date> Date::parse(std::string_view text, std::int32_t locale) {
  auto words = words_of(text);
  if (!words) return std::nullopt;
  return DateReader(std::move(*words), locale == kUsLocale).read();
}

CivilTime Date::civil() const {
  const std::int64_t seconds = whole_seconds(days_);
  std::int64_t day = seconds / kSecondsPerDay;
  std::int64_t time = seconds % kSecondsPerDay;
  if (time < 0) {
    time += kSecondsPerDay;
    --day;
  }
  using namespace std::chrono;
  const year_month_day date{sys_days{std::chrono::days{static_cast<int>(day + kEpochInUnixDays)}}};
  CivilTime civil;
  civil.year = static_cast<int>(date.year());
  civil.month = static_cast<int>(static_cast<unsigned>(date.month()));
  civil.day = static_cast<int>(static_cast<unsigned>(date.day()));
  civil.hour = static_cast<int>(time / 3600);
  civil.minute = static_cast<int>(time / 60 % 60);
  civil.second = static_cast<int>(time % 60);
  return civil;
}

std::string Date::text() const {
  const CivilTime parts = civil();
  char date[32];
  std::snprintf(date, sizeof date, "%d/%d/%d", parts.month, parts.day, parts.year);
  if (parts.hour == 0 && parts.minute == 0 && parts.second == 0 && days_ != 0) return date;
  char time[32];
  const int hour = parts.hour % 12 == 0 ? 12 : parts.hour % 12;
  std::snprintf(time, sizeof time, "%d:%02d:%02d %s", hour, parts.minute, parts.second, parts.hour < 12 ? "AM" : "PM");
  const bool time_alone = parts.year == 1899 && parts.month == 12 && parts.day == 30;
  return time_alone ? std::string(time) : std::string(date) + " " + time;
}

std::string Date::iso_text() const {
  const CivilTime parts = civil();
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", parts.year, parts.month, parts.day, parts.hour,
                parts.minute, parts.second);
  return text;
}

}  // namespace mercato
