// SPDX-License-Identifier: Apache-2.0
#include "mercato/property_group.h"

#include <memory>
#include <optional>

#include "frame/contracts.h"
#include "frame/lib_general.h"
#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "frame/tails.h"
#include "mercato/dictionary.h"

namespace mercato {

const ClassTable& PropertyGroup::table() {
  static const ClassTable table =
      ClassTable::of<PropertyGroup>("Mercato.PropertyGroup", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A107}",
                                    TransactionAttribute::required)
          .method("Delete", &PropertyGroup::Delete, {"iPropertyGroupId"})
          .method("CanDelete", &PropertyGroup::CanDelete, {"iPropertyGroupId"})
          .method("UpdateGroupChange", &PropertyGroup::UpdateGroupChange, {"iPropertyGroupId", "iProductID"})
          .method("GetPropertyGroupData", &PropertyGroup::GetPropertyGroupData,
                  {"i_oPage", "i_sPersistedStateInfo", "i_iPageSize", optional("i_alPropertyGroupIDs"),
                   optional("i_sSortTableFieldNames", "")})
          .takes("i_oPage", "Page")
          .returns("DRecordset")
          .takes("i_alPropertyGroupIDs", "array")
          .deprecated("Mercato.RPropertyGroup.GetPropertyGroupData")
          .method("Insert", &PropertyGroup::Insert, {"iPropertyGroupName"})
          .method("AddPropertyToPropertyGroup", &PropertyGroup::AddPropertyToPropertyGroup,
                  {"iPropertyGroupId", "iPropertyId", "iMandatory"})
          .method("AddPropertyToPropertyGroupEx", &PropertyGroup::AddPropertyToPropertyGroupEx,
                  {"iPropertyGroupId", "iPropertyId", "iMandatory", "iShowInProductSheet"});
  return table;
}

namespace {

ConnectionPtr GetReadConnection() { return open_connection(shared_connection_string(), Isolation::read_committed); }
ConnectionPtr GetWriteConnection() { return open_connection(shared_connection_string()); }

// The alignment of products with their group. Ids of properties stay as they were read. They are narrowed to 16 bits
// only when a value is written or deleted.

constexpr std::int32_t kAllProductsOfTheGroup = -1;

struct GroupProperties {
  explicit GroupProperties(std::int32_t group);  // reads them
  Dictionary defaults;                           // property to the text of its default, for each property of the group
  Dictionary external;                           // property to itself, for each property that no group owns
};

// Product and property of each value; a product without a value has one row, with a Null property. The rows of a
// product stand together. All rows are in memory, so that no connection is held during the walk.
RecordsetPtr read_product_properties(std::int32_t group, std::int32_t product) {
  Sql sql(
      "SELECT dbo.PRODUCT.PRODUCTID, dbo.PRODUCTPROPVALUE.PROPERTYID FROM dbo.PRODUCT LEFT JOIN "
      "dbo.PRODUCTPROPVALUE ON dbo.PRODUCTPROPVALUE.PRODUCTID=dbo.PRODUCT.PRODUCTID ");
  if (product == kAllProductsOfTheGroup)
    sql << "WHERE dbo.PRODUCT.PROPERTYGROUPID = " << group;
  else
    sql << "WHERE dbo.PRODUCT.PRODUCTID = " << product;
  ConnectionPtr connection = GetReadConnection();
  RecordsetPtr rows = connection->Execute(sql);
  rows->SetActiveConnection(nullptr);
  Sql_CloseConnection(connection);
  return rows;
}

GroupProperties::GroupProperties(std::int32_t group) {
  Opened opened;

  const Sql members =
      Sql("SELECT PROPERTY.DEFAULTVALUE, PROPSBYPROPGROUP.PROPERTYID FROM PROPERTY INNER JOIN PROPSBYPROPGROUP ON "
          "PROPERTY.PROPERTYID = PROPSBYPROPGROUP.PROPERTYID WHERE PROPSBYPROPGROUP.PROPERTYGROUPID = ")
      << group;
  opened.connection = GetReadConnection();
  opened.rows = opened.connection->Execute(members);
  for (; !opened.rows->Eof(); opened.rows->MoveNext())
    defaults.Add(opened.rows->Value("PROPERTYID"), opened.rows->Value("DEFAULTVALUE").text_or_empty());
  opened.close();

  opened.connection = GetReadConnection();
  opened.rows = opened.connection->Execute(LiteralPiece("SELECT propertyid FROM property WHERE external=1"));
  for (; !opened.rows->Eof(); opened.rows->MoveNext()) {
    const Variant& property = opened.rows->Value("PROPERTYID");
    external.Add(property, property);
  }
  opened.close();
}

// Each change has a connection of its own.
void change_value(const Sql& sql) {
  ConnectionPtr connection = GetWriteConnection();
  execute_and_close(connection, sql);
}

void delete_value(std::int16_t property, std::int32_t product) {
  change_value(Sql("DELETE FROM PRODUCTPROPVALUE WHERE PROPERTYID = ") << property << " AND PRODUCTID = " << product);
}

void insert_value(std::int16_t property, std::int32_t product, const std::string& text) {
  const Sql sql = Sql("INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (")
                  << property << "," << product << ",'" << value(Gen_QuoteSql(text)) << "')";
  change_value(sql);
}

// Gives the product the properties of the group that it lacks, and takes those that are neither in the group nor
// external.
void settle(std::int32_t product, const Dictionary& held, const GroupProperties& group) {
  held.for_each([&](const Variant& property, const Variant&) {
    if (!group.defaults.Exists(property) && !group.external.Exists(property))
      delete_value(property.to_short(), product);
  });
  group.defaults.for_each([&](const Variant& property, const Variant& given) {
    if (!held.Exists(property)) insert_value(property.to_short(), product, given.text_value());
  });
}

}  // namespace

bool PropertyGroup::UpdateGroupChange(std::int32_t& iPropertyGroupId, std::int32_t& iProductID) {
  return method(
      [&] {
        const RecordsetPtr rows = read_product_properties(iPropertyGroupId, iProductID);
        const GroupProperties group(iPropertyGroupId);
        std::int32_t product = 0;
        auto held = std::make_unique<Dictionary>();
        for (; !rows->Eof(); rows->MoveNext()) {
          const std::int32_t next = rows->Value("PRODUCTID").to_long();
          if (next != product && product != 0) {
            settle(product, *held, group);
            held = std::make_unique<Dictionary>();
          }
          product = next;
          const Variant& property = rows->Value("PROPERTYID");
          if (!property.is_null()) held->Add(property, property);
        }
        if (product != 0) settle(product, *held, group);
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.PropertyGroup.UpdateGroupChange", Mts_SetAbort});
}

bool PropertyGroup::CanDelete(std::int32_t& iPropertyGroupId) {
  grundwerk::ReferentialChecker checker;
  ConnectionPtr connection;
  return method(
      [&] {
        bool is_unused = checker.CheckBeforeDelete("PROPERTYGROUP", Array{"PROPERTYGROUPID"}, Array{iPropertyGroupId});
        if (is_unused) {
          const auto rows_reported = [&](LiteralPiece statement) {
            connection = GetReadConnection();
            return execute_and_close(connection, Sql(statement) << iPropertyGroupId);
          };
          // A store that counts the rows of a query refuses here. Any other one reports 0 or less.
          const std::int64_t products = rows_reported("SELECT PROPERTYGROUPID FROM PRODUCT WHERE PROPERTYGROUPID = ");
          const std::int64_t commodities =
              rows_reported("SELECT PROPERTYGROUPID FROM COMMODITY WHERE PROPERTYGROUPID = ");
          is_unused = products + commodities <= 0;
        }
        Mts_SetComplete();
        return is_unused;
      },
      Tail{"Mercato.PropertyGroup.CanDelete", closing_and_aborting(connection)});
}

bool PropertyGroup::Delete(std::int32_t& iPropertyGroupId) {
  ConnectionPtr connection;
  return method(
      [&] {
        const bool can_delete = CanDelete(iPropertyGroupId);
        if (can_delete) {
          const auto remove = [&](LiteralPiece statement) {
            connection = GetWriteConnection();
            return execute_and_close(connection, Sql(statement) << iPropertyGroupId);
          };
          remove("DELETE FROM propsbypropgroup WHERE propertygroupid = ");
          if (remove("DELETE FROM propertygroup WHERE propertygroupid = ") == 0)
            raise(ePropertyGroupNotFound, "Mercato.PropertyGroup.Delete", "Property group not present");
        }
        // A refused delete votes commit as well.
        Mts_SetComplete();
        return can_delete;
      },
      Tail{"Mercato.PropertyGroup.Delete", closing_and_aborting(connection)});
}

ComponentPtr PropertyGroup::GetPropertyGroupData(const ComponentPtr&, const std::string&, std::int16_t, const Variant&,
                                                 const std::string&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.RPropertyGroup.GetPropertyGroupData");
}

// Where rows are added, the connection goes away with the recordset.

std::int32_t PropertyGroup::Insert(std::string& iPropertyGroupName) {
  return method(
      [&] {
        const RecordsetPtr row = open_updatable(LiteralPiece("SELECT * FROM PROPERTYGROUP WHERE 0=1"),
                                                GetWriteConnection(), CursorType::keyset);
        row->AddNew();
        row->SetValue("PROPERTYGROUPNAME", iPropertyGroupName);
        row->Update();
        const std::int32_t id = row->Value("PROPERTYGROUPID").to_long();
        Mts_SetComplete();
        return id;
      },
      Tail{"Mercato.PropertyGroup.Insert", Mts_SetAbort});
}

namespace {

void add_membership(std::string_view label, std::int32_t group, std::int32_t property, bool mandatory,
                    std::optional<bool> show_in_product_sheet) {
  method(
      [&] {
        const RecordsetPtr row = open_updatable(LiteralPiece("SELECT * FROM PROPSBYPROPGROUP WHERE 0=1"),
                                                GetWriteConnection(), CursorType::dynamic);
        row->AddNew();
        row->SetValue("PROPERTYGROUPID", group);
        row->SetValue("PROPERTYID", property);
        row->SetValue("MANDATORY", mandatory);
        if (show_in_product_sheet) row->SetValue("SHOWINPRODUCTSHEET", *show_in_product_sheet);
        row->Update();
        Mts_SetComplete();
      },
      Tail{label, Mts_SetAbort});
}

}  // namespace

void PropertyGroup::AddPropertyToPropertyGroup(std::int32_t& iPropertyGroupId, std::int32_t& iPropertyId,
                                               bool& iMandatory) {
  add_membership("Mercato.PropertyGroup.AddPropertyToPropertyGroup", iPropertyGroupId, iPropertyId, iMandatory,
                 std::nullopt);
}

void PropertyGroup::AddPropertyToPropertyGroupEx(std::int32_t& iPropertyGroupId, std::int32_t& iPropertyId,
                                                 bool& iMandatory, bool& iShowInProductSheet) {
  add_membership("Mercato.PropertyGroup.AddPropertyToPropertyGroupEx", iPropertyGroupId, iPropertyId, iMandatory,
                 iShowInProductSheet);
}

}  // namespace mercato
