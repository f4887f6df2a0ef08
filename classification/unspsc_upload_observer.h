// How a host in C++ hears of an upload of UNSPSC codes, code by code (t_unspsc.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "values/raised_error.h"

namespace mercato {

/// What became of a code. The numbers are those of the upload's result, in which no code is `written`.
enum class CodeOutcome : std::int16_t {
  written = 0,           ///< The code is in UNSPSCCODES and, where that was asked for, in COMMODITY.
  malformed = 1,         ///< It is no code, or the observer did not take it.
  code_exists = 2,       ///< UNSPSCCODES has it already, or the store refused the row.
  commodity_exists = 3,  ///< COMMODITY has it already, or the store refused the row.
  no_parent = 4,         ///< The code above it is missing.
};

/// A code of the file, and what became of it.
struct UploadedCode {
  std::string code;         ///< As it was read.
  std::string description;  ///< As it was read.
  CodeOutcome outcome;      ///< What became of it.
  std::size_t item;         ///< From 1: the row below the heading, rows without content not counted, or the element.
};

/// Watches an upload: for hosts that show progress and say why a code was refused.
///
/// An observer changes nothing of what the upload does, but for the codes that it does not take. It is called on the
/// thread of the upload, between its statements. What it throws is dropped.
class UnspscUploadObserver {
 public:
  virtual ~UnspscUploadObserver() = default;

  /// Whether the observer may wait, for a person or a file say. If so, the upload commits before each news, so that
  /// others can see and write meanwhile. An observer that only keeps what it hears says no, and spares these commits.
  virtual bool waits() const { return true; }

  /// Called once for each upload, before its first code. Rows and elements without a code are among the items.
  virtual void on_start(std::size_t items) { static_cast<void>(items); }

  /// Whether this code is taken. The upload itself takes whatever reads as a number, "30,100,000" too; a host may be
  /// stricter. A code that is not taken is malformed, and the store is not asked for it.
  virtual bool takes(const std::string& code) {
    static_cast<void>(code);
    return true;
  }

  /// Called for each failure of the store that the upload passes over, before on_code for its code. A code that is
  /// there already is such a failure, and so is a store that cannot be written.
  virtual void on_failure(const RaisedError& failure) { static_cast<void>(failure); }

  /// Called after each code, also after one that stands in the file a second time.
  virtual void on_code(const UploadedCode& code) { static_cast<void>(code); }

  /// Called when the file, or the schema for it, cannot be read. The failure that the upload raises does not tell this
  /// reason.
  virtual void on_unreadable(const std::string& reason) { static_cast<void>(reason); }
};

}  // namespace mercato
