// SPDX-License-Identifier: Apache-2.0
// Judges the record of a product for the previews: says which fields are bad and changes nothing of it. Its rules are
// not those of the repair (product_repair.h): a record can pass the one and fail the other.
#pragma once

#include <string>

#include "frame/contracts.h"
#include "mercato/dictionary.h"
#include "records/product_row.h"
#include "upload/reference_data.h"

namespace mercato::upload {

class ProductJudge {
 public:
  ProductJudge(ReferenceData& known, BuyerSeparator& separator) : known_(known), separator_(separator) {}

  // The bad fields, name to value; empty when the record is valid. A field MULTIPLEBUYERSEPARATOR becomes the object's
  // separator, good or bad. Raises 457 for a UNITCODE that is there but empty: it is bad, and it is missing.
  DictionaryPtr getErrorFields(const Dictionary& values);
  bool isValidProduct(const Dictionary& values) { return getErrorFields(values)->Count() < 1; }

 private:
  bool is_bad_field(const Dictionary& values, const std::string& field, const Variant& value);
  bool all_are_buyers(const std::string& list);

  ReferenceData& known_;
  BuyerSeparator& separator_;
  zentrik::User mUser;
};

}  // namespace mercato::upload
