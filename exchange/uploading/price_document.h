// SPDX-License-Identifier: Apache-2.0
// The upload of a ProductPrice document: each element "ProductPrice" is a record, applied when its price line was added
// or changed. Lines of part numbers without a product remain. One object for one upload; one thread.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "exchange/uploading/upload_runs.h"
#include "mercato/upload_observer.h"

namespace mercato::exchange {

// A document for loading the currencies: the library judges nothing before it has them.
inline constexpr const char* kPriceDocumentWithoutFields = "<ProductPrices><ProductPrice/></ProductPrices>";

// What the failure of one line means: the field concerned, where it is known, and the reason in plain words.
UploadField told_of(const RaisedError& failure);

class PriceUpload : public UploadRuns, private PriceUploadObserver {
 public:
  explicit PriceUpload(UploadSource source);

 private:
  bool waits() const override { return false; }
  void on_price_line(const UploadPriceLine& line) override;
  void on_part_number(const std::string& part_number, PartNumberOutcome outcome) override;
  bool goes_on_behind(const RaisedError& failure) override;
  bool cancels() override { return is_cancelled(); }

  std::size_t take_inventory(const xml::Document& document) override;
  void call_library(const std::string& document, const Array& part_numbers) override;
  // Why the library cannot judge it.
  std::optional<UploadField> fault_of(const xml::Node& record, const RecordPlace& place) const;

  // The lines of a part number that runs can reach, by their places in the document that was given.
  std::unordered_map<std::string, std::vector<RecordPlace>> lines_;
  std::optional<RecordPlace> failed_line_;  // the next question is about it
};

}  // namespace mercato::exchange
