// SPDX-License-Identifier: Apache-2.0
// Properties, the typed free attributes that products have beside their columns: class Mercato.Property.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"

namespace mercato {

/// What the values of a property are. They are stored as text whatever it is.
enum Datatype : std::int16_t {
  STRINGPROPERTYTYPE = 1,
  NUMBERPROPERTYTYPE = 2,
  ENUMPROPERTYTYPE = 3,
  DATEPROPERTYTYPE = 4,
};

/// The definitions of properties. Their values are written by Product, by the upload and by PropertyGroup.
///
/// Requires a transaction, for reads too. What follows holds for every method that says nothing else:
/// - It votes commit when it succeeds. A failure votes abort, which takes back whatever the call changed, and is logged
///   and raised under the label "Mercato.Property." and the method's name.
/// - It may raise what the store raises: 0x80040E14 for a refused statement, 0x80040E2F for a violated constraint,
///   0x80040E57 for a text that is too long for its column, 0x80004005 for a store that cannot be reached.
/// - It changes no argument.
///
/// Arrays of fields and values: `iFields` holds names of columns in any case, `iValues` their values, with the same
/// bounds. They raise 9 when there are fewer values than fields, 0x800A0CC1 for a name that is no column, and 13, 6 or
/// 94 for a value that the column's type cannot take.
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API Property : public ComponentOf<Property> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  // Writing

  /// Deletes a property, its enum rows and its places in groups; true. Values of products are not touched: the
  /// reference checker keeps a property that has some, and then the call returns false, with an abort vote and nothing
  /// raised or logged. Raises ePropertyNotFound, source "Mercato.Property.Update", for an unknown id. A refused or
  /// failed delete changes nothing.
  bool Delete(std::int32_t& iPropertyId);

  /// Retired: logs and raises -1 at every call. Nothing takes its place.
  void DeleteUserProperties(std::string& iUserID);

  /// Retired: logs and raises -1 at every call. Nothing takes its place.
  void DeleteOfficeProperties(std::string& iOfficeDescription);

  /// Creates a property from these fields and returns its id. Raises 6 for an id or an index beyond 16 bits; Insert21
  /// has no such limit. Label "Mercato.Property.Insert".
  std::int16_t Insert20(const Array& iFields, const Array& iValues);

  /// Insert20 of a property that is not external and has no default.
  std::int16_t Insert(std::string& iPropertyName, std::int16_t& iDataType);

  /// Changes these fields of a property; true. A field that is exactly "PROPERTYID" is skipped. One that is exactly
  /// "DATATYPE" deletes the property's enum rows unless its value is ENUMPROPERTYTYPE. Raises ePropertyNotFound, source
  /// "Mercato.Property.Update", for an unknown id. A failure at the enum rows is logged under
  /// "Mercato.Property.DeleteEnums" first.
  bool Update20(std::int32_t iPropertyId, const Array& iFields, const Array& iValues);

  /// Update20 of name and data type. The result holds a Boolean.
  Variant Update(std::int32_t& iPropertyId, std::string& iPropertyName, std::int16_t& iDataType);

  // Reading

  /// The properties as a paged list, a DRecordset that stands on the page's position: all, or those with the ids in the
  /// array. The ids are joined with blanks: one id works, and callers with several put commas into the elements. The
  /// page may be nothing; then the persisted state tells the position, "" the first page. An empty order leaves the
  /// list in the order that its state has.
  ///
  /// Raises 6 for a page size beyond 16 bits, 13 for ids that are no array, 0x80040E14 for ids that are no list, 5 for
  /// sort fields that are no columns and for a state that no DRecordset wrote. Casts no vote, a failure neither.
  ComponentPtr GetPropertyData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                               std::int32_t i_iPageSize, const Variant& i_alPropertyIDs = kMissing,
                               const std::string& i_sSortTableFieldNames = "");

  /// The data type of a property, one of Datatype as a rule. Raises ePropertyNotFound, source
  /// "Mercato.Property.getPropertyType", for an unknown id, 94 for a property without a data type.
  std::int16_t getDataType(std::int32_t i_lPropertyID);

  /// The name of a property. Raises ePropertyNotFound, source "Mercato.Property.GetPropertyName", for an unknown id.
  std::string GetPropertyName(std::int32_t i_lPropertyID);

  /// The id of a property with this name, 0 without one. Names need not be unique.
  std::int32_t GetPropertyIDFromName(const std::string& i_sPropertyName);

  /// The values among which an enumerated property chooses: SEQUENCEID as text to VALUE as text, in the store's order.
  /// Empty for a property without enum rows, and for an unknown one.
  DictionaryPtr getPropertyEnums(std::int32_t iPropertyId);

  /// Creates a property and returns its id.
  std::int32_t Insert21(std::string& iPropertyName, std::int16_t& iDataType, std::string& iDefaultValue,
                        bool& iExternal);

  // The reference checker's questions

  /// True at every call. Asks nobody.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// Whether the property exists whose id is the value of the first field PROPERTYID, in any case. The value goes into
  /// the statement as it stands. False when that field is not among the fields. The first argument is not read. Label
  /// "Mercato.Property.Exists".
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  void DeleteEnums(std::int32_t iPropertyId);
};

}  // namespace mercato
