// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/date_arithmetic.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include "mercato/raised_error.h"
#include "platform/store/dialect/readings.h"

namespace mercato::store::sqlite {
namespace {

using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::int64_t kSecondsPerDay = 86400;

sys_days day_of(int year, int month, int day) {
  return year_month_day{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                        std::chrono::day{static_cast<unsigned>(day)}};
}

std::int64_t days_of(const CivilTime& civil) {
  return day_of(civil.year, civil.month, civil.day).time_since_epoch().count();
}
std::int64_t months_of(const CivilTime& civil) { return civil.year * std::int64_t{12} + civil.month - 1; }

// From Sunday as 0: 1 January 1970 was a Thursday.
std::int64_t weekday_of(std::int64_t days) { return ((days + 4) % 7 + 7) % 7; }
// Weeks begin on Sunday, and that of the epoch on 28 December 1969.
std::int64_t week_of(std::int64_t days) { return (days - weekday_of(days) + 4) / 7; }

Date add_months(std::int64_t count, CivilTime civil) {
  constexpr std::int64_t kMost = 12 * 10000;
  if (count < -kMost || count > kMost) raise(error_number::kOverflow);
  const std::int64_t months = months_of(civil) + count;
  if (months < 100 * 12 || months >= kMost) raise(error_number::kOverflow);
  civil.year = static_cast<int>(months / 12);
  civil.month = static_cast<int>(months % 12) + 1;
  const std::chrono::year_month_day_last last{
      std::chrono::year{civil.year},
      std::chrono::month_day_last{std::chrono::month{static_cast<unsigned>(civil.month)}}};
  civil.day = std::min(civil.day, static_cast<int>(static_cast<unsigned>(last.day())));
  return Date::from_civil(civil);
}

}  // namespace

std::int64_t seconds_of(const CivilTime& civil) {
  return days_of(civil) * kSecondsPerDay + civil.hour * 3600 + civil.minute * 60 + civil.second;
}

Date date_of_seconds(std::int64_t seconds) {
  static const std::int64_t first = day_of(100, 1, 1).time_since_epoch().count() * kSecondsPerDay;
  static const std::int64_t last = day_of(10000, 1, 1).time_since_epoch().count() * kSecondsPerDay;
  if (seconds < first || seconds >= last) raise(error_number::kOverflow);
  return Date::from_unix_seconds(seconds);
}

Date add_to_date(std::string_view part, std::int64_t count, const CivilTime& civil) {
  if (part == "year" || part == "quarter" || part == "month") {
    constexpr std::int64_t kMost = 1000000;  // far beyond all dates, and no product below overflows
    count = std::clamp(count, -kMost, kMost);
    return add_months(count * (part == "year" ? 12 : part == "quarter" ? 3 : 1), civil);
  }
  const std::int64_t unit = part == "week"     ? 7 * kSecondsPerDay
                            : part == "hour"   ? 3600
                            : part == "minute" ? 60
                            : part == "second" ? 1
                                               : kSecondsPerDay;
  constexpr std::int64_t kMost = std::int64_t{1} << 42;
  count = std::clamp(count, -kMost, kMost);
  return date_of_seconds(seconds_of(civil) + count * unit);
}

std::int64_t date_boundaries(std::string_view part, const CivilTime& from, const CivilTime& to) {
  if (part == "year") return to.year - from.year;
  if (part == "quarter") return months_of(to) / 3 - months_of(from) / 3;
  if (part == "month") return months_of(to) - months_of(from);
  if (part == "week") return week_of(days_of(to)) - week_of(days_of(from));
  const std::int64_t days = days_of(to) - days_of(from);
  if (part == "hour") return days * 24 + to.hour - from.hour;
  if (part == "minute") return (days * 24 + to.hour - from.hour) * 60 + to.minute - from.minute;
  if (part == "second") return seconds_of(to) - seconds_of(from);
  return days;
}

std::int64_t part_of_date(std::string_view part, const CivilTime& civil) {
  if (part == "year") return civil.year;
  if (part == "quarter") return (civil.month + 2) / 3;
  if (part == "month") return civil.month;
  if (part == "day") return civil.day;
  if (part == "hour") return civil.hour;
  if (part == "minute") return civil.minute;
  if (part == "second") return civil.second;
  const std::int64_t days = days_of(civil);
  if (part == "weekday") return weekday_of(days) + 1;
  const std::int64_t new_year = day_of(civil.year, 1, 1).time_since_epoch().count();
  if (part == "dayofyear") return days - new_year + 1;
  return week_of(days) - week_of(new_year) + 1;
}

std::optional<std::string> write_date(const CivilTime& civil, std::int64_t style) {
  constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const int year = civil.year, month = civil.month, day = civil.day;
  char text[64];
  const auto write = [&text](const char* format, auto... values) {
    std::snprintf(text, sizeof text, format, values...);
    return std::string(text);
  };
  switch (style) {
    case 0:
    case 100:
      return write("%s %2d %04d %2d:%02d%s", kMonths[static_cast<std::size_t>(month - 1)], day, year,
                   civil.hour % 12 == 0 ? 12 : civil.hour % 12, civil.minute, civil.hour < 12 ? "AM" : "PM");
    case 1:
      return write("%02d/%02d/%02d", month, day, year % 100);
    case 101:
      return write("%02d/%02d/%04d", month, day, year);
    case 102:
      return write("%04d.%02d.%02d", year, month, day);
    case 3:
      return write("%02d/%02d/%02d", day, month, year % 100);
    case 103:
      return write("%02d/%02d/%04d", day, month, year);
    case 104:
      return write("%02d.%02d.%04d", day, month, year);
    case 105:
      return write("%02d-%02d-%04d", day, month, year);
    case 8:
    case 108:
      return write("%02d:%02d:%02d", civil.hour, civil.minute, civil.second);
    case 110:
      return write("%02d-%02d-%04d", month, day, year);
    case 111:
      return write("%04d/%02d/%02d", year, month, day);
    case 112:
      return write("%04d%02d%02d", year, month, day);
    case 20:
    case 120:
      return write("%04d-%02d-%02d %02d:%02d:%02d", year, month, day, civil.hour, civil.minute, civil.second);
    case 21:
    case 121:
      return write("%04d-%02d-%02d %02d:%02d:%02d.000", year, month, day, civil.hour, civil.minute, civil.second);
    case 126:
      return write("%04d-%02d-%02dT%02d:%02d:%02d", year, month, day, civil.hour, civil.minute, civil.second);
    default:
      return std::nullopt;
  }
}

std::optional<Date> read_date_in_style(std::string_view text, std::int64_t style) {
  constexpr std::int32_t kDayFirst = 2057;
  const bool day_first = style == 3 || style == 4 || style == 5 || style == 103 || style == 104 || style == 105;
  if (day_first)
    if (const auto date = Date::parse(text, kDayFirst)) return date;
  return dialect::read_date(text);
}

}  // namespace mercato::store::sqlite
