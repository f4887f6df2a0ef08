// SPDX-License-Identifier: Apache-2.0
// Repairs the record of a product for the upload: drops bad values, cuts long ones, translates keys. Required fields
// are not asked for. Its rules are not those of the error check (product_validation.h).
#pragma once

#include <string>

#include "mercato/dictionary.h"
#include "mercato/upload_observer.h"
#include "records/product_row.h"
#include "upload/reference_data.h"

namespace mercato::upload {

class ProductRepairer {
 public:
  ProductRepairer(ReferenceData& known, BuyerSeparator& separator) : known_(known), separator_(separator) {}

  // Walks the values as they were at its start, also those of keys that it has changed meanwhile. What it drops and
  // cuts is noted in `told`, unless that is null.
  void getValidatedProductValues(Dictionary& values, UploadRecord* told);

 private:
  class Field;

  void repair_field(const Field& field);
  void drop_unless_good(FieldKind kind, const Field& field);
  void replace_by_unit_code(const Field& field);
  std::string joined_buyers(const std::string& list) const;

  ReferenceData& known_;
  BuyerSeparator& separator_;
  ComponentPtr mUnit;
};

}  // namespace mercato::upload
