// SPDX-License-Identifier: Apache-2.0
// The upload of a whole document through the library's upload calls: run after run, on what the run before has left,
// until every record that can be reached was applied or refused. What is uploaded, and how the library is asked, is the
// derived class's. One object for one upload; one thread.
//
// Each record of the document ends in one of three places: applied, refused, or remaining (in the remaining file). A
// record whose writing fails is refused with the failure as the reason, and the run goes on behind it. A failure that
// is not the record's own (the store is gone, a limit has passed), and one more than `most_failures`, end the upload;
// what was not reached remains. A store that fails may take the latest writes along: every kCheckpoint records the
// upload makes sure of them, and what came after that remains too. A store whose file is gone, or another one now, has
// taken everything along: then all of the document remains. Ctrl-C ends the upload after the record at hand; what was
// not reached remains.
//
// Before the library sees a record, its values are judged where the source says so: one with a value that is not certain
// is refused. With `atomic` the whole upload is one transaction, which is committed when every record was applied, else
// rolled back.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "exchange/journal/journal.h"
#include "exchange/judging.h"
#include "mercato/component.h"
#include "mercato/raised_error.h"
#include "mercato/variant.h"
#include "platform/store/unit_of_work.h"
#include "platform/xml/document.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/cli/upload/upload_report.h"
#include "upload/upload_documents.h"

namespace mercato::cli {

class RestFile;

inline constexpr std::size_t kMostFailures = 1000;
inline constexpr std::size_t kCheckpoint = 100;

struct UploadSource {
  std::string document;  // file or URL
  std::string file_key;
  std::string web_root;
  std::size_t most_failures = kMostFailures;
  std::optional<exchange::JudgingOptions> judging = {};  // nothing: the library alone judges
  std::string rest_file = {};                            // empty: none is written
  bool rest_as_lines = false;                            // of JSON, not a document
  RestFile* rest = nullptr;                              // of several documents, in place of a file of its own
  const std::vector<std::size_t>* lines = nullptr;       // of the records, in the file that the document was made of
  bool atomic = false;
  exchange::Journal* journal = nullptr;  // keeps what the upload changes
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
  using PartNumbers = std::vector<std::string>;
  enum class Rest {
    in_file,      // a run takes its records out of the document and writes the rest to the remaining file
    in_document,  // a run leaves the document as it is
  };
  static constexpr std::size_t kAllRecords = static_cast<std::size_t>(-1);
  struct Kind {
    const upload::DocumentKind& document;
    exchange::Reach::Kind reach;
    Rest rest;
    std::size_t most_in_one_run;  // part numbers; kAllRecords for no bound
  };
  struct Document {
    std::string text_or_url;
    bool is_url = true;
  };

  UploadRuns(UploadSource source, Kind kind) : source_(std::move(source)), kind_(kind) {}
  ~UploadRuns() = default;

  // Fills `report_` with what is known beforehand, and `pending_`; answers how many records a run may reach.
  // `places_` says of each record of the document where it stood in the one that was given.
  virtual std::size_t take_inventory(const xml::Document& document) = 0;
  // One call of the library. Tells of each record with `done_with`, of each part number by counting `seen_`.
  virtual void call_library(const Document& document, const Array& part_numbers) = 0;

  // A record was applied or refused, and no run has to see it again. What became of it is in `unsettled_` already.
  void done_with(const std::string& part_number);
  // A record has failed: whether the run goes on behind it.
  bool goes_on_after(const RaisedError& failure);
  static void refuse(UploadReport& report, UploadFinding finding);
  // A record was applied.
  void applied(const RecordPlace& place) { unsettled_applied_.push_back(place.record); }
  // A new object of the library's: one without a context works in the transaction of an atomic upload.
  ComponentPtr library_object(const char* prog_id) const;

  const UploadSource source_;
  UploadReport report_;
  UploadReport unsettled_;  // what became of records that the store could still lose
  Document document_;       // what the next run reads
  std::vector<RecordPlace> places_;
  std::unordered_set<std::size_t> left_out_of_;  // places of records without some of their fields
  PartNumbers pending_;                          // part numbers that no run has dealt with, in document order
  PartNumbers gone_;                             // of records that are dealt with and still stand in the document
  std::size_t seen_ = 0;                         // part numbers that the run is done with
  Progress* progress_ = nullptr;

 private:
  // Numbers the records, and takes those out that are refused for their values.
  void judge_values(xml::Document& document);
  void refuse_for_values(const std::string& part_number, const RecordPlace& place,
                         const std::vector<exchange::Finding>& findings);
  // Without a record that was refused or remains the transaction of an atomic upload is committed.
  void end_transaction();
  void write_rest() const;
  void add_rest(RestFile& rest) const;
  // The line of the file that the document was made of, or is.
  std::size_t line_of(const xml::Node& element, std::size_t record) const;
  void run_all();
  // One call of the library for the first `count` pending part numbers. The failure that ended it, if any.
  std::optional<RaisedError> run_once(std::size_t count);
  // Writes out what the run has written so far. False when the store cannot: it is lost then.
  bool checkpoint();
  void settle();
  void settle_remaining_file();
  // The document without the first record of each part number that is gone, one for each time that it is named.
  xml::Document rest_of_document() const;
  std::string reason_to_stop(const RaisedError& failure) const;
  std::string remaining_path() const;

  const Kind kind_;
  Document given_;                              // what the upload was given
  std::vector<std::size_t> applied_;            // the places of records
  std::vector<std::size_t> unsettled_applied_;  // likewise, that the store could still lose
  std::unique_ptr<store::UnitOfWork> transaction_;
  std::unique_ptr<store::UnitOfWork::Current> current_;
  bool file_is_current_ = false;  // the last run has written, or deleted, the remaining file
  std::size_t settled_seen_ = 0;  // what the store cannot lose any more
  std::size_t settled_gone_ = 0;
  std::optional<RaisedError> lost_by_;
  std::size_t failures_ = 0;
  bool stopping_ = false;  // a failure ends the run under way
};

}  // namespace mercato::cli
