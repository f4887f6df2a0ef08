// SPDX-License-Identifier: Apache-2.0
// Requisition support: the properties that a requisition line asks for, and the quantities that may be ordered.
#include <array>
#include <string_view>

#include "frame/contracts.h"
#include "frame/lib_general.h"
#include "product/product_internal.h"
#include "values/decimal.h"

namespace mercato {
namespace {

constexpr std::array<std::string_view, 4> kPropertyColumns = {"PROPERTYID", "PROPERTYNAME", "DATATYPE", "VALUE"};

Sql values_of_product(std::int32_t product_id) {
  return Sql("SELECT VALUE, DATATYPE, PROPERTYNAME, MANDATORY, PROPERTY.PROPERTYID "
             "FROM PRODUCT INNER JOIN PROPSBYPROPGROUP ON PRODUCT.PROPERTYGROUPID = PROPSBYPROPGROUP.PROPERTYGROUPID "
             "INNER JOIN PROPERTY ON PROPSBYPROPGROUP.PROPERTYID = PROPERTY.PROPERTYID "
             "INNER JOIN PRODUCTPROPVALUE ON PROPSBYPROPGROUP.PROPERTYID = PRODUCTPROPVALUE.PROPERTYID "
             "WHERE PRODUCT.PRODUCTID = ")
         << product_id << " AND PRODUCTPROPVALUE.PRODUCTID = " << product_id;
}

Sql defaults_of_commodity(const std::string& commodity_code) {
  return Sql("SELECT DEFAULTVALUE, DATATYPE, PROPERTYNAME, MANDATORY, PROPERTY.PROPERTYID "
             "FROM COMMODITY INNER JOIN PROPSBYPROPGROUP ON COMMODITY.PROPERTYGROUPID = "
             "PROPSBYPROPGROUP.PROPERTYGROUPID "
             "INNER JOIN PROPERTY ON PROPSBYPROPGROUP.PROPERTYID = PROPERTY.PROPERTYID "
             "WHERE COMMODITY.COMMODITYCODE = '")
         << value(Gen_QuoteSql(commodity_code)) << "'";
}

Sql defaults_of_group(std::int32_t group) {
  return Sql("SELECT DEFAULTVALUE, DATATYPE, PROPERTYNAME, MANDATORY, PROPERTY.PROPERTYID "
             "FROM PROPSBYPROPGROUP "
             "INNER JOIN PROPERTY ON PROPSBYPROPGROUP.PROPERTYID = PROPERTY.PROPERTYID "
             "WHERE PROPSBYPROPGROUP.PROPERTYGROUPID = ")
         << group;
}

Sql properties_of_products_commodity(std::int32_t product_id) {
  return Sql("SELECT dbo.PROPERTY.PROPERTYID FROM dbo.PRODUCT "
             " INNER JOIN dbo.COMMODITY ON dbo.Product.COMMODITYCODE = dbo.COMMODITY.COMMODITYCODE "
             " INNER JOIN dbo.PROPERTYGROUP ON dbo.COMMODITY.PROPERTYGROUPID = dbo.PropertyGroup.PROPERTYGROUPID "
             " INNER JOIN dbo.PROPSBYPROPGROUP ON dbo.PropertyGroup.PROPERTYGROUPID = "
             "dbo.PROPSBYPROPGROUP.PROPERTYGROUPID "
             " INNER JOIN dbo.PROPERTY ON dbo.PROPSBYPROPGROUP.PROPERTYID = dbo.Property.PROPERTYID "
             " WHERE dbo.PRODUCT.PRODUCTID = ")
         << product_id;
}

Sql properties_of_products_group(std::int32_t product_id) {
  return Sql("SELECT PROPERTY.PROPERTYID FROM PROPERTY "
             " INNER JOIN PROPSBYPROPGROUP ON PROPERTY.PROPERTYID = PROPSBYPROPGROUP.PROPERTYID "
             " INNER JOIN PRODUCT ON PROPSBYPROPGROUP.PROPERTYGROUPID = PRODUCT.PROPERTYGROUPID "
             " WHERE PRODUCT.PRODUCTID = ")
         << product_id;
}

Sql properties_of_commodity(const std::string& commodity_code) {
  return Sql("SELECT PROPERTYNAME "
             "FROM COMMODITY INNER JOIN PROPSBYPROPGROUP ON COMMODITY.PROPERTYGROUPID = "
             "PROPSBYPROPGROUP.PROPERTYGROUPID "
             "INNER JOIN PROPERTY ON PROPSBYPROPGROUP.PROPERTYID = PROPERTY.PROPERTYID "
             "WHERE COMMODITY.COMMODITYCODE = '")
         << value(Gen_QuoteSql(commodity_code)) << "'";
}

Sql properties_of_group(std::int32_t group) {
  return Sql("SELECT PROPERTYID FROM PROPSBYPROPGROUP WHERE PROPERTYGROUPID =") << group;
}

std::int32_t group_of_user(const std::string& user_id) { return zentrik::User().GetUserPropertyGroup(user_id); }

// Adds a line for each property of the rows. Its VALUE is read from the named column, also where that is a default.
enum class KnownProperties { fail, are_skipped };
void add_property_lines(Dictionary& lines, Recordset& rows, std::string_view value_column, KnownProperties known) {
  for (; !rows.Eof(); rows.MoveNext()) {
    const Variant key = rows.Value("PROPERTYID").to_text();
    if (known == KnownProperties::are_skipped && lines.Exists(key)) continue;
    auto line = std::make_shared<Collection>();
    line->Add(rows.Value("PROPERTYNAME"), "PROPERTYNAME");
    line->Add(rows.Value(value_column), "VALUE");
    line->Add(rows.Value("MANDATORY"), "MANDATORY");
    line->Add(rows.Value("DATATYPE"), "DATATYPE");
    lines.Add(key, line);
  }
}

// Whether the statement finds a row, on a connection of its own.
template <class Open>
bool finds_a_row(Opened& opened, Open open, const Sql& sql) {
  opened.connection = open();
  opened.rows = open_read_only(sql, opened.connection);
  const bool found = !opened.rows->Eof();
  opened.close();
  return found;
}

// A Null asks for nothing, as 0 does.
bool asks_for_nothing(const Variant& limit) { return Gen_NullToZero(limit) == 0; }

// The one column that the statement reads of a product, 0 for Null and without a product.
template <class Open>
double limit_of(std::string_view label, Open open, LiteralPiece statement, std::int32_t product_id) {
  return read_and_vote(
      label, CursorType::forward_only, open, [&] { return Sql(statement) << product_id; },
      [](const RecordsetPtr& row) { return row->Eof() ? 0.0 : Gen_NullToZero(row->Value(std::size_t{0})); });
}

bool is_multiple(const Decimal& quantity, const Decimal& multiple) {
  const double times = quotient(quantity, multiple, 0).to_double();
  return Decimal::of(times) * multiple == quantity;
}

}  // namespace

DictionaryPtr Product::GetRequisitionLineProperties(const std::string& iUserID, const std::string& iCommodityCode,
                                                    std::int32_t iProductID) {
  Opened of_product, of_commodity, of_user;
  return method(
      [&] {
        of_product.connection = GetReadConnection();
        of_commodity.connection = GetReadConnection();
        of_user.connection = GetReadConnection();
        auto lines = std::make_shared<Dictionary>();

        // The first that has a property wins.
        of_product.rows = open_read_only(values_of_product(iProductID), of_product.connection);
        add_property_lines(*lines, *of_product.rows, "VALUE", KnownProperties::fail);
        of_commodity.rows = open_read_only(defaults_of_commodity(iCommodityCode), of_commodity.connection);
        add_property_lines(*lines, *of_commodity.rows, "DEFAULTVALUE", KnownProperties::are_skipped);
        of_user.rows = open_read_only(defaults_of_group(group_of_user(iUserID)), of_user.connection);
        add_property_lines(*lines, *of_user.rows, "DEFAULTVALUE", KnownProperties::are_skipped);

        of_product.close();
        of_commodity.close();
        of_user.close();
        Mts_SetComplete();
        return lines;
      },
      Tail{"Mercato.Product.getRequisitionLineProperties", closing_and_aborting(of_product, of_commodity, of_user)});
}

bool Product::RequisitionPropertiesPresent(std::int32_t iProductID, const std::string& iUserID) {
  Opened opened;
  return method(
      [&] {
        // The first statement that finds a row decides; those behind it do not run.
        const bool present = finds_a_row(opened, GetReadConnection, properties_of_products_commodity(iProductID)) ||
                             finds_a_row(opened, GetReadConnection, properties_of_products_group(iProductID)) ||
                             finds_a_row(opened, GetReadConnection, properties_of_group(group_of_user(iUserID)));
        Mts_SetComplete();
        return present;
      },
      Tail{"Mercato.Product.RequisitionPropertiesPresent", closing_and_aborting(opened)});
}

bool Product::RequisitionCommodityPropertiesPresent(const std::string& iCommodityCode, const std::string& iUserID) {
  Opened opened;
  return method(
      [&] {
        // Both statements run, whatever the first one finds.
        const bool of_commodity = finds_a_row(opened, GetReadConnection, properties_of_commodity(iCommodityCode));
        const bool of_user = finds_a_row(opened, GetReadConnection, properties_of_group(group_of_user(iUserID)));
        Mts_SetComplete();
        return of_commodity || of_user;
      },
      Tail{"Mercato.Product.RequisitionCommodityPropertiesPresent", closing_and_aborting(opened)});
}

DictionaryPtr Product::GetProductProperties(std::int32_t iProductID) {
  const Sql sql = Sql("SELECT PROPERTY.PROPERTYID, PROPERTYNAME, DATATYPE, VALUE FROM PROPERTY, PRODUCTPROPVALUE WHERE "
                      "PROPERTY.PROPERTYID = PRODUCTPROPVALUE.PROPERTYID AND PRODUCTPROPVALUE.PRODUCTID=")
                  << iProductID << " ORDER BY PROPERTYNAME";
  return product::numbered_rows("Mercato.Product.GetProductProperties", GetReadConnection, sql, kPropertyColumns);
}

bool Product::CheckLotSize(std::int32_t iProductID, double iQuantity) {
  Decimal quantity;
  return read_and_vote(
      "Mercato.Product.Checklotsize", CursorType::forward_only, GetReadConnection,
      [&] {
        quantity = Decimal::of(iQuantity);
        return Sql("SELECT MINORDERQTY, MULTIPLEOF FROM PRODUCT WHERE PRODUCTID=") << iProductID;
      },
      [&](const RecordsetPtr& row) {
        if (row->Eof()) return false;
        const Variant& multiple = row->Value("MULTIPLEOF");
        if (!asks_for_nothing(multiple) && !is_multiple(quantity, Decimal::of(multiple.to_double()))) return false;
        const Variant& least = row->Value("MINORDERQTY");
        return asks_for_nothing(least) || quantity >= Decimal::of(least.to_double());
      });
}

double Product::getMultipleOf(std::int32_t iProductID) {
  return limit_of("Mercato.Product.getmultipleof", GetReadConnection,
                  "SELECT MULTIPLEOF FROM PRODUCT WHERE PRODUCTID=", iProductID);
}

double Product::getMinOrderQty(std::int32_t iProductID) {
  return limit_of("Mercato.Product.getMinOrderQty", GetReadConnection,
                  "SELECT MINORDERQTY FROM PRODUCT WHERE PRODUCTID=", iProductID);
}

}  // namespace mercato
