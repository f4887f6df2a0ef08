// SPDX-License-Identifier: Apache-2.0
// Grundwerk.Log: one record per entry in the log file that the settings name, which turns over at 10 MB and keeps five
// older ones, however many processes write to it. A record is a line with the host's time, severity and source, and
// below it the text, line by line and set in, so that no text can pass for a record. Control characters stand in it as
// their numbers ("\x1B"):
//
//   2026-07-01T08:30:00.125+02:00 error Mercato.Unit.Delete
//       ERROR 0x800400CA
//        METHOD: Mercato.Unit.Delete
//        DESC: Unit not found.
//
// Writing never fails for the caller: without a file, or while it cannot be written, entries are dropped. The time is
// the host's and not the library's clock, whose readings belong to the business classes. Any thread.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"

namespace mercato::collaborators {

class Log : public ComponentOf<Log> {
 public:
  static const ClassTable& table();

  // Severity 1 is information, all else an error. The result is Empty; no argument is changed.
  Variant WriteEntry(std::string& source, std::string& text, std::int32_t& severity);
  // The same.
  Variant WriteEntryAlternate(std::string& source, std::string& text, std::int32_t& severity);
};

}  // namespace mercato::collaborators
