// SPDX-License-Identifier: Apache-2.0
// Universal time, for what is compared and read wherever a process runs: the tables whose names begin with MERCATO_. The
// columns of the library's own tables have local time (mercato/clock.h). No script moves it. Any thread.
#pragma once

#include <cstdint>
#include <ctime>

#include "mercato/date.h"

namespace mercato::clock {

inline Date universal_time(std::int64_t seconds_from_now = 0) {
  return Date::from_unix_seconds(static_cast<std::int64_t>(std::time(nullptr)) + seconds_from_now);
}

}  // namespace mercato::clock
