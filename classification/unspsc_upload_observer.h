// Watches an upload of UNSPSC codes code by code: for hosts in C++ that show progress and say why something was
// refused. An observer changes nothing of what the calls do; one that throws is not heard, and its exception goes no
// further. Called on the thread of the upload, between its statements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

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
};

class UnspscUploadObserver {
 public:
  virtual ~UnspscUploadObserver() = default;
  // Whether it may wait, for a person or a file say. Before each news the upload then lets others see and write; an
  // observer that only keeps what it hears says no, and spares a commit for each code.
  virtual bool waits() const { return true; }
  // Once for each public call, before its first code; rows without a code are among the items.
  virtual void on_start(std::size_t items) { static_cast<void>(items); }
  // After each code, also one that stands in the file a second time.
  virtual void on_code(const UploadedCode& code) { static_cast<void>(code); }
  // Why the file, or the schema for it, cannot be read, in words; the failure that the call raises does not have them.
  virtual void on_unreadable(const std::string& reason) { static_cast<void>(reason); }
};

}  // namespace mercato
