// SPDX-License-Identifier: Apache-2.0
// The upload of a whole document through the library's upload calls, part by part, until every record that can be
// reached was applied or refused. What is uploaded, and how the library is asked, is the derived class's. One object for
// one upload; one thread.
//
// Each record of the document ends in one of three places: applied, refused, or remaining (in the remaining file). A
// record whose writing fails is refused with the failure as the reason, and the run goes on behind it. A failure that
// is not the record's own (the store is gone, a limit has passed), and one more than `most_failures`, end the upload;
// what was not reached remains. A store that fails may take the latest writes along: every kCheckpoint records the
// upload makes sure of them, and what came after that remains too. A store whose file is gone, or another one now, has
// taken everything along: then all of the document remains. A watcher can end the upload after the record at hand.
//
// Before the library sees a record, its values are judged where the source says so: one with a value that is not certain
// is refused. With `atomic` the whole upload is one transaction, which is committed when every record was applied, else
// rolled back. A trial is the upload itself, each part in a transaction that is taken back, so it says what the upload
// would do, and between two parts others write. Within a transaction of the caller's the upload is part of that.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "exchange/journal/journal.h"
#include "exchange/judging.h"
#include "exchange/uploading/upload_report.h"
#include "exchange/uploading/upload_watcher.h"
#include "mercato/component.h"
#include "mercato/raised_error.h"
#include "mercato/variant.h"
#include "platform/store/session_pool.h"
#include "platform/store/unit_of_work.h"
#include "platform/xml/document.h"
#include "upload/upload_documents.h"

namespace mercato::exchange {

class RestFile;

inline constexpr std::size_t kMostFailures = 1000;
inline constexpr std::size_t kCheckpoint = 100;

struct UploadSource {
  std::string document;  // file or URL
  std::string file_key;
  std::string web_root;
  std::size_t most_failures = kMostFailures;
  std::optional<JudgingOptions> judging = {};       // nothing: the library alone judges
  std::string rest_file = {};                       // empty: none is written
  bool rest_as_lines = false;                       // of JSON, not a document
  RestFile* rest = nullptr;                         // of several documents, in place of a file of its own
  const std::vector<std::size_t>* lines = nullptr;  // of the records, in the file that the document was made of
  bool atomic = false;
  bool trial = false;
  bool leaves_file = true;     // what remains goes to the remaining file
  Journal* journal = nullptr;  // keeps what the upload changes
  UploadWatcher* watcher = nullptr;
};

// Where a record stands in the document that was given.
struct RecordPlace {
  std::size_t record = 0;  // from 0
  std::size_t line = 0;    // from 1
  std::size_t number = 0;  // among the records of its part number, from 1
};

class UploadRuns {
 public:
  UploadRuns(const UploadRuns&) = delete;
  UploadRuns& operator=(const UploadRuns&) = delete;
  // Raises eUnableToLoadXML when the document cannot be loaded, 75 for a file key that is no plain part of a file name,
  // and what creating the web root folder raises.
  UploadReport run();

 protected:
  static constexpr std::size_t kAllRecords = static_cast<std::size_t>(-1);
  struct Kind {
    const upload::DocumentKind& document;
    Reach::Kind reach;
    std::size_t most_in_one_run;  // part numbers; kAllRecords for no bound
    bool library_leaves_file;     // a run writes what it leaves to the remaining file
  };
  // What a run is asked for: a part number, and the text of its records.
  struct Pending {
    std::string part_number;
    std::string text;
  };

  UploadRuns(UploadSource source, Kind kind) : source_(std::move(source)), kind_(kind) {}
  ~UploadRuns() = default;

  // Fills `report_` with what is known beforehand, and `pending_`; answers how many records runs may reach.
  // `places_` says of each record of the document where it stood in the one that was given.
  virtual std::size_t take_inventory(const xml::Document& document) = 0;
  // One call of the library. Tells of each record with `done_with`, of each part number by counting `seen_`.
  virtual void call_library(const std::string& document, const Array& part_numbers) = 0;

  // The element as the library is to see it.
  std::string text_of(const xml::Node& record, const RecordPlace& place) const;
  // One whose values are written as the library reads them: its text, else null.
  const std::string* rewritten(const RecordPlace& place) const;
  // A record was applied or refused. What became of it is in `unsettled_` already.
  void done_with_record();
  // So many records were told of.
  void passed(std::size_t records) const {
    if (source_.watcher) source_.watcher->on_records(records);
  }
  // A record has failed: whether the run goes on behind it.
  bool goes_on_after(const RaisedError& failure);
  bool is_cancelled() const { return source_.watcher != nullptr && source_.watcher->cancels(); }
  static void refuse(UploadReport& report, UploadFinding finding);
  // A record was applied.
  void applied(const RecordPlace& place) { unsettled_applied_.push_back(place.record); }
  // The part number at which the run is.
  const std::string& part_number_at_hand() const { return pending_[next_ + seen_].part_number; }
  // A new object of the library's: one without a context works in the transaction at hand.
  static ComponentPtr library_object(const char* prog_id);
  // Calls a method by name, within the call limit of the settings.
  static void call(const ComponentPtr& object, std::string_view method, std::vector<Variant> arguments);

  const UploadSource source_;
  UploadReport report_;
  UploadReport unsettled_;  // what became of records that the store could still lose
  std::vector<RecordPlace> places_;
  std::unordered_set<std::size_t> left_out_of_;  // places of records without some of their fields
  std::vector<Pending> pending_;                 // in the order in which runs come to them
  std::size_t seen_ = 0;                         // part numbers that the run is done with

 private:
  struct Given {
    std::string text_or_url;
    bool is_url = true;
  };

  // What is known before the first record is written. How many records can be reached.
  std::size_t take_document();
  // The document that was given, with its records and what stands where records do.
  std::vector<xml::Node> load_records(xml::Document& document) const;
  // Numbers the records, and takes those out that are refused for their values.
  void judge_values(xml::Document& document);
  void refuse_for_values(const std::string& part_number, const RecordPlace& place,
                         const std::vector<Finding>& findings);
  void run_all();
  void run_part(std::size_t end);
  std::size_t end_of_part() const;
  // Brings together what has the same part number: taken back together, it is told as it would be uploaded.
  void gather_part_numbers();
  void begin_transaction();
  // Without a record that was refused or remains the transaction of an atomic upload is committed.
  void end_transaction();
  // One call of the library for the next `count` part numbers. The failure that ended it, if any.
  std::optional<RaisedError> run_once(std::size_t count);
  // Writes out what the run has written so far. False when the store cannot: it is lost then.
  bool checkpoint();
  void settle();
  void count_unchanged();
  // What was neither applied nor refused goes to the remaining file.
  void leave_remaining();
  void write_remaining_file() const;
  void write_rest() const;
  void add_rest(RestFile& rest) const;
  // The line of the file that the document was made of, or is.
  std::size_t line_of(const xml::Node& element, std::size_t record) const;
  std::string reason_to_stop(const RaisedError& failure) const;
  std::string remaining_path() const;

  const Kind kind_;
  Given given_;                                             // what the upload was given
  std::unordered_map<std::size_t, std::string> rewritten_;  // by the places of records
  store::PooledSession store_;                              // none when it cannot be opened
  std::size_t next_ = 0;                                    // of the part numbers: the first that no run has dealt with
  std::vector<std::size_t> applied_;                        // the places of records
  std::vector<std::size_t> unsettled_applied_;              // likewise, that the store could still lose
  std::unique_ptr<store::UnitOfWork> transaction_;
  std::unique_ptr<store::UnitOfWork::Current> current_;
  std::size_t settled_seen_ = 0;       // what the store cannot lose any more
  std::size_t unsettled_records_ = 0;  // done since then
  std::optional<RaisedError> lost_by_;
  std::size_t failures_ = 0;
  std::size_t changed_before_ = 0;  // records that the journal had seen change
  bool stopping_ = false;           // a failure ends the run under way
};

}  // namespace mercato::exchange
