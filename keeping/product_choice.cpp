// SPDX-License-Identifier: Apache-2.0
#include "keeping/product_choice.h"

#include <algorithm>
#include <iterator>

#include "frame/lib_general.h"
#include "keeping/store_calls.h"

namespace mercato::keeping {

std::vector<std::int32_t> chosen_products(const ProductChoice& choice) {
  Sql sql("SELECT PRODUCTID FROM PRODUCT WHERE PRODUCTID IS NOT NULL");
  if (choice.supplier) sql << " AND BUSINESSPARTNERID = " << *choice.supplier;
  if (choice.category)
    sql << " AND PRODUCTID IN (SELECT PRODUCTID FROM PRODUCTSBYCATEGORY WHERE CATEGORYID = " << *choice.category << ")";
  const std::string pattern = Gen_LikePattern(choice.part_number);
  if (!choice.part_number.empty()) sql << " AND PARTNUMBER LIKE " << value(pattern);
  if (choice.disabled)
    *choice.disabled ? sql << " AND DISABLED = 1" : sql << " AND (DISABLED <> 1 OR DISABLED IS NULL)";
  std::vector<std::int32_t> ids = ids_by(sql);
  std::ranges::sort(ids);
  if (!choice.among) return ids;
  std::vector<std::int32_t> among = *choice.among;
  std::ranges::sort(among);
  std::vector<std::int32_t> both;
  std::ranges::set_intersection(ids, among, std::back_inserter(both));
  return both;
}

}  // namespace mercato::keeping
