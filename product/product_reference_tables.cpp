// SPDX-License-Identifier: Apache-2.0
// What hangs on the product master: commodities, manufacturers, tax codes. Lists that can be long are read in pages.
#include "frame/contracts.h"
#include "frame/lib_general.h"
#include "frame/paged_read.h"
#include "product/product_internal.h"

namespace mercato {

namespace {

constexpr std::int32_t kDefaultPageSize = 10;

// The statement, restricted to these codes unless they are Missing. The store refuses it for codes without an element.
Sql with_codes(Sql statement, std::string_view column, const Variant& codes) {
  if (codes.is_missing()) return statement;
  Sql condition = Sql() << name(column) << " IN (";
  bool first = true;
  for (const Variant& code : codes.to_array().items) {
    if (!first) condition << ",";
    condition << "'" << value(Gen_QuoteSql(code.text_or_empty())) << "'";
    first = false;
  }
  condition << ")";
  return with_condition(std::move(statement), condition);
}

}  // namespace

ComponentPtr Product::GetProductsAsDRecordSet(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                              std::int32_t i_lPageSize, const std::string& i_sFields,
                                              const std::string& i_sSortFields, const std::string& i_sKeyFields,
                                              const std::string& i_sWhereClause) {
  return method(
      [&] {
        Sql sql = Sql("SELECT ") << clause(i_sFields) << " FROM PRODUCT";
        if (!i_sWhereClause.empty()) sql << " WHERE " << clause(i_sWhereClause);
        ComponentPtr products =
            PagedRead({sql, i_sKeyFields, unless_empty(i_sSortFields)},
                      {i_oPage, i_sPersistedStateInfo, i_lPageSize == 0 ? kDefaultPageSize : i_lPageSize},
                      shared_connection_string_of_application);
        Mts_SetComplete();
        return products;
      },
      Tail{"Mercato.Product.GetProductsAsDRecordSet", Mts_SetAbort});
}

ComponentPtr Product::GetCommodityData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                       std::int32_t i_iPageSize, const Variant& i_asCommodityCodes,
                                       const std::string& i_sSortTableFieldNames) {
  return method(
      [&] {
        const Sql sql = with_codes(LiteralPiece("SELECT * FROM COMMODITY"), "COMMODITYCODE", i_asCommodityCodes);
        return PagedRead({sql, "COMMODITYCODE", unless_empty(i_sSortTableFieldNames)},
                         {i_oPage, i_sPersistedStateInfo, i_iPageSize}, shared_connection_string_of_application);
      },
      Tail{"Mercato.Product.GetCommodityData", no_steps});
}

ComponentPtr Product::GetManufacturerData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                          std::int32_t i_iPageSize, const Variant& i_alManufacturerIDs,
                                          const std::string& i_sSortTableFieldNames) {
  return method(
      [&] {
        const Sql sql = with_codes(LiteralPiece("SELECT * FROM MANUFACTURER"), "MANUFACTURERID", i_alManufacturerIDs);
        // Unlike in GetCommodityData, an empty order takes the order of the list away.
        return PagedRead({sql, "MANUFACTURERID", i_sSortTableFieldNames}, {i_oPage, i_sPersistedStateInfo, i_iPageSize},
                         shared_connection_string_of_application);
      },
      Tail{"Mercato.Product.GetManufacturerData", no_steps});
}

DictionaryPtr Product::GetAllCommodities() {
  Err_RaiseDeprecated(
      "Function GetAllCommodities() is a 'full table scan' function and is not supported anymore.\r\n"
      "Use new function GetCommodityData() that supports paging (=based on DRecordset component).");
}

DictionaryPtr Product::GetAllManufacturers() {
  Err_RaiseDeprecated(
      "Function GetAllManufacturers() is a 'full table scan' function and is not supported anymore.\r\n"
      "Use new function GetManufacturerData() that supports paging (=based on DRecordset component).");
}

bool Product::DeleteCommodity(const std::string& iCommodityCode) {
  grundwerk::ReferentialChecker checker;
  ConnectionPtr connection;
  return method(
      [&]() -> Answer<bool> {
        if (!checker.CheckBeforeDelete("COMMODITY", Array{"COMMODITYCODE"}, Array{iCommodityCode})) return refused;
        const Sql sql = Sql("DELETE FROM COMMODITY WHERE COMMODITYCODE = '")
                        << value(Gen_QuoteSql(iCommodityCode)) << "'";
        connection = GetConnection();
        if (execute_and_close(connection, sql) == 0)
          raise(eCommodityNotFound, "Mercato.Commodity.Delete", "Commodity " + iCommodityCode + " not present");
        checker.release();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Product.DeleteCommodity", [&]() -> Variant {
             checker.release();
             Sql_CloseConnection(connection);
             Mts_SetAbort();
             return "Commoditycode: " + iCommodityCode;
           }});
}

void Product::InsertManufacturer(const std::string& iManufacturerCode, const std::string& iManufacturerName) {
  execute_and_vote("Mercato.Manufacturer.InsertManufacturer", GetConnection, [&] {
    // Both as they stand: a name with a quote is refused.
    return Sql("INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME) VALUES('")
           << value(iManufacturerCode) << "', '" << value(iManufacturerName) << "')";
  });
}

std::string Product::GetChargeType(const std::string& iCommodityCode) {
  return read_and_vote(
      "Mercato.Product.getChargetype", CursorType::forward_only, GetReadConnection,
      [&] {
        return Sql("SELECT CHARGETYPECODE FROM COMMODITY WHERE COMMODITYCODE='")
               << value(Gen_QuoteSql(iCommodityCode)) << "'";
      },
      [](const RecordsetPtr& row) {
        return row->Eof() ? std::string() : row->Value("CHARGETYPECODE").text_or_empty();
      });
}

std::string Product::GetBisItemCode(const std::string& i_lCommodity) {
  const Sql sql = Sql("SELECT BISITEMCODE FROM COMMODITY WHERE COMMODITYCODE = '") << value(i_lCommodity) << "'";
  return read_row_and_vote("Mercato.Product.GetBisItemCode", CursorType::forward_only, GetReadConnection, sql,
                           {eCommodityNotFound, "Mercato.Product.GetBisItemCode", "CommodityCode is Not found"},
                           [](const Recordset& row) { return row.Value("BISITEMCODE").text_or_empty(); });
}

DictionaryPtr Product::GetTaxcodeInformation(const std::string& istrCommodityCode) {
  Opened opened;
  return method(
      [&] {
        const Sql sql =
            Sql("SELECT COMMODITY.TAXCODE, TAXCODES.DESCRIPTION, TAXCODES.LEDGERACCOUNT FROM COMMODITY, TAXCODES "
                "WHERE COMMODITY.TAXCODE = TAXCODES.TAXCODE AND COMMODITY.COMMODITYCODE='")
            << value(Gen_QuoteSql(istrCommodityCode)) << "'";
        opened.connection = GetReadConnection();
        opened.rows = open_read_only(sql, opened.connection);
        DictionaryPtr tax_code = Sql_GetRecordAsDictionary(opened.rows);
        opened.close();
        Mts_SetComplete();
        return tax_code;
      },
      Tail{"Product.GetTaxcodeInformation", [&]() -> Variant {
             std::string info = Err_ConnectionErrors(opened.connection);
             opened.close();
             Mts_SetAbort();
             return info;
           }});
}

DictionaryPtr Product::GetAllTaxCodes() {
  return method(
      [&] {
        DictionaryPtr tax_codes = Sql_GetRecordsAsDictionary(GetConnectionString(),
                                                             LiteralPiece("SELECT TAXCODE, DESCRIPTION FROM TAXCODES"));
        Mts_SetComplete();
        return tax_codes;
      },
      Tail{"Product.GetAllTaxCodes", Mts_SetAbort});
}

Variant Product::getAllServiceProducts() {
  return read_and_close(
      "Mercato.Product.getAllServiceProducts", CursorType::keyset, GetConnection,
      [] { return Sql(LiteralPiece("SELECT PRODUCTID FROM PRODUCT WHERE SERVICEITEM = 1")); },
      [](const RecordsetPtr& rows) -> Variant {
        Array ids;
        for (; !rows->Eof(); rows->MoveNext()) ids.items.push_back(rows->Value("PRODUCTID"));
        if (ids.items.empty()) return kNull;
        return ids;
      });
}

bool Product::IsServiceProduct(std::int32_t iProductID) {
  return read_and_close(
      "Mercato.Product.IsServiceProduct", CursorType::forward_only, GetConnection,
      [&] { return Sql("SELECT SERVICEITEM FROM PRODUCT WHERE PRODUCTID =") << iProductID; },
      [](const RecordsetPtr& row) {
        if (row->Eof() || row->Value("SERVICEITEM").is_null()) return false;
        return row->Value("SERVICEITEM").to_boolean();
      });
}

}  // namespace mercato
