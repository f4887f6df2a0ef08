// SPDX-License-Identifier: Apache-2.0
// Watches an upload record by record: for hosts in C++ that show progress, list what was refused, and end a run.
// Products and price lines have an observer each.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "mercato/export.h"
#include "mercato/raised_error.h"

namespace mercato {

/// What became of the record of a product.
enum class UploadOutcome {
  inserted,         ///< A product that did not exist.
  updated,          ///< A product that existed, or that the caller said exists.
  given_up,         ///< It lost a field, and the caller wants all of a record or nothing.
  empty,            ///< The document has no field for this part number.
  nothing_written,  ///< No field survived.
  failed,           ///< Parts of the record may be written; the call raises, unless the observer goes on.
};

/// A field that the validation changed, or refused a line for.
struct UploadField {
  std::string field;   ///< Its name; empty when the whole record is meant.
  std::string value;   ///< As the document has it.
  std::string reason;  ///< A phrase in plain English, such as "no such commodity".
};

/// One record of a product document, when it has ended.
struct UploadRecord {
  std::string part_number;                        ///< As the call was given it; trimmed in a bulk insert.
  UploadOutcome outcome = UploadOutcome::failed;  ///< What became of it.
  std::vector<UploadField> dropped;               ///< Fields that are not written.
  std::vector<UploadField> cut;                   ///< Fields that are written shortened.
};

/// Hears of each record that ProductXML writes. An observer changes nothing of what the calls do, unless it goes on
/// behind a failure or cancels the run. One that throws is not heard: its exception goes no further, and a question
/// counts as answered with the default. Called on the thread of the upload, between its statements; it must not call
/// the object that it watches.
class MERCATO_API UploadObserver {
 public:
  virtual ~UploadObserver() = default;
  /// Whether the observer may wait, for a person or a file say.
  ///
  /// Before each news the upload then lets others see and write. An observer that only keeps what it hears says no, and
  /// spares a commit for each record.
  /// @return True unless overridden.
  virtual bool waits() const { return true; }
  /// Told once for each public call, before its first record.
  /// @param records  How many part numbers the caller has listed, from 0; 1 in the calls for one record.
  virtual void on_start(std::size_t records) { static_cast<void>(records); }
  /// Told after each record, also after one that failed.
  /// @param record  Valid during the call only.
  virtual void on_record(const UploadRecord& record) { static_cast<void>(record); }
  /// Asked by the calls for many records after one that failed: whether they go on behind it instead of raising this
  /// failure.
  ///
  /// The element of the record leaves the document then, as if it were written. A part number with an apostrophe ends a
  /// bulk insert all the same, since no element is found by it.
  /// @param failure  With the number and the source of its first level; valid during the call only.
  /// @return True to go on; false, unless overridden, to have the call raise.
  virtual bool goes_on_behind(const RaisedError& failure) {
    static_cast<void>(failure);
    return false;
  }
  /// Asked by the calls for many records before each of them, the first included: whether the run ends here.
  ///
  /// A run that is cancelled ends as one whose time is up. The call returns normally and what was written stays,
  /// durable. insertProductsFromXML cuts its list to what was done, and the rest of the document is in the remaining
  /// file; updateProductsFromXML just returns, and the observer has heard of each record that was done.
  /// @return True to end the run; false unless overridden.
  virtual bool cancels() { return false; }
};

/// What became of a price line.
enum class PriceLineOutcome {
  added,     ///< A line that did not exist.
  changed,   ///< A line that existed.
  left_out,  ///< It breaks a rule: nothing of it is written, and it leaves the document.
  failed,    ///< Nothing of the line is written; the call raises, unless the observer goes on.
};

/// One line of a price document, when it has ended.
struct UploadPriceLine {
  std::string part_number;  ///< As it is listed.
  std::size_t number = 0;   ///< Among the lines that the document has for this part number, from 1.
  PriceLineOutcome outcome = PriceLineOutcome::failed;  ///< What became of it.
  std::vector<UploadField> bad;                         ///< Of one left out.
};

/// What became of a part number that was listed for a price upload.
enum class PartNumberOutcome {
  done,        ///< Its lines were told one by one, and have left the document.
  no_product,  ///< Its lines stay in the document.
  failed,      ///< Its lines stay in the document; the call raises, unless the observer goes on.
};

/// Hears of each line that PriceXML writes. What UploadObserver says of throwing, threads and the watched object holds
/// here, too.
class MERCATO_API PriceUploadObserver {
 public:
  virtual ~PriceUploadObserver() = default;
  /// Whether the observer may wait; as UploadObserver::waits.
  /// @return True unless overridden.
  virtual bool waits() const { return true; }
  /// Told once for each call, before its first part number.
  /// @param part_numbers  How many the caller has listed, from 0.
  virtual void on_start(std::size_t part_numbers) { static_cast<void>(part_numbers); }
  /// Told after each line, also after one that failed.
  /// @param line  Valid during the call only.
  virtual void on_price_line(const UploadPriceLine& line) { static_cast<void>(line); }
  /// Told after the lines of a listed part number.
  /// @param part_number  As it is listed.
  /// @param outcome      Of the part number as a whole; its lines have theirs.
  virtual void on_part_number(const std::string& part_number, PartNumberOutcome outcome) {
    static_cast<void>(part_number);
    static_cast<void>(outcome);
  }
  /// Asked after a line that failed: whether the call goes on behind it instead of raising this failure.
  ///
  /// The line leaves the document then, with the others of its part number. Asked again, and with the same effect for
  /// the part number as a whole, after one that failed.
  /// @param failure  With the number and the source of its first level; valid during the call only.
  /// @return True to go on; false, unless overridden, to have the call raise.
  virtual bool goes_on_behind(const RaisedError& failure) {
    static_cast<void>(failure);
    return false;
  }
  /// Asked before each listed part number, the first included: whether the run ends here. The lines of one part number
  /// are done together.
  ///
  /// A run that is cancelled ends as one whose time is up. The call returns normally, what was written stays, durable,
  /// the list is cut to what was done, and the rest of the document is in the remaining file.
  /// @return True to end the run; false unless overridden.
  virtual bool cancels() { return false; }
};

}  // namespace mercato
