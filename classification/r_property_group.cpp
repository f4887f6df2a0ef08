// SPDX-License-Identifier: Apache-2.0
#include "mercato/r_property_group.h"

#include "frame/lib_sql.h"
#include "frame/method.h"
#include "frame/paged_read.h"

namespace mercato {

const ClassTable& RPropertyGroup::table() {
  static const ClassTable table =
      ClassTable::of<RPropertyGroup>("Mercato.RPropertyGroup", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A108}",
                                     TransactionAttribute::none)
          .method("GetPropertyGroupData", &RPropertyGroup::GetPropertyGroupData,
                  {"i_oPage", "i_sPersistedStateInfo", "i_iPageSize", optional("i_alPropertyGroupIDs"),
                   optional("i_sSortTableFieldNames", "")})
          .takes("i_oPage", "Page")
          .returns("DRecordset")
          .takes("i_alPropertyGroupIDs", "array");
  return table;
}

ComponentPtr RPropertyGroup::GetPropertyGroupData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                                  std::int16_t i_iPageSize, const Variant& i_alPropertyGroupIDs,
                                                  const std::string& i_sSortTableFieldNames) {
  return method(
      [&] {
        return PagedRead(
            {with_ids(LiteralPiece("SELECT * FROM PROPERTYGROUP"), "PROPERTYGROUPID", i_alPropertyGroupIDs),
             "PROPERTYGROUPID", unless_empty(i_sSortTableFieldNames)},
            {i_oPage, i_sPersistedStateInfo, i_iPageSize}, shared_connection_string);
      },
      Tail{"Mercato.RPropertyGroup.GetPropertyGroupData", no_steps});
}

}  // namespace mercato
