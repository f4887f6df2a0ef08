// Watches an upload record by record: for hosts in C++ that show progress and list what was refused. An observer
// changes nothing of what the calls do, unless it goes on behind a failure; one that throws is not heard, and its
// exception goes no further. Called on the thread of the upload, between its statements. Products and price lines have
// an observer each.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "frame/upload_run.h"
#include "values/raised_error.h"

namespace mercato {

enum class UploadOutcome {
  inserted,         // a product that did not exist
  updated,          // a product that existed, or that the caller said exists
  given_up,         // it lost a field, and the caller wants all of a record or nothing
  empty,            // the document has no field for this part number
  nothing_written,  // no field survived
  failed,           // parts of the record may be written; the call raises, unless the observer goes on
};

// A field that the validation changed, or refused a line for. The reason is a phrase in plain English, such as "no such
// commodity".
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
  // Whether it may wait, for a person or a file say. Before each news the upload then lets others see and write; an
  // observer that only keeps what it hears says no, and spares a commit for each record.
  virtual bool waits() const { return true; }
  // Once for each public call, before its first record.
  virtual void on_start(std::size_t records) { static_cast<void>(records); }
  // After each record, also one that failed.
  virtual void on_record(const UploadRecord& record) { static_cast<void>(record); }
  // Asked by the calls for many records after one that failed: whether they go on behind it instead of raising this
  // failure. Its element leaves the document then, as if it were written. A part number with an apostrophe ends a bulk
  // insert all the same, since no element is found by it.
  virtual bool goes_on_behind(const RaisedError& failure) {
    static_cast<void>(failure);
    return false;
  }
};

enum class PriceLineOutcome {
  added,
  changed,
  left_out,  // it breaks a rule: nothing of it is written, and it leaves the document
  failed,    // nothing of the line is written; the call raises, unless the observer goes on
};

struct UploadPriceLine {
  std::string part_number;
  std::size_t number = 0;  // among the lines that the document has for this part number, from 1
  PriceLineOutcome outcome = PriceLineOutcome::failed;
  std::vector<UploadField> bad;  // of one left out
};

enum class PartNumberOutcome {
  done,        // its lines were told one by one, and have left the document
  no_product,  // its lines stay in the document
  failed,      // its lines stay in the document; the call raises, unless the observer goes on
};

class PriceUploadObserver {
 public:
  virtual ~PriceUploadObserver() = default;
  // As `UploadObserver::waits`.
  virtual bool waits() const { return true; }
  // Once for each call, before its first part number.
  virtual void on_start(std::size_t part_numbers) { static_cast<void>(part_numbers); }
  // After each line, also one that failed.
  virtual void on_price_line(const UploadPriceLine& line) { static_cast<void>(line); }
  // After the lines of a listed part number.
  virtual void on_part_number(const std::string& part_number, PartNumberOutcome outcome) {
    static_cast<void>(part_number);
    static_cast<void>(outcome);
  }
  // Asked after a line that failed: whether the call goes on behind it instead of raising this failure. The line leaves
  // the document then, with the others of its part number. Asked again, and the same for the part number as a whole,
  // after one that failed.
  virtual bool goes_on_behind(const RaisedError& failure) {
    static_cast<void>(failure);
    return false;
  }
};

namespace upload {

// Nothing without an observer.
template <class Observer, class Tell>
void tell(Observer* observer, Tell tell_it) {
  if (!observer) return;
  try {
    if (observer->waits()) StoreRun::before_waiting();
    tell_it(*observer);
  } catch (...) {
  }
}

// Does the work on one record. Whether it is done: false when it failed and the observer goes on behind it.
template <class Observer, class Work>
bool done_or_left_behind(Observer* observer, Work work) {
  try {
    work();
    return true;
  } catch (const Raised& raised) {
    bool goes_on = false;
    tell(observer, [&](Observer& asked) { goes_on = asked.goes_on_behind(raised.error()); });
    if (!goes_on) throw;
    return false;
  }
}

}  // namespace upload

}  // namespace mercato
