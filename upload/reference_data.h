// SPDX-License-Identifier: Apache-2.0
// What the judge, the repairer and the writer of products ask of the store and of the collaborating components, and
// what of the answers is kept as long as the object: the business partners' component and whether UNSPSC is in use.
// Writes nothing. One thread at a time.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "frame/contracts.h"
#include "upload/product_fields.h"
#include "upload/upload_connections.h"

namespace mercato::upload {

class ReferenceData {
 public:
  explicit ReferenceData(ReadConnection& read_connection) : read_connection_(read_connection) {}

  // The description of the product with that part number; Null without one.
  Variant getProductName(const std::string& iBuyFromPartNr);

  // The rules that judge and repairer share: whether the value is good for a commodity, contract line, date, number,
  // flag or UNSPSC code. `partner` is the other half of a contract line. The field's name goes into the statement as it
  // is written. Raises 5 and 13 for an UNSPSC code without two digits at its end, and what the store raises.
  bool is_good(FieldKind kind, const std::string& field, const Variant& value, const Variant& partner);
  static bool is_unit(const Variant& value);
  static bool is_hazardous_class(const Variant& value);
  // -1 when there is no such partner.
  Variant partner_id(const std::string& business_id) { return mBusinessPartner.GetBusinessPartnerID(business_id); }

  // The setting UNSPSCIMPLEMENTED, once for each object. To be called before the two questions about it.
  void read_unspsc_setting();
  bool unspsc_in_use() const;
  bool unspsc_links_wanted() const;

 private:
  enum class Quoting { text, none };  // without quotes the value stands in the statement as it is
  // One field that a query of Exists compares.
  struct Comparison {
    std::string_view field;
    Variant value;
    Quoting quoting;
  };

  static bool Exists(std::string_view table, std::initializer_list<Comparison> comparisons);
  static bool unspsc_code_exists(const std::string& whole_code);

  ReadConnection& read_connection_;
  zentrik::BusinessPartner mBusinessPartner;
  Variant mUNSPSCImplemented;  // upper-cased; Empty until it is read
};

}  // namespace mercato::upload
