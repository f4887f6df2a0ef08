// SPDX-License-Identifier: Apache-2.0
#include "mercato/clock.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <ctime>
#include <mutex>

namespace mercato::clock {
namespace {

constexpr double kSecondsOfDay = 86400.0;

struct Script {
  std::mutex guard;
  std::atomic<bool> running{false};  // read without a lock, so that the host's time costs none
  double start = 0;                  // seconds since the zero date
  double step = 0;
  double readings = 0;
};

Script& script() {
  static Script instance;
  return instance;
}

CivilTime host_time() {
  const std::time_t seconds = std::time(nullptr);
  std::tm local = {};
  ::localtime_r(&seconds, &local);
  const int second = std::min(local.tm_sec, 59);  // a leap second has no place in a Date
  return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, second};
}

CivilTime read() {
  Script& scripted = script();
  if (!scripted.running.load(std::memory_order_acquire)) return host_time();
  const std::lock_guard lock(scripted.guard);
  // Steps are multiplied and not summed, and a little is added before the cut, so that ten steps of 0.1 are one second.
  constexpr double kBelowAnyFraction = 1e-4;
  const double seconds = std::floor(scripted.start + scripted.step * scripted.readings + kBelowAnyFraction);
  scripted.readings += 1;
  return Date(seconds / kSecondsOfDay).civil();
}

}  // namespace

Date now() { return Date::from_civil(read()); }

std::int32_t seconds_of_day() {
  const CivilTime time = read();
  return (time.hour * 60 + time.minute) * 60 + time.second;
}

void script_clock(Date now, double step_seconds) {
  Script& scripted = script();
  const std::lock_guard lock(scripted.guard);
  scripted.start = now.days() * kSecondsOfDay;
  scripted.step = step_seconds;
  scripted.readings = 0;
  scripted.running.store(true, std::memory_order_release);
}

void restore_clock() { script().running.store(false, std::memory_order_release); }

}  // namespace mercato::clock
