// SPDX-License-Identifier: Apache-2.0
// What DATEADD, DATEDIFF, DATEPART and the styles of CONVERT do. Parts are named in full: "year", "quarter", "month",
// "week", "weekday", "dayofyear", "day", "hour", "minute", "second". Pure functions; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mercato/date.h"

namespace mercato::store::sqlite {

// Whole seconds since 1 January 1970.
std::int64_t seconds_of(const CivilTime& civil);
// Raises 6 outside of the years 100 to 9999.
Date date_of_seconds(std::int64_t seconds);

// A day that the month does not have becomes its last. Raises 6 outside of the years 100 to 9999.
Date add_to_date(std::string_view part, std::int64_t count, const CivilTime& civil);
// How many borders of such parts lie between the two; negative when the second is earlier.
std::int64_t date_boundaries(std::string_view part, const CivilTime& from, const CivilTime& to);
// Weekdays count from Sunday as 1, and weeks begin on it.
std::int64_t part_of_date(std::string_view part, const CivilTime& civil);

// Nothing for a style that there is not.
std::optional<std::string> write_date(const CivilTime& civil, std::int64_t style);
// A text of that style, or of any form that a literal may have. Nothing for a text that is no date.
std::optional<Date> read_date_in_style(std::string_view text, std::int64_t style);

}  // namespace mercato::store::sqlite
