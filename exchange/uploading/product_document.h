// SPDX-License-Identifier: Apache-2.0
// The upload of a Product document: each element "Product" is a record, applied when its product was inserted or
// updated. One object for one upload; one thread.
#pragma once

#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "exchange/uploading/upload_runs.h"
#include "mercato/upload_observer.h"

namespace mercato::exchange {

// What the failure of one record means, also where its own words say little.
std::string reason_of(const RaisedError& failure, bool update_only);

struct ProductUploadOptions {
  bool write_on_errors = false;
  bool update_only = false;
};

class ProductUpload : public UploadRuns, private UploadObserver {
 public:
  explicit ProductUpload(UploadSource source, ProductUploadOptions options = {});

 private:
  bool waits() const override { return false; }
  void on_record(const UploadRecord& record) override;
  bool goes_on_behind(const RaisedError& failure) override;
  bool cancels() override { return is_cancelled(); }

  std::size_t take_inventory(const xml::Document& document) override;
  void call_library(const std::string& document, const Array& part_numbers) override;

  void record_ended(const UploadRecord& record);
  static void add_findings(std::vector<UploadFinding>& findings, const UploadRecord& record, const RecordPlace& place,
                           const std::vector<UploadField>& fields);
  // Of the first record of the part number that is not dealt with: that is the one that the library takes.
  RecordPlace take_place(const std::string& part_number);

  const bool write_on_errors_;
  const bool update_only_;
  std::unordered_map<std::string, std::deque<RecordPlace>> waiting_;  // the places of records that runs can reach
  std::string buyer_separator_;  // what a record has set rules those after it, also in the next run
};

}  // namespace mercato::exchange
