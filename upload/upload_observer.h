// Watches an upload record by record: for hosts in C++ that show progress and list what was refused. An observer
// changes nothing of what the calls do; one that throws is not heard, and its exception goes no further. Called on the
// thread of the upload, between its statements.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace mercato {

enum class UploadOutcome {
  inserted,         // a product that did not exist
  updated,          // a product that existed, or that the caller said exists
  given_up,         // it lost a field, and the caller wants all of a record or nothing
  empty,            // the document has no field for this part number
  nothing_written,  // no field survived
  failed,           // the call stops here and raises; parts of the record may be written
};

// A field that the validation changed. The reason is a phrase in plain English, such as "no such commodity".
struct UploadField {
  std::string field;
  std::string value;  // as the document has it
  std::string reason;
};

struct UploadRecord {
  std::string part_number;
  UploadOutcome outcome = UploadOutcome::failed;
  std::vector<UploadField> dropped;
  std::vector<UploadField> cut;
};

class UploadObserver {
 public:
  virtual ~UploadObserver() = default;
  // Once for each public call, before its first record.
  virtual void on_start(std::size_t records) { static_cast<void>(records); }
  // After each record, also the one whose failure ends the call.
  virtual void on_record(const UploadRecord& record) { static_cast<void>(record); }
};

}  // namespace mercato
