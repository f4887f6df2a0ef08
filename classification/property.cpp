// SPDX-License-Identifier: Apache-2.0
#include "mercato/property.h"

#include "classification/code_table.h"
#include "frame/contracts.h"
#include "frame/paged_read.h"
#include "frame/util.h"
#include "frame/voted_method.h"
#include "values/text.h"

namespace mercato {

const ClassTable& Property::table() {
  static const ClassTable table =
      ClassTable::of<Property>("Mercato.Property", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A106}",
                               TransactionAttribute::required)
          .method("Delete", &Property::Delete, {"iPropertyId"})
          .method("DeleteUserProperties", &Property::DeleteUserProperties, {"iUserID"})
          .deprecated("nothing")
          .method("DeleteOfficeProperties", &Property::DeleteOfficeProperties, {"iOfficeDescription"})
          .deprecated("nothing")
          .method("Insert20", &Property::Insert20, {"iFields", "iValues"})
          .method("Insert", &Property::Insert, {"iPropertyName", "iDataType"})
          .method("Update20", &Property::Update20, {"iPropertyId", "iFields", "iValues"})
          .method("Update", &Property::Update, {"iPropertyId", "iPropertyName", "iDataType"})
          .method("GetPropertyData", &Property::GetPropertyData,
                  {"i_oPage", "i_sPersistedStateInfo", "i_iPageSize", optional("i_alPropertyIDs"),
                   optional("i_sSortTableFieldNames", "")})
          .takes("i_oPage", "Page")
          .returns("DRecordset")
          .takes("i_alPropertyIDs", "array")
          .method("getDataType", &Property::getDataType, {"i_lPropertyID"})
          .method("GetPropertyName", &Property::GetPropertyName, {"i_lPropertyID"})
          .method("GetPropertyIDFromName", &Property::GetPropertyIDFromName, {"i_sPropertyName"})
          .method("getPropertyEnums", &Property::getPropertyEnums, {"iPropertyId"})
          .method("Insert21", &Property::Insert21, {"iPropertyName", "iDataType", "iDefaultValue", "iExternal"})
          .implements_referential_integrity(&Property::IReferentialIntegrity_BeforeDelete,
                                            &Property::IReferentialIntegrity_Exists);
  return table;
}

namespace {

constexpr std::string_view kKeyField = "PROPERTYID";

ConnectionPtr GetConnection() { return open_connection(shared_connection_string(), Isolation::read_committed); }

// Delete raises this, too, under the name of Update.
[[noreturn]] void raise_not_present() { raise(ePropertyNotFound, "Mercato.Property.Update", "Property not present"); }

// Reads one column of a property's row, and returns what `convert` makes of it.
template <class Convert>
auto column_of(std::int32_t id, LiteralPiece statement, std::string_view label, std::string_view source,
               Convert convert) {
  return read_and_vote(
      label, CursorType::fixed, GetConnection, [&] { return Sql(statement) << id; },
      [&](const RecordsetPtr& rows) {
        if (rows->Eof())
          raise(ePropertyNotFound, std::string(source), "Property " + std::to_string(id) + " not present");
        return convert(rows->Value(std::size_t{0}));
      });
}

}  // namespace

// Writing

bool Property::Delete(std::int32_t& iPropertyId) {
  grundwerk::ReferentialChecker checker;
  ConnectionPtr connection;
  return method(
      [&]() -> Answer<bool> {
        if (!checker.CheckBeforeDelete("PROPERTY", Array{kKeyField}, Array{iPropertyId})) return refused;
        const auto remove = [&](LiteralPiece statement) {
          connection = GetConnection();
          return execute_and_close(connection, Sql(statement) << iPropertyId);
        };
        remove("DELETE FROM propertyenum WHERE propertyid = ");
        remove("DELETE FROM propsbypropgroup WHERE propertyid = ");
        if (classification::short_count(remove("DELETE FROM property WHERE propertyid = ")) == 0) raise_not_present();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Property.Delete", closing_and_aborting(checker, connection)});
}

void Property::DeleteUserProperties(std::string&) {
  Err_RaiseDeprecated("Mercato.Property.DeleteUserProperties", "DeleteUserProperties is deprecated - don't use");
}

void Property::DeleteOfficeProperties(std::string&) {
  Err_RaiseDeprecated("Mercato.Property.DeleteOfficeProperties", "DeleteOfficeProperties is deprecated - don't use");
}

std::int16_t Property::Insert20(const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows =
            open_updatable(LiteralPiece("SELECT * FROM PROPERTY WHERE 0=1"), opened.connection, CursorType::keyset);
        opened.rows->AddNew();
        for (std::int32_t index = iFields.lower; index <= iFields.upper(); ++index) {
          const std::int16_t narrow = Variant(index).to_short();  // raises 6 for an index beyond 16 bits
          opened.rows->SetValue(iFields.at(narrow).to_text(), iValues.at(narrow));
        }
        opened.rows->Update();
        // An id beyond 16 bits raises 6 here; the abort vote takes the row back.
        const std::int16_t id = opened.rows->Value(kKeyField).to_short();
        opened.close();
        Mts_SetComplete();
        return id;
      },
      Tail{"Mercato.Property.Insert", closing_and_aborting(opened)});
}

std::int16_t Property::Insert(std::string& iPropertyName, std::int16_t& iDataType) {
  return Insert20(Array{"PROPERTYNAME", "DATATYPE", "EXTERNAL"}, Array{iPropertyName, iDataType, false});
}

std::int32_t Property::Insert21(std::string& iPropertyName, std::int16_t& iDataType, std::string& iDefaultValue,
                                bool& iExternal) {
  return method(
      [&] {
        // The connection goes away with the recordset.
        const RecordsetPtr row =
            open_updatable(LiteralPiece("SELECT * FROM PROPERTY WHERE 0=1"), GetConnection(), CursorType::keyset);
        row->AddNew();
        row->SetValue("PROPERTYNAME", iPropertyName);
        row->SetValue("DATATYPE", iDataType);
        row->SetValue("DEFAULTVALUE", iDefaultValue);
        row->SetValue("EXTERNAL", iExternal);
        row->Update();
        const std::int32_t id = row->Value(kKeyField).to_long();
        Mts_SetComplete();
        return id;
      },
      Tail{"Mercato.Property.Insert21", Mts_SetAbort});
}

bool Property::Update20(std::int32_t iPropertyId, const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = open_updatable(Sql("SELECT * FROM PROPERTY WHERE PROPERTYID=") << iPropertyId, opened.connection,
                                     CursorType::fixed);
        if (opened.rows->Eof()) raise_not_present();
        for (std::int32_t index = iFields.lower; index <= iFields.upper(); ++index) {
          const std::string field = iFields.at(index).to_text();
          if (field == kKeyField) continue;
          const Variant& given = iValues.at(index);
          opened.rows->SetValue(field, given);
          // A name in another case reaches its column, too, but the enum rows stay.
          if (field == "DATATYPE" && given.to_short() != ENUMPROPERTYTYPE) DeleteEnums(iPropertyId);
        }
        opened.rows->Update();
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Property.Update", closing_and_aborting(opened)});
}

Variant Property::Update(std::int32_t& iPropertyId, std::string& iPropertyName, std::int16_t& iDataType) {
  return Update20(iPropertyId, Array{"PROPERTYNAME", "DATATYPE"}, Array{iPropertyName, iDataType});
}

void Property::DeleteEnums(std::int32_t iPropertyId) {
  ConnectionPtr connection;
  method(
      [&] {
        connection = GetConnection();
        execute_and_close(connection, Sql("DELETE FROM propertyenum WHERE propertyid=") << iPropertyId);
      },
      Tail{"Mercato.Property.DeleteEnums", closing_and_aborting(connection)});
}

// Reading

ComponentPtr Property::GetPropertyData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                       std::int32_t i_iPageSize, const Variant& i_alPropertyIDs,
                                       const std::string& i_sSortTableFieldNames) {
  return method(
      [&] {
        return PagedRead({with_ids(LiteralPiece("SELECT * FROM PROPERTY"), kKeyField, i_alPropertyIDs),
                          std::string(kKeyField), unless_empty(i_sSortTableFieldNames)},
                         {i_oPage, i_sPersistedStateInfo, i_iPageSize}, shared_connection_string);
      },
      Tail{"Mercato.Property.GetPropertyData", no_steps});
}

std::int16_t Property::getDataType(std::int32_t i_lPropertyID) {
  return column_of(i_lPropertyID, "SELECT DATATYPE FROM PROPERTY WHERE PROPERTYID=", "Mercato.Property.getDataType",
                   "Mercato.Property.getPropertyType", [](const Variant& type) { return type.to_short(); });
}

std::string Property::GetPropertyName(std::int32_t i_lPropertyID) {
  return column_of(i_lPropertyID,
                   "SELECT PROPERTYNAME FROM PROPERTY WHERE PROPERTYID=", "Mercato.Property.GetPropertyName",
                   "Mercato.Property.GetPropertyName", [](const Variant& name) { return name.to_text(); });
}

std::int32_t Property::GetPropertyIDFromName(const std::string& i_sPropertyName) {
  return read_and_vote(
      "Mercato.Property.GetPropertyIDFromName", CursorType::fixed, GetConnection,
      [&] {
        return Sql("SELECT PROPERTYID FROM PROPERTY WHERE PROPERTYNAME=")
               << value(GetSqlLiterals().NameToSql(i_sPropertyName));
      },
      [](const RecordsetPtr& rows) { return rows->Eof() ? 0 : rows->Value(kKeyField).to_long(); });
}

DictionaryPtr Property::getPropertyEnums(std::int32_t iPropertyId) {
  return read_and_vote(
      "Mercato.Property.getPropertyEnums", CursorType::fixed, GetConnection,
      [&] { return Sql("SELECT SEQUENCEID, VALUE FROM PROPERTYENUM WHERE PROPERTYID=") << iPropertyId; },
      [](const RecordsetPtr& rows) {
        auto enums = std::make_shared<Dictionary>();
        for (; !rows->Eof(); rows->MoveNext())
          enums->Add(rows->Value("SEQUENCEID").to_text(), rows->Value("VALUE").to_text());
        return enums;
      });
}

// The reference checker's questions

bool Property::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) {
  Mts_SetComplete();
  return true;
}

bool Property::IReferentialIntegrity_Exists(const Variant&, const Array& iFields, const Array& iValues) {
  ConnectionPtr connection;
  return method(
      [&] {
        bool exists = false;
        for (std::int32_t index = iFields.lower; index <= iFields.upper(); ++index) {
          const std::string field = iFields.at(index).to_text();
          if (text::to_upper(field) != kKeyField) continue;
          connection = GetConnection();
          const Sql sql = Sql("SELECT * FROM PROPERTY WHERE ")
                          << name(field) << "=" << value(iValues.at(index).text_or_empty());
          exists = !connection->Execute(sql)->Eof();
          Sql_CloseConnection(connection);
          break;
        }
        Mts_SetComplete();
        return exists;
      },
      Tail{"Mercato.Property.Exists", closing_and_aborting(connection)});
}

}  // namespace mercato
