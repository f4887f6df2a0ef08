// Properties: the typed free attributes that products carry beside their columns. This class keeps their definitions;
// the values of products are written by Product, by the upload and by PropertyGroup.
// Requires a transaction, for its reads too, and votes on it. A failure votes abort, is logged and raised under
// "Mercato.Property." and the method's name where nothing else is said.
// One object serves one call at a time; nothing is kept between calls.
#pragma once

#include <cstdint>
#include <string>

#include "frame/business_class.h"
#include "values/dictionary.h"

namespace mercato {

// What the values of a property are. They are stored as text whatever it is.
enum Datatype : std::int16_t {
  STRINGPROPERTYTYPE = 1,
  NUMBERPROPERTYTYPE = 2,
  ENUMPROPERTYTYPE = 3,
  DATEPROPERTYTYPE = 4,
};

class Property : public ComponentOf<Property> {
 public:
  static const ClassTable& table();

  // Deletes the property, its enum rows and its places in groups, and returns true; votes commit. Values of products
  // are not touched: the reference checker keeps a property that has some, and then this returns false, with nothing
  // raised or logged and an abort vote. Raises ePropertyNotFound, source "Mercato.Property.Update", when there is no
  // such property. A refused or failed delete changes nothing.
  bool Delete(std::int32_t& iPropertyId);

  // Retired: raise -1 at every call. Nothing takes their place.
  void DeleteUserProperties(std::string& iUserID);
  void DeleteOfficeProperties(std::string& iOfficeDescription);

  // Inserts a row with these columns and returns its id; votes commit. Raises kNoSuchField for a name that is no column
  // (in any case), 9 when there are fewer values than fields, what conversions to the column's type raise, and 6 for an
  // id or an index beyond 16 bits: Insert21 has no such limit. Label "Mercato.Property.Insert".
  std::int16_t Insert20(const Array& iFields, const Array& iValues);
  // Insert20 of a property that is not external and has no default.
  std::int16_t Insert(std::string& iPropertyName, std::int16_t& iDataType);

  // Changes these columns and returns true; votes commit. An element that equals "PROPERTYID" is skipped. One that
  // equals "DATATYPE", exactly, deletes the property's enum rows unless its value is that of enumerated properties.
  // Raises ePropertyNotFound, source "Mercato.Property.Update", and what Insert20 does for its arrays. Label
  // "Mercato.Property.Update".
  bool Update20(std::int32_t iPropertyId, const Array& iFields, const Array& iValues);
  // Update20 of name and data type. The result holds a Boolean.
  Variant Update(std::int32_t& iPropertyId, std::string& iPropertyName, std::int16_t& iDataType);

  // A DRecordset of all properties, or of those that the array of ids names. The ids are joined with a blank: one
  // works, and callers with several put the commas into the elements. The other arguments are PagedRead's; raises what
  // that raises. Never votes.
  ComponentPtr GetPropertyData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                               std::int32_t i_iPageSize, const Variant& i_alPropertyIDs = kMissing,
                               const std::string& i_sSortTableFieldNames = "");

  // All of these vote commit. The first two raise ePropertyNotFound for an unknown id, with the sources
  // "Mercato.Property.getPropertyType" and "Mercato.Property.GetPropertyName"; a property without a data type raises
  // 94.
  std::int16_t getDataType(std::int32_t i_lPropertyID);
  std::string GetPropertyName(std::int32_t i_lPropertyID);
  // The id of one of the properties with this name; 0 without one.
  std::int32_t GetPropertyIDFromName(const std::string& i_sPropertyName);
  // SEQUENCEID as text to VALUE as text, in the store's order; empty without enum rows, for an unknown property too.
  DictionaryPtr getPropertyEnums(std::int32_t iPropertyId);

  // Inserts a complete row and returns its id; votes commit.
  std::int32_t Insert21(std::string& iPropertyName, std::int16_t& iDataType, std::string& iDefaultValue,
                        bool& iExternal);

  // True at every call; votes commit.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  // Whether the property named by the field PROPERTYID (in any case) exists; false when it is not among the fields.
  // Votes commit. Logged under "Mercato.Property.Exists".
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  void DeleteEnums(std::int32_t iPropertyId);
};

}  // namespace mercato
