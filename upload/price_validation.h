// SPDX-License-Identifier: Apache-2.0
// Judges a price: a line passes all rules or is not written. The judge changes nothing of it.
//
// The rules of one field take its name in any case. The comparisons look a field up by its one spelling, and one that
// is missing counts as 0 or as the zero date.
#pragma once

#include <optional>
#include <vector>

#include "frame/documents.h"
#include "mercato/dictionary.h"
#include "mercato/upload_observer.h"

namespace mercato::upload {

class PriceJudge {
 public:
  using Findings = std::vector<UploadField>;

  // Once for the life of the object: nothing can be judged before.
  void load_currencies();

  // The bad fields of a price, name to value; empty when it is valid. What breaks a rule is noted in `findings`, too,
  // unless that is null. Raises 91 while no currencies are loaded, and 13 for a percentage that is no number.
  DictionaryPtr getErrorFields(const Dictionary& price) const;
  bool isValidPrice(const Dictionary& price, Findings* findings = nullptr) const;

 private:
  class Errors;

  static DictionaryPtr getTypeAndRangeErrors(const Dictionary& price, Findings* findings);
  DictionaryPtr GetPriceRuleErrors(const Dictionary& price, Findings* findings) const;

  DictionaryPtr mCurrencies;  // their codes are its keys; null until they are loaded
};

// Creates the fields that the comparisons have looked up and not found, without a value. They are written with the
// line, so that an update without a DiscountAmount clears that column.
void add_compared_fields(Dictionary& price);

// Why the record of a price cannot be judged, with the field concerned: an upload would end at it, or lose it with the
// record around it. Nothing when it can be judged.
std::optional<UploadField> reason_not_judged(const xml::Node& record);

}  // namespace mercato::upload
