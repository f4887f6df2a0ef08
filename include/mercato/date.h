// SPDX-License-Identifier: Apache-2.0
// A date and time: days since 30 December 1899, the time of day as the fraction. A value type. Any thread.
// The text form follows one process locale, US by default: "7/1/2026 8:30:00 AM".
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mercato/export.h"

namespace mercato {

/// A moment by the calendar and the clock.
struct CivilTime {
  int year = 1899;  ///< 100 to 9999
  int month = 12;   ///< 1 to 12
  int day = 30;     ///< 1 to the month's last
  int hour = 0;     ///< 0 to 23
  int minute = 0;   ///< 0 to 59
  int second = 0;   ///< 0 to 59
  /// The same in all parts.
  bool operator==(const CivilTime&) const = default;
};

/// A date and time of day, as the number of days since 30 December 1899.
class MERCATO_API Date {
 public:
  /// The locale that texts are read and written in unless another one is named.
  static constexpr std::int32_t kUsLocale = 1033;

  constexpr Date() = default;  ///< the zero date
  /// Days since 30 December 1899, the time of day as the fraction.
  constexpr explicit Date(double days) : days_(days) {}

  /// Raises 5 when the parts name no moment of the years 100 to 9999.
  static Date from_civil(const CivilTime& civil);
  /// Whole seconds since 1 January 1970.
  static Date from_unix_seconds(std::int64_t seconds);

  /// Reads a text as a date of the locale: numbers with / - . between them (month first in the US locale, day first
  /// elsewhere, year first when the first number has four digits; a month above 12 changes places with the day), month
  /// names, an optional time with AM/PM, a time alone. Nothing when the text is no date.
  static std::optional<Date> parse(std::string_view text, std::int32_t locale = kUsLocale);

  /// Days since 30 December 1899, the time of day as the fraction.
  constexpr double days() const { return days_; }
  /// Rounded to whole seconds.
  CivilTime civil() const;
  /// Date alone when the time is midnight, time alone on the zero date, else both.
  std::string text() const;
  /// "2026-07-01T08:30:00": sorts as the dates do.
  std::string iso_text() const;

  /// By the calendar. The numbers of days do not tell: on a day before the zero date a later time is a smaller number.
  std::partial_ordering operator<=>(const Date& other) const { return instant() <=> other.instant(); }
  /// The same instant.
  bool operator==(const Date& other) const { return instant() == other.instant(); }

 private:
  // The days since the zero date, with the time of day added on either side of it.
  double instant() const;

  double days_ = 0;
};

}  // namespace mercato
