// SPDX-License-Identifier: Apache-2.0
// The upload of a Product document: each element "Product" is a record, applied when its product was inserted or
// updated. One object for one upload; one thread.
#pragma once

#include <string>
#include <vector>

#include "mercato/upload_observer.h"
#include "tools/cli/upload/upload_runs.h"

namespace mercato::cli {

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

  std::size_t take_inventory(const xml::Document& document) override;
  void call_library(const Document& document, const Array& part_numbers) override;

  void record_ended(const UploadRecord& record);
  static void add_findings(std::vector<UploadFinding>& findings, const UploadRecord& record,
                           const std::vector<UploadField>& fields);

  const bool write_on_errors_;
  const bool update_only_;
  std::vector<std::string> records_;  // of an update: the texts of the records, in the order of their part numbers
  std::string buyer_separator_;       // what a record has set rules those after it, also in the next run
};

}  // namespace mercato::cli
