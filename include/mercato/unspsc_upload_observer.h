// SPDX-License-Identifier: Apache-2.0
// Watches an upload of UNSPSC codes code by code: for hosts in C++ that show progress, say why something was refused,
// and end an upload.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "mercato/export.h"
#include "mercato/raised_error.h"

namespace mercato {

/// What became of a code. The numbers are those of the upload's result, which leaves `written` out.
enum class CodeOutcome : std::int16_t {
  written = 0,           ///< In UNSPSCCODES and, where that is asked for, in COMMODITY.
  malformed = 1,         ///< No 8 or 10 digits, or a pair of zeros before one that is none; or not taken.
  code_exists = 2,       ///< In UNSPSCCODES; or the store refused the row.
  commodity_exists = 3,  ///< In COMMODITY; or the store refused the row.
  no_parent = 4,         ///< The code above it is missing.
};

/// One code of a file, when it has ended.
struct UploadedCode {
  std::string code;         ///< As read.
  std::string description;  ///< As read.
  CodeOutcome outcome;      ///< What became of it.
  std::size_t item;         ///< Counted from 1: a row with content below the heading, or an element UNSPSC_ITEM.
};

/// Hears of each code that TUNSPSC uploads. An observer changes nothing of what the calls do, but for the codes that it
/// does not take and the upload that it cancels. One that throws is not heard: its exception goes no further, and a
/// question counts as answered with the default. Called on the thread of the upload, between its statements; it must
/// not call the object that it watches.
class MERCATO_API UnspscUploadObserver {
 public:
  virtual ~UnspscUploadObserver() = default;
  /// Whether the observer may wait, for a person or a file say.
  ///
  /// Before each news the upload then lets others see and write. An observer that only keeps what it hears says no, and
  /// spares a commit for each code.
  /// @return True unless overridden.
  virtual bool waits() const { return true; }
  /// Told once for each public call, before its first code.
  /// @param items  How many the file has, from 0; rows without a code are among them.
  virtual void on_start(std::size_t items) { static_cast<void>(items); }
  /// Asked whether the code is taken. The upload takes whatever reads as a number for a code, "30,100,000" too; a host
  /// may be stricter.
  /// @param code  As read.
  /// @return False for a code that is not taken: it is malformed, and the store is not asked about it. True unless
  ///   overridden.
  virtual bool takes(const std::string& code) {
    static_cast<void>(code);
    return true;
  }
  /// Told of each failure of the store that the upload passes over, before the code that it belongs to: a code that
  /// exists is one, but so is a store that cannot be written.
  /// @param failure  Valid during the call only.
  virtual void on_failure(const RaisedError& failure) { static_cast<void>(failure); }
  /// Told after each code, also after one that stands in the file a second time.
  /// @param code  Valid during the call only.
  virtual void on_code(const UploadedCode& code) { static_cast<void>(code); }
  /// Told why the file, or the schema for it, cannot be read, in words; the failure that the call raises does not have
  /// them.
  /// @param reason  Words of the reader.
  virtual void on_unreadable(const std::string& reason) { static_cast<void>(reason); }
  /// Asked before each code, the first included: whether the upload ends here.
  ///
  /// An upload that is cancelled ends as one whose file has no further code. The call returns what was refused so far
  /// and casts no vote, so that what was written goes into the transaction; a host that wants none of it votes abort.
  /// @return True to end the upload; false unless overridden.
  virtual bool cancels() { return false; }
};

}  // namespace mercato
