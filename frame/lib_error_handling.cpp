// SPDX-License-Identifier: Apache-2.0
#include "frame/lib_error_handling.h"

#include <cstdio>
#include <limits>

#include "frame/contracts.h"
#include "frame/lib_mts.h"
#include "frame/method.h"

namespace mercato {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::int32_t kSeverityError = 0;
constexpr std::int32_t kSeverityInformation = 1;

// Chooses the log's second operation. Every entry clears it, and nothing sets it.
thread_local bool mbAlternateLog = false;

// Guards against a log that cannot be created: its failure would be logged, in a log that cannot be created.
thread_local bool logging = false;

class LoggingGuard {
 public:
  LoggingGuard() { logging = true; }
  ~LoggingGuard() { logging = false; }
  LoggingGuard(const LoggingGuard&) = delete;
  LoggingGuard& operator=(const LoggingGuard&) = delete;
};

void write_entry(grundwerk::Log& log, const std::string& source, const std::string& text, std::int32_t severity) {
  if (mbAlternateLog)
    log.WriteEntryAlternate(source, text, severity);
  else
    log.WriteEntry(source, text, severity);
}

// Its texts are short enough to need no memory.
RaisedError out_of_memory() { return completed({error_number::kOutOfMemory, {}, {}, {}, 0}); }

}  // namespace

RaisedError& current_error() {
  thread_local RaisedError error;
  return error;
}

std::string Err_FormatMessage(std::string_view iDescription, std::int32_t iNumber, std::string_view iMethod,
                              const Variant& iInfo) {
  char number[9];
  std::snprintf(number, sizeof number, "%X", static_cast<std::uint32_t>(iNumber));
  std::string message;
  message.append(kLineEnd).append("ERROR 0x").append(number).append(kLineEnd);
  message.append(" METHOD: ").append(iMethod).append(kLineEnd);
  message.append(" DESC: ").append(iDescription).append(".").append(kLineEnd);
  if (!iInfo.is_missing()) message.append(" INFO: ").append(iInfo.text_or_empty()).append(".").append(kLineEnd);
  return message;
}

RaisedError Err_Capture(std::string_view iMethod, const Variant& iInfo) {
  RaisedError captured = current_error();
  captured.Description = Err_FormatMessage(captured.Description, captured.Number, iMethod, iInfo);
  return captured;
}

void Err_Write(std::int32_t iSeverity, std::string_view iMethod, const Variant& iInfo) {
  if (logging) return;
  const LoggingGuard guard;
  const RaisedError pending = current_error();
  grundwerk::Log log;
  if (pending.Number != 0) {
    const std::string text = Err_FormatMessage(pending.Description, pending.Number, iMethod, iInfo);
    write_entry(log, pending.Source, text, iSeverity);
  } else {
    const std::string text = Err_FormatMessage("Not an actual error", 0, iMethod, iInfo);
    if (!suppressing_failures([&] { log.create(); })) return;
    write_entry(log, std::string(iMethod), text, kSeverityInformation);
  }
}

void Err_LogError(std::string_view iMethod, const Variant& iInfo) {
  mbAlternateLog = false;
  Err_Write(kSeverityError, iMethod, iInfo);
}

void Err_LogInfo(std::string_view iMethod, const Variant& iInfo) {
  mbAlternateLog = false;
  Err_Write(kSeverityInformation, iMethod, iInfo);
}

void Err_LogAndRaise(std::string_view iMethod, const Variant& iInfo) {
  mbAlternateLog = false;
  const RaisedError captured = Err_Capture(iMethod, iInfo);
  if (captured.Number == 0) return;
  // The log's text is wrapped a second time around the description that is raised. A log that fails must not stop the
  // raise.
  current_error() = captured;
  suppressing_failures([&] { Err_LogError(iMethod, iInfo); });
  current_error() = captured;
  throw Raised(captured);
}

std::string Err_ConnectionErrors(const ConnectionPtr& iConnection) {
  if (!iConnection || iConnection->Errors().empty()) return {};
  std::string text = "Error(s) from connection object: ";
  std::int16_t counter = 0;
  for (const RaisedError& error : iConnection->Errors()) {
    if (counter == std::numeric_limits<std::int16_t>::max()) raise(error_number::kOverflow);
    ++counter;
    text += " (" + std::to_string(counter) + ")" + error.Description + "[" + std::to_string(error.Number) + "]";
  }
  return text;
}

void Err_RaiseDeprecated(std::string_view iMethod, const Variant& iInfo) {
  current_error() = {kDeprecatedMethod,
                     std::string(kLibraryName),
                     std::string(error_number::default_description(kDeprecatedMethod)),
                     {},
                     0};
  Err_LogAndRaise(iMethod, iInfo);
  std::terminate();  // not reached: an error is pending
}

namespace detail {

RaisedError failure_in_flight() {
  try {
    try {
      throw;
    } catch (const Raised& failure) {
      return failure.error();
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& failure) {
      return {error_number::kStoreFailure, std::string(kLibraryName), failure.what(), {}, 0};
    }
  } catch (const std::bad_alloc&) {
    return out_of_memory();
  }
}

RaisedError copy_of_current_error() {
  try {
    return current_error();
  } catch (const std::bad_alloc&) {
    return current_error() = out_of_memory();
  }
}

void leave_without_memory() {
  Mts_SetAbort();
  current_error() = out_of_memory();
  raise(error_number::kOutOfMemory);
}

}  // namespace detail

}  // namespace mercato
