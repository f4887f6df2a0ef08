// SPDX-License-Identifier: Apache-2.0
// Property groups, reading half: class Mercato.RPropertyGroup.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"
#include "mercato/export.h"

namespace mercato {

/// Property groups, reading half. Never starts a transaction and never votes.
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API RPropertyGroup : public ComponentOf<RPropertyGroup> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// The groups as a paged list, a DRecordset that stands on the page's position: all, or those with the ids in the
  /// array. The ids are joined with blanks: one id works, and callers with several put commas into the elements. The
  /// page may be nothing; then the persisted state tells the position, "" the first page. An empty order leaves the
  /// list in the order that its state has.
  ///
  /// Raises 13 for ids that are no array, 0x80040E14 for ids that are no list, 5 for sort fields that are no columns
  /// and for a state that no DRecordset wrote, and what the page and the store raise. A failure is logged and raised
  /// under "Mercato.RPropertyGroup.GetPropertyGroupData".
  ComponentPtr GetPropertyGroupData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                    std::int16_t i_iPageSize, const Variant& i_alPropertyGroupIDs = kMissing,
                                    const std::string& i_sSortTableFieldNames = "");
};

}  // namespace mercato
