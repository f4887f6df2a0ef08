// SPDX-License-Identifier: Apache-2.0
// Zentrik.BusinessPartner: the partners of table BUSINESSPARTNER. Raises what the store raises.
#pragma once

#include <string>

#include "mercato/class_table.h"

namespace mercato::collaborators {

class BusinessPartner : public ComponentOf<BusinessPartner> {
 public:
  static const ClassTable& table();

  // The partner's number, -1 when nobody has that business id.
  Variant GetBusinessPartnerID(const std::string& business_id);
  // The user id of the partner's default buyer; the empty string for a partner without one, for an unknown one and for
  // Null. Raises 13 for a partner id that is no number.
  std::string GetPartnerDefaultBuyer(const Variant& partner_id);
};

}  // namespace mercato::collaborators
