// SPDX-License-Identifier: Apache-2.0
// The one clock of the library: local time of this host, in whole seconds. Any thread.
// A test or a host may replace it by a scripted one, for the whole process.
#pragma once

#include <cstdint>

#include "mercato/date.h"
#include "mercato/export.h"

/// @namespace mercato::clock
/// The one clock of the library.
namespace mercato::clock {

/// Date and time, without fractions of a second.
MERCATO_API Date now();

/// Time of day in whole seconds since midnight, 0 to 86399; it wraps at midnight. The call is a reading of its own.
MERCATO_API std::int32_t seconds_of_day();

/// From here on every reading, of either kind and by any thread, answers the scripted time, and then moves it on by
/// `step_seconds`: the first answers `now`, the second `now` and one step. Fractions add up and are cut off in the
/// answers.
MERCATO_API void script_clock(Date now, double step_seconds);

/// Back to the host's time. No failure when nothing was scripted.
MERCATO_API void restore_clock();

}  // namespace mercato::clock
