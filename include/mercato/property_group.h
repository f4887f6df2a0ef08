// SPDX-License-Identifier: Apache-2.0
// Property groups, writing half: class Mercato.PropertyGroup.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"
#include "mercato/export.h"

namespace mercato {

/// Property groups, writing half: named sets of properties, to which products and commodities point.
///
/// Requires a transaction. A method votes commit when it succeeds. A failure votes abort, which takes back whatever the
/// call changed, and is logged and raised under the label "Mercato.PropertyGroup." and the method's name. Every method
/// that is not retired may raise what the store raises (0x80040E14 for a refused statement, 0x80040E57 for a text that
/// is too long for its column, 0x80004005 for a store that cannot be reached). No argument is changed.
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API PropertyGroup : public ComponentOf<PropertyGroup> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// Deletes a group and its memberships; true. False, with a commit vote and nothing raised or logged, when CanDelete
  /// says so; nothing is changed then. Raises ePropertyGroupNotFound, source "Mercato.PropertyGroup.Delete", for an
  /// unknown id. A failure of CanDelete is logged under its label first.
  bool Delete(std::int32_t& iPropertyGroupId);

  /// Whether nothing refers to the group, as far as the reference checker knows. True for an unknown group.
  bool CanDelete(std::int32_t& iPropertyGroupId);

  /// Brings the property values of one product, or with -1 of all products of the group, in line with the group; always
  /// true. Values of properties that are neither in the group nor external go. Properties of the group that a product
  /// lacks come with their defaults, or as empty texts. Values that are there stay. One product is aligned with this
  /// group whatever its own group is. Raises 6 when the value of a property beyond 16 bits has to come or go.
  bool UpdateGroupChange(std::int32_t& iPropertyGroupId, std::int32_t& iProductID);

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use
  /// Mercato.RPropertyGroup.GetPropertyGroupData.
  ComponentPtr GetPropertyGroupData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                    std::int16_t i_iPageSize, const Variant& i_alPropertyGroupIDs = kMissing,
                                    const std::string& i_sSortTableFieldNames = "");

  /// Creates a group and returns its id. Names need not be unique.
  std::int32_t Insert(std::string& iPropertyGroupName);

  /// Adds a property to a group; neither has to exist. The flag for the product sheet is left to the store's default.
  /// Values of products stay as they are: UpdateGroupChange changes them. Raises 0x80040E2F for a property that is in
  /// the group already.
  void AddPropertyToPropertyGroup(std::int32_t& iPropertyGroupId, std::int32_t& iPropertyId, bool& iMandatory);

  /// AddPropertyToPropertyGroup with the flag for the product sheet.
  void AddPropertyToPropertyGroupEx(std::int32_t& iPropertyGroupId, std::int32_t& iPropertyId, bool& iMandatory,
                                    bool& iShowInProductSheet);
};

}  // namespace mercato
