// SPDX-License-Identifier: Apache-2.0
// The field/value protocol: what becomes of each value on its way into a row of PRODUCT. Every generic writer of
// products shares the one table of rules in product_row.cpp; a policy is a column of that table, so that the
// differences between the writers stand side by side. Nothing is kept between calls. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mercato/recordset.h"
#include "mercato/variant.h"

namespace mercato {

enum class ProductWritePolicy { insert, update, upload_insert, upload_update };

// What stands between the buyers in a list. It is empty until somebody sets it; the default takes its place for good as
// soon as a list is taken apart.
class BuyerSeparator {
 public:
  static constexpr std::string_view kDefault = ";";

  const std::string& text() const { return text_; }
  void set(std::string_view text) { text_ = text; }
  const std::string& or_default() {
    if (text_.empty()) text_ = kDefault;
    return text_;
  }

 private:
  std::string text_;
};

// What a writer has to know of the fields that it has written.
struct WrittenProductFields {
  bool has_property_group = false;
  std::int32_t property_group = 0;  // as given: -1 stands for none
  std::string unspsc_code;          // "" for none
  std::string buyers;               // the list as given
};

// Writes each pair to the column of that name in the row under construction, from the lower to the upper bound of the
// fields; nothing reaches the store. Returns nothing after a quiet stop, at a value that the policy rejects without a
// failure; the fields behind it are then not written. Raises kNoSuchField, what conversions to the column's type raise,
// 9 when there are fewer values than fields, and 5 for a GTIN that an update finds too long. Only the uploads
// read the separator.
std::optional<WrittenProductFields> write_product_fields(ProductWritePolicy policy, Recordset& row, const Array& fields,
                                                         const Array& values, BuyerSeparator& separator);
// For the writers that know no lists of buyers.
inline std::optional<WrittenProductFields> write_product_fields(ProductWritePolicy policy, Recordset& row,
                                                                const Array& fields, const Array& values) {
  BuyerSeparator not_asked;
  return write_product_fields(policy, row, fields, values, not_asked);
}

// What the policy's rule for this field finds wrong with a value: a writer then stops quietly, or raises 5 for a GTIN.
// Nothing when the rule takes it; what the column takes is not asked.
struct ProductFieldFault {
  enum class Kind { empty, too_long, no_date } kind;
  std::size_t most_characters = 0;  // of what is too long
};
std::optional<ProductFieldFault> product_field_fault(ProductWritePolicy policy, std::string_view field,
                                                     const Variant& value);
// What an update has to be given to clear this field: -1 for the property group, else Null.
Variant no_value_of(std::string_view field);

// A new row under construction.
RecordsetPtr new_product_row(const ConnectionPtr& connection);
// The product's row, to be changed. Without such a product it raises eProductNotFound, for every caller with the source
// "Mercato.Product.Update".
RecordsetPtr open_product_row(std::int32_t product_id, const ConnectionPtr& connection);
// DATEUPDATED becomes the current date and time.
void stamp_product_row(Recordset& row);

// What an update has to know of the product as it was.
struct FormerProduct {
  std::int32_t property_group;  // 0 for none
  std::string unspsc_code;      // "" for none
};
FormerProduct former_product(const Recordset& row);

// A new product in a group gets the group's property values. To be called when its row is saved.
void create_group_values(const Recordset& row, const WrittenProductFields& written, std::int32_t product_id);
// A product that was moved to another group gets that group's property values, and loses all when it left its group.
// To be called when its row is saved; without a move it does nothing.
void follow_group_change(const Recordset& row, const WrittenProductFields& written, std::int32_t old_group,
                         std::int32_t product_id, Connection& connection);

// A value whose trimmed text is empty becomes Null; anything else stays.
void EmptyToNull(Variant& value);

// With zeros in front up to 14 characters; a longer one as it is.
std::string full_length_gtin(std::string_view gtin);

}  // namespace mercato
