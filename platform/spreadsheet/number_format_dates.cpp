// SPDX-License-Identifier: Apache-2.0
// What a format shows of a date.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

#include "platform/spreadsheet/cell_digits.h"
#include "platform/spreadsheet/number_format.h"

namespace mercato::spreadsheet {
namespace {

constexpr std::array kMonths = {"January", "February", "March",     "April",   "May",      "June",
                                "July",    "August",   "September", "October", "November", "December"};
constexpr std::array kWeekdays = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

}  // namespace

// What a section shows of a date, which is the days from the first one, with the time of day as a part of one.
class NumberFormat::DateText {
 public:
  DateText(const Section& section, double serial) : section_(section) {
    for (const Token& token : section.tokens) {
      if (token.kind == Kind::subsecond) subsecond_digits_ = std::max(subsecond_digits_, token.count);
      if (token.kind == Kind::half_day) has_halves_ = true;
    }
    // The moment is rounded once, to the smallest part that is shown, so that no part shows 60.
    constexpr long long kSecondsOfDay = 86400;
    const double unit = std::pow(10.0, static_cast<double>(subsecond_digits_));
    const auto ticks = std::llround(serial * kSecondsOfDay * unit);
    const auto ticks_of_second = static_cast<long long>(unit);
    subsecond_ = ticks % ticks_of_second;
    seconds_ = ticks / ticks_of_second;
    second_of_day_ = seconds_ % kSecondsOfDay;
    day_ = day_of(seconds_ / kSecondsOfDay);
  }

  std::string shown() const {
    std::string shown;
    for (const Token& token : section_.tokens) shown += shown_for(token);
    return shown;
  }

 private:
  struct Day {
    int year;
    unsigned month;
    unsigned day;
    unsigned weekday;  // 0 is Sunday
  };

  // The date system from 1900 counts a 29 February 1900, which never was, so that days before it are off by one.
  static Day day_of(long long serial) {
    const auto weekday = static_cast<unsigned>((serial + 6) % 7);
    if (serial == 0) return {1900, 1, 0, weekday};
    if (serial == 60) return {1900, 2, 29, weekday};
    constexpr long long kSerialOf1970 = 25569;
    const std::chrono::sys_days date{std::chrono::days{serial - kSerialOf1970 + (serial < 60 ? 1 : 0)}};
    const std::chrono::year_month_day civil{date};
    return {static_cast<int>(civil.year()), static_cast<unsigned>(civil.month()), static_cast<unsigned>(civil.day()),
            weekday};
  }

  std::string shown_for(const Token& token) const {
    const std::size_t two = std::min<std::size_t>(token.count, 2);
    const long long hour = second_of_day_ / 3600;
    switch (token.kind) {
      case Kind::literal:
        return token.text;
      case Kind::year:
        return token.count <= 2 ? padded(day_.year % 100, 2) : padded(day_.year, 4);
      case Kind::month:
        return month(token.count);
      case Kind::day:
        return day(token.count);
      case Kind::hour:
        return padded(has_halves_ ? (hour + 11) % 12 + 1 : hour, two);
      case Kind::minute:
        return padded(second_of_day_ / 60 % 60, two);
      case Kind::second:
        return padded(second_of_day_ % 60, two);
      case Kind::subsecond:
        return "." + padded(subsecond_ / power_of_ten(subsecond_digits_ - token.count), token.count);
      case Kind::half_day:
        return std::string(hour < 12 ? "A" : "P") + (token.text == "A/P" ? "" : "M");
      case Kind::elapsed_hours:
        return padded(seconds_ / 3600, token.count);
      case Kind::elapsed_minutes:
        return padded(seconds_ / 60, token.count);
      case Kind::elapsed_seconds:
        return padded(seconds_, token.count);
      default:
        return {};
    }
  }
  // One or two letters are a number, three a short name, five of a month its first letter, others the whole name.
  std::string month(std::size_t letters) const {
    if (letters <= 2) return padded(day_.month, letters);
    const std::string_view name = kMonths[day_.month - 1];
    return std::string(letters == 3 ? name.substr(0, 3) : letters == 5 ? name.substr(0, 1) : name);
  }
  std::string day(std::size_t letters) const {
    if (letters <= 2) return padded(day_.day, letters);
    const std::string_view name = kWeekdays[day_.weekday];
    return std::string(letters == 3 ? name.substr(0, 3) : name);
  }
  static long long power_of_ten(std::size_t power) {
    return static_cast<long long>(std::pow(10.0, static_cast<double>(power)));
  }

  const Section& section_;
  std::size_t subsecond_digits_ = 0;
  bool has_halves_ = false;  // hours count to 12
  Day day_ = {};
  long long seconds_ = 0;  // since the first day
  long long second_of_day_ = 0;
  long long subsecond_ = 0;
};

std::string NumberFormat::date_text(const Section& section, double serial, DateSystem dates) {
  constexpr double kSystemsApart = 1462;
  constexpr double kBehindTheLast = 2958466;  // the first day of the year 10000
  if (dates == DateSystem::from_1904) serial += kSystemsApart;
  if (!(serial >= 0 && serial < kBehindTheLast)) return "########";
  return DateText(section, serial).shown();
}

}  // namespace mercato::spreadsheet
