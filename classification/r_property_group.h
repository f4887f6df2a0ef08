// Property groups, reading half. Never starts a transaction, never votes.
// One object serves one call at a time; nothing is kept between calls.
#pragma once

#include <cstdint>
#include <string>

#include "frame/business_class.h"

namespace mercato {

class RPropertyGroup : public ComponentOf<RPropertyGroup> {
 public:
  static const ClassTable& table();

  // A DRecordset of all groups, or of those that the array of ids names. The ids are joined with a blank: one works,
  // and callers with several put the commas into the elements. The other arguments are PagedRead's; raises what that
  // raises. A failure is logged and raised under "Mercato.RPropertyGroup.GetPropertyGroupData".
  ComponentPtr GetPropertyGroupData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                    std::int16_t i_iPageSize, const Variant& i_alPropertyGroupIDs = kMissing,
                                    const std::string& i_sSortTableFieldNames = "");
};

}  // namespace mercato
