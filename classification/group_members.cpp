// SPDX-License-Identifier: Apache-2.0
#include "classification/group_members.h"

#include "frame/query_rows.h"

namespace mercato::classification {

std::vector<DictionaryPtr> members_of_all_groups(const std::string& connection_string) {
  return query_rows(
      connection_string,
      LiteralPiece(
          "SELECT PROPSBYPROPGROUP.PROPERTYGROUPID, PROPSBYPROPGROUP.PROPERTYID, PROPERTY.PROPERTYNAME, MANDATORY, "
          "SHOWINPRODUCTSHEET FROM PROPSBYPROPGROUP INNER JOIN PROPERTY ON PROPSBYPROPGROUP.PROPERTYID = "
          "PROPERTY.PROPERTYID ORDER BY PROPERTY.PROPERTYNAME"));
}

}  // namespace mercato::classification
