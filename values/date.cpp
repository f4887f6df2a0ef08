// SPDX-License-Identifier: Apache-2.0
#include "mercato/date.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <utility>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato {
namespace {

constexpr std::int64_t kEpochInUnixDays = -25569;  // 30 December 1899
constexpr std::int64_t kSecondsPerDay = 86400;

constexpr std::array<std::string_view, 12> kMonths = {"JANUARY",   "FEBRUARY", "MARCH",    "APRIL",
                                                      "MAY",       "JUNE",     "JULY",     "AUGUST",
                                                      "SEPTEMBER", "OCTOBER",  "NOVEMBER", "DECEMBER"};

bool exists(int year, int month, int day) {
  using namespace std::chrono;
  // The types of the calendar keep the last byte of a number.
  return year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= 31 &&
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

struct Word {
  enum class Kind : std::uint8_t { number, name, symbol, end } kind = Kind::end;
  std::string_view text;
  int number = 0;
};

// Two digits mean this century up to 29, the last one from 30.
int full_year(const Word& year) {
  if (year.text.size() > 2) return year.number;
  return year.number < 30 ? 2000 + year.number : 1900 + year.number;
}

// A word is a number, a name or a separator. Blanks separate words and are none.
class Words {
 public:
  // False when the text has other characters, or more words than a date has.
  bool read(std::string_view text) {
    std::size_t position = 0;
    while (position < text.size()) {
      const std::size_t begin = position;
      const char byte = text[position];
      if (is_blank(byte)) {
        ++position;
        continue;
      }
      Word word;
      if (is_digit(byte)) {
        word.kind = Word::Kind::number;
        for (; position < text.size() && is_digit(text[position]); ++position) {
          if (position - begin == kMostDigits) return false;
          word.number = word.number * 10 + (text[position] - '0');
        }
      } else if (is_letter(byte)) {
        word.kind = Word::Kind::name;
        while (position < text.size() && is_letter(text[position])) ++position;
      } else if (std::string_view("/-.:,").find(byte) != std::string_view::npos) {
        word.kind = Word::Kind::symbol;
        ++position;
      } else {
        return false;
      }
      if (size_ == words_.size()) return false;
      word.text = text.substr(begin, position - begin);
      words_[size_++] = word;
    }
    return true;
  }

  std::size_t size() const { return size_; }
  // Behind the last word a word of kind `end`.
  const Word& operator[](std::size_t position) const {
    static constexpr Word kEnd;
    return position < size_ ? words_[position] : kEnd;
  }

 private:
  static constexpr std::size_t kMostDigits = 4;
  static bool is_blank(char byte) { return byte == ' ' || byte == '\t'; }
  static bool is_digit(char byte) { return byte >= '0' && byte <= '9'; }
  static bool is_letter(char byte) { return (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z'; }

  // "July, 5, 2026, T 12:30:45.5 PM" and its like have up to 15.
  std::array<Word, 16> words_;
  std::size_t size_ = 0;
};

// Reads the words of one text from left to right.
class DateReader {
 public:
  DateReader(const Words& words, bool month_first) : words_(words), month_first_(month_first) {}

  std::optional<Date> read() {
    if (words_.size() == 0) return std::nullopt;
    CivilTime civil;
    const bool has_date = !time_comes_next();
    if (has_date && !read_date(civil)) return std::nullopt;
    if (has_date && is_name("T")) ++next_;
    if (next_ < words_.size() && !read_time(civil)) return std::nullopt;
    if (next_ != words_.size() || !exists(civil.year, civil.month, civil.day)) return std::nullopt;
    return Date::from_civil(civil);
  }

 private:
  // The numbers of a date, in their order.
  struct Numbers {
    std::array<Word, 3> words;
    std::size_t size = 0;
    const Word& operator[](std::size_t position) const { return words[position]; }
  };

  bool is_number(std::size_t ahead = 0) const { return words_[next_ + ahead].kind == Word::Kind::number; }
  bool is_symbol(std::string_view text, std::size_t ahead = 0) const {
    const Word& word = words_[next_ + ahead];
    return word.kind == Word::Kind::symbol && word.text == text;
  }
  bool is_name(std::string_view text, std::size_t ahead = 0) const {
    const Word& word = words_[next_ + ahead];
    return word.kind == Word::Kind::name && text::equal_names(word.text, text);
  }
  bool time_comes_next() const { return is_number() && (is_symbol(":", 1) || is_name("AM", 1) || is_name("PM", 1)); }
  void skip_separator() {
    if (is_symbol("/") || is_symbol("-") || is_symbol(".") || is_symbol(",")) ++next_;
  }

  bool read_date(CivilTime& civil) {
    Numbers numbers;
    int named_month = 0;
    std::size_t named_at = 0;
    const auto parts = [&] { return numbers.size + (named_month ? 1 : 0); };
    while (parts() < 3 && next_ < words_.size()) {
      if (numbers.size > 0 && time_comes_next()) break;
      if (is_number()) {
        numbers.words[numbers.size++] = words_[next_++];
      } else if (words_[next_].kind == Word::Kind::name && named_month == 0) {
        named_month = month_of(words_[next_].text);
        if (named_month == 0) return false;
        named_at = numbers.size;
        ++next_;
      } else {
        return false;
      }
      if (parts() < 3) skip_separator();
    }
    if (is_symbol(",")) ++next_;
    return named_month != 0 ? with_named_month(civil, numbers, named_month, named_at) : with_numbers(civil, numbers);
  }

  static int month_of(std::string_view text) {
    for (std::size_t month = 0; month < kMonths.size(); ++month)
      if (text.size() >= 3 && text::equal_names(kMonths[month].substr(0, text.size()), text))
        return static_cast<int>(month) + 1;
    return 0;
  }

  static bool with_named_month(CivilTime& civil, const Numbers& numbers, int month, std::size_t named_at) {
    if (numbers.size != 2) return false;
    // "5 July 2026", "July 5, 2026", "2026 July 5"
    const bool year_first = numbers[0].text.size() > 2 || (named_at == 1 && numbers[0].number > 31);
    const Word& year = year_first ? numbers[0] : numbers[1];
    const Word& day = year_first ? numbers[1] : numbers[0];
    civil.year = full_year(year);
    civil.month = month;
    civil.day = day.number;
    return exists(civil.year, civil.month, civil.day);
  }

  bool with_numbers(CivilTime& civil, const Numbers& numbers) const {
    if (numbers.size != 3) return false;
    int first = numbers[0].number;
    int second = numbers[1].number;
    if (numbers[0].text.size() > 2) {
      civil.year = numbers[0].number;
      civil.month = second;
      civil.day = numbers[2].number;
      return exists(civil.year, civil.month, civil.day);
    }
    if (!month_first_) std::swap(first, second);
    civil.year = full_year(numbers[2]);
    civil.month = first;
    civil.day = second;
    if (!exists(civil.year, first, second)) std::swap(civil.month, civil.day);
    return exists(civil.year, civil.month, civil.day);
  }

  bool read_time(CivilTime& civil) {
    std::array<int, 3> parts{};
    std::size_t count = 0;
    while (is_number() && count < parts.size()) {
      parts[count++] = words_[next_++].number;
      if (!is_symbol(":")) break;
      ++next_;
      if (!is_number()) return false;
    }
    // A fraction of a second is read and dropped.
    if (count == 3 && is_symbol(".") && is_number(1)) next_ += 2;
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

  const Words& words_;
  bool month_first_;
  std::size_t next_ = 0;
};

class DateText {
 public:
  // With zeros in front up to that width.
  DateText& number(int value, std::size_t width = 1) {
    char digits[12];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    const auto size = static_cast<std::size_t>(result.ptr - digits);
    if (size < width) text_.append(width - size, '0');
    text_.append(digits, size);
    return *this;
  }
  DateText& then(char separator) {
    text_.push_back(separator);
    return *this;
  }
  void then(std::string_view words) { text_ += words; }
  std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

// The seconds since the zero date. Before that date, too, the fraction is the time of day and counts forward.
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
  Words words;
  if (!words.read(text)) return std::nullopt;
  return DateReader(words, locale == kUsLocale).read();
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

double Date::instant() const {
  const double day = std::trunc(days_);
  return day + std::fabs(days_ - day);
}

std::string Date::text() const {
  const CivilTime parts = civil();
  const auto date = [&](DateText& text) {
    text.number(parts.month).then('/').number(parts.day).then('/').number(parts.year);
  };
  const auto time = [&](DateText& text) {
    text.number(parts.hour % 12 == 0 ? 12 : parts.hour % 12).then(':').number(parts.minute, 2).then(':');
    text.number(parts.second, 2).then(parts.hour < 12 ? " AM" : " PM");
  };
  DateText text;
  const bool midnight = parts.hour == 0 && parts.minute == 0 && parts.second == 0 && days_ != 0;
  const bool time_alone = !midnight && parts.year == 1899 && parts.month == 12 && parts.day == 30;
  if (!time_alone) date(text);
  if (!time_alone && !midnight) text.then(' ');
  if (!midnight) time(text);
  return text.take();
}

std::string Date::iso_text() const {
  const CivilTime parts = civil();
  DateText text;
  text.number(parts.year, 4).then('-').number(parts.month, 2).then('-').number(parts.day, 2).then('T');
  text.number(parts.hour, 2).then(':').number(parts.minute, 2).then(':').number(parts.second, 2);
  return text.take();
}

}  // namespace mercato
