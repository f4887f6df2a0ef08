// SPDX-License-Identifier: Apache-2.0
#include "exchange/missing_products.h"

#include "exchange/stored_rows.h"
#include "frame/contracts.h"
#include "frame/lib_sql.h"

namespace mercato::exchange {

void NamedProducts::add(std::string_view number) {
  if (number.empty())
    ++unnamed_;
  else
    numbers_.insert(part_number_key(number));
}

std::vector<MissingProduct> NamedProducts::missing(const std::string& supplier) const {
  std::vector<MissingProduct> missing;
  const RecordsetPtr rows = open_read_only(
      Sql("SELECT PRODUCTID, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION FROM PRODUCT WHERE BUSINESSPARTNERID = ")
          << zentrik::BusinessPartner().GetBusinessPartnerID(supplier).to_long()
          << " AND (DISABLED IS NULL OR DISABLED = 0) ORDER BY PRODUCTID",
      open_connection(shared_connection_string()));
  for (; !rows->Eof(); rows->MoveNext()) {
    MissingProduct product{rows->Value("PRODUCTID").to_long(), rows->Value("BUYFROMPARTNUMBER").text_or_empty(),
                           rows->Value("PRODUCTDESCRIPTION").text_or_empty()};
    if (!numbers_.contains(part_number_key(product.number))) missing.push_back(std::move(product));
  }
  rows->Close();
  return missing;
}

}  // namespace mercato::exchange
