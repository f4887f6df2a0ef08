// SPDX-License-Identifier: Apache-2.0
#include "keeping/succession.h"

#include <algorithm>
#include <iterator>

#include "keeping/node_keeping.h"
#include "keeping/product_keeping.h"
#include "keeping/store_calls.h"

namespace mercato::keeping {
namespace {

// The enabled products of nodes of type 1, as ExpireCatalog finds them; the condition on the node is to follow.
Sql shown_products() {
  return LiteralPiece(
      "SELECT DISTINCT P.PRODUCTID FROM PRODUCT P INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID INNER "
      "JOIN CATALOGNODE N ON N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1 INNER JOIN CATALOG K ON K.CATALOGID = "
      "N.CATALOGID WHERE (P.DISABLED <> 1 OR P.DISABLED IS NULL) AND ");
}

}  // namespace

Expiry plan_expiry(std::int32_t catalog) {
  std::vector<std::int32_t> own = ids_by(shown_products() << "N.CATALOGID = " << catalog);
  std::vector<std::int32_t> others = ids_by(shown_products() << "K.ACTIVE = 1 AND N.CATALOGID <> " << catalog);
  std::ranges::sort(own);
  std::ranges::sort(others);
  Expiry expiry;
  std::ranges::set_difference(own, others, std::back_inserter(expiry.disabled));
  expiry.shared = own.size() - expiry.disabled.size();
  return expiry;
}

Expiry expire_keeping_shared(std::int32_t catalog) {
  Expiry expiry = plan_expiry(catalog);
  set_active(catalog, false);
  set_disabled(expiry.disabled, true, [] {});
  return expiry;
}

}  // namespace mercato::keeping
