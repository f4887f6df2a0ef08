// Watches an upload of UNSPSC codes code by code: for hosts in C++ that show progress and say why something was
// refused. An observer changes nothing of what the calls do, but for the codes that it does not take; one that throws
// is not heard, and its exception goes no further. Called on the thread of the upload, between its statements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "values/raised_error.h"

namespace mercato {

// What became of a code. The numbers are those of the upload's result, which leaves `written` out.
enum class CodeOutcome : std::int16_t {
  written = 0,
  malformed = 1,
  code_exists = 2,       // in UNSPSCCODES; or the store refused the row
  commodity_exists = 3,  // in COMMODITY; or the store refused the row
  no_parent = 4,
};

struct UploadedCode {
  std::string code;  // as read
  std::string description;
  CodeOutcome outcome;
  std::size_t item;  // counted from 1: a row with content below the heading, or an element UNSPSC_ITEM
};

class UnspscUploadObserver {
 public:
  virtual ~UnspscUploadObserver() = default;
  // Whether it may wait, for a person or a file say. Before each news the upload then lets others see and write; an
  // observer that only keeps what it hears says no, and spares a commit for each code.
  virtual bool waits() const { return true; }
  // Once for each public call, before its first code; rows without a code are among the items.
  virtual void on_start(std::size_t items) { static_cast<void>(items); }
  // Whether the code is taken. The upload takes whatever reads as a number for a code, "30,100,000" too; a host may be
  // stricter. A code that is not taken is malformed, and the store is not asked about it.
  virtual bool takes(const std::string& code) {
    static_cast<void>(code);
    return true;
  }
  // Each failure of the store that the upload passes over, before the code that it belongs to is told: a code that
  // exists is one, but so is a store that cannot be written.
  virtual void on_failure(const RaisedError& failure) { static_cast<void>(failure); }
  // After each code, also one that stands in the file a second time.
  virtual void on_code(const UploadedCode& code) { static_cast<void>(code); }
  // Why the file, or the schema for it, cannot be read, in words; the failure that the call raises does not have them.
  virtual void on_unreadable(const std::string& reason) { static_cast<void>(reason); }
};

}  // namespace mercato
