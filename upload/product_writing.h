// SPDX-License-Identifier: Apache-2.0
// Writes a repaired record of a product. Trusts its input: the judge and the repairer have been there before.
// product_row_writing.cpp writes the row of PRODUCT and the buyer rows beside it; product_properties.cpp every other
// field. Each statement stands when it has run.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/dictionary.h"
#include "records/product_row.h"
#include "upload/reference_data.h"
#include "upload/upload_connections.h"

namespace mercato::upload {

class ProductWriter {
 public:
  ProductWriter(ReadConnection& read_connection, ReferenceData& known, BuyerSeparator& separator)
      : read_connection_(read_connection), known_(known), separator_(separator) {}

  // Adds the buy-from part number to the fields.
  void insertProductValues(Dictionary& standard, const std::string& iBuyFromPartNr);
  // A part number without a product writes nothing here, and fails later, when its properties want the id.
  void updateProductValues(const Dictionary& standard, const std::string& iBuyFromPartNr);
  // That `insertProductProperties` comes next, behind the write of a product. Nothing but time depends on it.
  static void foresee_properties(const Dictionary& properties, const std::string& iBuyFromPartNr);
  // Does not look whether the product has a value already: the store refuses a second one. Raises kNoCurrentRow without
  // a product.
  void insertProductProperties(const Dictionary& properties, const std::string& iBuyFromPartNr);
  // Replaces the values that the product has and adds the others; those that the record does not name stay. Raises
  // kNoCurrentRow without a product.
  void updateProductProperties(const Dictionary& properties, const std::string& iBuyFromPartNr);
  // The public call of this name.
  bool InsertUpdateMultipleBuyer(const Variant& i_lProductID, const Variant& sUserid);

 private:
  std::int32_t Insert20(const Array& iFields, const Array& iValues);
  bool Update20(std::int32_t iProductID, const Array& iFields, const Array& iValues);
  void update_unspsc_links(std::int32_t product_id, const std::string& old_code, const std::string& new_code,
                           bool is_new);

  ReadConnection& read_connection_;
  ReferenceData& known_;
  BuyerSeparator& separator_;
  ComponentPtr mProduct;  // created, and called by nobody
};

}  // namespace mercato::upload
