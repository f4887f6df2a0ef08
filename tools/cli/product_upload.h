// The upload of a whole Product document through the library's upload calls: run after run, on what the run before has
// left, until every record that can be reached was applied or refused. One object for one upload; one thread.
//
// Each element "Product" of the document ends in one of three places: applied, refused, or remaining (in the remaining
// file). A record whose writing fails stops the library's run; here it is refused with the failure as the reason, and
// the upload goes on behind it. A failure that is not the record's own (the store is gone, a limit has passed), and one
// more than kMostFailures, end the upload; what was not reached remains. A store that fails may take the latest writes
// along: every kCheckpoint records the upload makes sure of them, and what came after that remains too.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "frame/types/raised_error.h"
#include "tools/cli/terminal.h"
#include "upload/upload_observer.h"

namespace mercato::cli {

inline constexpr std::size_t kMostFailures = 100;
inline constexpr std::size_t kCheckpoint = 100;

struct UploadFinding {
  std::string part_number;
  std::string field;  // empty when it concerns the whole record
  std::string value;
  std::string reason;
};

struct UploadReport {
  std::size_t read = 0;  // elements "Product" of the document
  std::size_t inserted = 0;
  std::size_t updated = 0;
  std::size_t repaired = 0;  // of the applied ones: written without the fields listed in `dropped`
  std::size_t refused = 0;
  std::size_t remaining = 0;
  std::vector<UploadFinding> refusals;  // one for each bad field of a refused record
  std::vector<UploadFinding> dropped;
  std::vector<UploadFinding> cut;
  std::vector<UploadFinding> unreachable;  // records that remain because no run can reach them
  std::string remaining_file;              // empty when nothing remains
  std::string stopped_by;                  // the failure that ended the upload early; empty when none did

  std::size_t applied() const { return inserted + updated; }
};

class ProductUpload : private UploadObserver {
 public:
  struct Options {
    std::string document;  // file or URL
    std::string file_key;
    std::string web_root;
    bool write_on_errors = false;
    bool update_only = false;
  };

  explicit ProductUpload(Options options) : options_(std::move(options)) {}
  // Raises eUnableToLoadXML when the document cannot be loaded, 75 for a file key that is no plain part of a file name,
  // and what creating the web root folder raises.
  UploadReport run();

 private:
  struct Source {
    std::string text_or_url;
    bool is_url = true;
  };
  using PartNumbers = std::vector<std::string>;

  void on_record(const UploadRecord& record) override;

  void take_inventory();
  void run_all();
  // One call of the library for the first `count` pending records; sets `seen_`. The failure that ended it, if any.
  std::optional<RaisedError> run_once(std::size_t count);
  // Writes out what the run has written so far. False when the store cannot: it is lost then.
  bool checkpoint();
  void settle();
  bool goes_on_after(const RaisedError& failure);
  void settle_remaining_file();

  static void add_findings(std::vector<UploadFinding>& findings, const UploadRecord& record,
                           const std::vector<UploadField>& fields);
  static void refuse(UploadReport& report, const std::string& part_number, std::string reason);

  // The text of a document without the first element of each part number.
  static Source without(const Source& source, const PartNumbers& part_numbers, bool without_keyless);
  std::string remaining_folder() const;
  std::string remaining_path() const;

  Options options_;
  UploadReport report_;
  Source source_;                 // what the next run reads
  PartNumbers pending_;           // records that no run has dealt with, in document order
  PartNumbers dealt_;             // those that are dealt with and still stand in the document itself, of an update
  bool file_is_current_ = false;  // the last run has written, or deleted, the remaining file
  std::string buyer_separator_;   // what a record has set rules those after it, also in the next run
  std::size_t seen_ = 0;          // records of the run under way, without one whose failure ended it
  std::size_t settled_ = 0;       // those of them that the store cannot lose any more
  UploadReport unsettled_;        // what became of the others
  std::optional<RaisedError> lost_by_;
  bool last_failed_ = false;
  std::size_t failures_ = 0;
  Progress* progress_ = nullptr;
};

}  // namespace mercato::cli
