// SPDX-License-Identifier: Apache-2.0
#include "collaborators/zentrik/business_partner.h"

#include <cstdint>

#include "collaborators/query.h"
#include "frame/lib_general.h"

namespace mercato::collaborators {

const ClassTable& BusinessPartner::table() {
  static const ClassTable table =
      ClassTable::of<BusinessPartner>("Zentrik.BusinessPartner", "{92F6E05B-A84D-4C71-8E3B-5D17F0A2C694}",
                                      TransactionAttribute::undeclared)
          .collaborator()
          .never_waits()
          .method("GetBusinessPartnerID", &BusinessPartner::GetBusinessPartnerID, {"business_id"})
          .method("GetPartnerDefaultBuyer", &BusinessPartner::GetPartnerDefaultBuyer, {"partner_id"});
  return table;
}

Variant BusinessPartner::GetBusinessPartnerID(const std::string& business_id) {
  const Sql sql = Sql("SELECT BUSINESSPARTNERID FROM BUSINESSPARTNER WHERE BUSINESSID = N'")
                  << value(Gen_QuoteSql(business_id)) << "'";
  const Query partner(sql);
  return partner->Eof() ? Variant(std::int32_t{-1}) : partner->Value("BUSINESSPARTNERID");
}

std::string BusinessPartner::GetPartnerDefaultBuyer(const Variant& partner_id) {
  if (partner_id.is_null()) return {};
  const Sql sql = Sql("SELECT DEFAULTBUYER FROM BUSINESSPARTNER WHERE BUSINESSPARTNERID = ")
                  << partner_id.to_long() << " AND DEFAULTBUYER IS NOT NULL";
  const Query partner(sql);
  return partner->Eof() ? std::string() : partner->Value("DEFAULTBUYER").to_text();
}

}  // namespace mercato::collaborators
