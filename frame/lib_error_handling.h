// SPDX-License-Identifier: Apache-2.0
// The current error, its message, and the log. One current error for each thread; `Number` is 0 when none is pending.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mercato/connection.h"
#include "mercato/mercato_errors.h"
#include "mercato/raised_error.h"
#include "mercato/variant.h"

namespace mercato {

// The thread's current error.
RaisedError& current_error();

// Logs the current error and raises it again, its description wrapped once more. Does nothing when none is pending.
// `iMethod` is a source label such as "Mercato.Unit.getAllUnits"; `iInfo` is Missing or free text.
void Err_LogAndRaise(std::string_view iMethod, const Variant& iInfo = kMissing);
// Logs the current error with severity 0; with none pending an entry of severity 1.
void Err_LogError(std::string_view iMethod, const Variant& iInfo = kMissing);
// Logs with severity 1.
void Err_LogInfo(std::string_view iMethod, const Variant& iInfo = kMissing);
// Builds the text and hands it to Grundwerk.Log. With no error pending a missing log is silently accepted.
void Err_Write(std::int32_t iSeverity, std::string_view iMethod, const Variant& iInfo = kMissing);
// A snapshot of the current error with the formatted message as its description.
RaisedError Err_Capture(std::string_view iMethod, const Variant& iInfo = kMissing);
// The message text: number, method, description and, when it was passed, the information, each on a line.
std::string Err_FormatMessage(std::string_view iDescription, std::int32_t iNumber, std::string_view iMethod,
                              const Variant& iInfo = kMissing);
// The failures that a connection has collected, or the empty string. Raises 6 beyond the 32767th: they are counted in
// 16 bits.
std::string Err_ConnectionErrors(const ConnectionPtr& iConnection);

// The whole body of a method that was retired: raises -1 with the message in the place of the method.
[[noreturn]] void Err_RaiseDeprecated(std::string_view iMethod, const Variant& iInfo = kMissing);

// Runs the work and tells whether it succeeded; its failure is swallowed and cleared.
template <class Work>
bool suppressing_failures(Work work) {
  try {
    work();
    return true;
  } catch (const std::exception&) {
    current_error() = {};
    return false;
  }
}

}  // namespace mercato
