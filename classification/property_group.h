// Property groups, writing half: named sets of properties, to which products and commodities point. Requires a
// transaction and votes on it: commit on success, abort at a failure, which is logged and raised under
// "Mercato.PropertyGroup." and the method's name.
// One object serves one call at a time; nothing is kept between calls.
#pragma once

#include <cstdint>
#include <string>

#include "frame/business_class.h"

namespace mercato {

class PropertyGroup : public ComponentOf<PropertyGroup> {
 public:
  static const ClassTable& table();

  // Deletes the group and its memberships and returns true. Returns false, with nothing raised or logged and a commit
  // vote, when CanDelete says so. Raises ePropertyGroupNotFound, source "Mercato.PropertyGroup.Delete", when there is
  // no such group. A refused or failed delete changes nothing.
  bool Delete(std::int32_t& iPropertyGroupId);
  // Whether nothing refers to the group, as far as the reference checker knows. An unknown group can be deleted, too.
  bool CanDelete(std::int32_t& iPropertyGroupId);

  // Brings the property values of one product, or with -1 of all products of the group, in line with the group: values
  // of properties that are neither in the group nor external go, properties of the group that the product lacks come
  // with their defaults, or as empty texts. Values that are there already stay. One product is aligned with this group
  // whatever its own. Always true. Raises 6 for a change of a property beyond 16 bits.
  bool UpdateGroupChange(std::int32_t& iPropertyGroupId, std::int32_t& iProductID);

  // Retired: raises -1 at every call. Use Mercato.RPropertyGroup.GetPropertyGroupData.
  ComponentPtr GetPropertyGroupData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                    std::int16_t i_iPageSize, const Variant& i_alPropertyGroupIDs = kMissing,
                                    const std::string& i_sSortTableFieldNames = "");

  // Creates a group and returns its id. Names need not be unique.
  std::int32_t Insert(std::string& iPropertyGroupName);

  // Add a membership; one that exists already fails in the store. The first leaves the sheet flag to the store's
  // default. Neither changes values of products: that takes UpdateGroupChange.
  void AddPropertyToPropertyGroup(std::int32_t& iPropertyGroupId, std::int32_t& iPropertyId, bool& iMandatory);
  void AddPropertyToPropertyGroupEx(std::int32_t& iPropertyGroupId, std::int32_t& iPropertyId, bool& iMandatory,
                                    bool& iShowInProductSheet);
};

}  // namespace mercato
