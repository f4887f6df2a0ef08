// SPDX-License-Identifier: Apache-2.0
// The upload of a Product document: each element "Product" is a record, applied when its product was inserted or
// updated. One object for one upload; one thread.
#pragma once

#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "mercato/upload_observer.h"
#include "tools/cli/upload/upload_interruption.h"
#include "tools/cli/upload/upload_runs.h"

namespace mercato::cli {

// What the failure of one record means, also where its own words say little.
std::string reason_of(const RaisedError& failure, bool update_only);

class ProductUpload : public UploadRuns, private UploadObserver {
 public:
  struct Options {
    UploadSource source;
    bool write_on_errors = false;
    bool update_only = false;
  };

  explicit ProductUpload(Options options);

 private:
  bool waits() const override { return false; }
  void on_record(const UploadRecord& record) override;
  bool goes_on_behind(const RaisedError& failure) override;
  bool cancels() override { return UploadInterruption::is_wanted(); }

  std::size_t take_inventory(const xml::Document& document) override;
  void call_library(const Document& document, const Array& part_numbers) override;

  void record_ended(const UploadRecord& record);
  static void add_findings(std::vector<UploadFinding>& findings, const UploadRecord& record, const RecordPlace& place,
                           const std::vector<UploadField>& fields);
  // Of the first record of the part number that is not dealt with: that is the one that the library takes.
  RecordPlace take_place(const std::string& part_number);

  const bool write_on_errors_;
  const bool update_only_;
  std::vector<std::string> records_;  // of an update: the texts of the records, in the order of their part numbers
  std::unordered_map<std::string, std::deque<RecordPlace>> waiting_;  // the places of records that runs can reach
  std::string buyer_separator_;  // what a record has set rules those after it, also in the next run
};

}  // namespace mercato::cli
