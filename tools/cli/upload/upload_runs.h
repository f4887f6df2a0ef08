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
// taken everything along: then all of the document remains.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "mercato/raised_error.h"
#include "mercato/variant.h"
#include "platform/xml/document.h"
#include "tools/cli/terminal/terminal.h"
#include "tools/cli/upload/upload_report.h"
#include "upload/upload_documents.h"

namespace mercato::cli {

inline constexpr std::size_t kMostFailures = 1000;
inline constexpr std::size_t kCheckpoint = 100;

struct UploadSource {
  std::string document;  // file or URL
  std::string file_key;
  std::string web_root;
  std::size_t most_failures = kMostFailures;
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
  virtual std::size_t take_inventory(const xml::Document& document) = 0;
  // One call of the library. Tells of each record with `done_with`, of each part number by counting `seen_`.
  virtual void call_library(const Document& document, const Array& part_numbers) = 0;

  // A record was applied or refused, and no run has to see it again. What became of it is in `unsettled_` already.
  void done_with(const std::string& part_number);
  // A record has failed: whether the run goes on behind it.
  bool goes_on_after(const RaisedError& failure);
  static void refuse(UploadReport& report, UploadFinding finding);

  const UploadSource source_;
  UploadReport report_;
  UploadReport unsettled_;  // what became of records that the store could still lose
  Document document_;       // what the next run reads
  PartNumbers pending_;     // part numbers that no run has dealt with, in document order
  PartNumbers gone_;        // of records that are dealt with and still stand in the document
  std::size_t seen_ = 0;    // part numbers that the run is done with
  Progress* progress_ = nullptr;

 private:
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
  bool file_is_current_ = false;  // the last run has written, or deleted, the remaining file
  std::size_t settled_seen_ = 0;  // what the store cannot lose any more
  std::size_t settled_gone_ = 0;
  std::optional<RaisedError> lost_by_;
  std::size_t failures_ = 0;
  bool stopping_ = false;  // a failure ends the run under way
};

}  // namespace mercato::cli
