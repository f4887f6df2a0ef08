// SPDX-License-Identifier: Apache-2.0
// One product: its record, chosen fields, and single values.
#include <array>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/lib_general.h"
#include "mercato/collection.h"
#include "product/product_internal.h"

namespace mercato {

using product::IsDefaultLong;
using product::IsDefaultString;

namespace {

struct RecordKey {
  std::string_view key;
  std::string_view column;
};

constexpr std::string_view kUserKey = "USERID";
constexpr std::string_view kChargeTypeKey = "CHARGETYPECODE";  // the one key that is no column

// The record's keys in their order. "MFRPARTNUMBEER" is the only key under which callers find MFRPARTNUMBER.
constexpr std::array<RecordKey, 33> kRecordKeys = {{{"PRODUCTID", "PRODUCTID"},
                                                    {"UNITCODE", "UNITCODE"},
                                                    {"PROPERTYGROUPID", "PROPERTYGROUPID"},
                                                    {"MANUFACTURERID", "MANUFACTURERID"},
                                                    {"PARTNUMBER", "PARTNUMBER"},
                                                    {"PRODUCTDESCRIPTION", "PRODUCTDESCRIPTION"},
                                                    {"CONFIGURABLE", "CONFIGURABLE"},
                                                    {"PRODUCTREMARK", "PRODUCTREMARK"},
                                                    {"IMAGEFILENAME", "IMAGEFILENAME"},
                                                    {"TECHNICALIMAGE", "TECHNICALIMAGE"},
                                                    {"URL", "URL"},
                                                    {"COMMODITYCODE", "COMMODITYCODE"},
                                                    {"CONTRACTCODE", "CONTRACTCODE"},
                                                    {"NUMBER", "NUMBER"},
                                                    {"BUSINESSPARTNERID", "BUSINESSPARTNERID"},
                                                    {"PRODUCTXML", "PRODUCTXML"},
                                                    {"BUYFROMPARTNUMBER", "BUYFROMPARTNUMBER"},
                                                    {"BUYFROMCONTACTEMAIL", "BUYFROMCONTACTEMAIL"},
                                                    {"PRODUCTEFFECTIVITYDATE", "PRODUCTEFFECTIVITYDATE"},
                                                    {"PRODUCTEXPIRYDATE", "PRODUCTEXPIRYDATE"},
                                                    {"DISABLED", "DISABLED"},
                                                    {"BUYFROMCONTACTINFO", "BUYFROMCONTACTINFO"},
                                                    {"MINORDERQTY", "MINORDERQTY"},
                                                    {"MULTIPLEOF", "MULTIPLEOF"},
                                                    {"UNSPSCCODE", "UNSPSCCODE"},
                                                    {kUserKey, "USERID"},
                                                    {kChargeTypeKey, ""},
                                                    {"MULTIPLEBUYER", "MULTIPLEBUYER"},
                                                    {"MFRPARTNUMBEER", "MFRPARTNUMBER"},
                                                    {"LOTSIZE", "LOTSIZE"},
                                                    {"DELIVERYLEADTIME", "DELIVERYLEADTIME"},
                                                    {"CLASSCODE", "CLASSCODE"},
                                                    {"SERVICEITEM", "SERVICEITEM"}}};

const Dictionary& record_keys() {
  static const std::unique_ptr<const Dictionary> keys = [] {
    auto made = std::make_unique<Dictionary>();
    for (const RecordKey& entry : kRecordKeys) made->Add(entry.key, {});
    return made;
  }();
  return *keys;
}

}  // namespace

DictionaryPtr Product::GetProductEx(std::int32_t i_lProductID) {
  ConnectionPtr connection = GetReadConnection();
  const RecordsetPtr row = connection->Execute(Sql("SELECT * FROM PRODUCT WHERE PRODUCTID=") << i_lProductID);
  if (row->Eof()) raise(eProductNotFound, "Mercato.Product.GetProductEx", "Product not present");

  const auto charge_type = [&]() -> Variant {
    const Variant& commodity = row->Value("COMMODITYCODE");
    if (commodity.is_null()) return "";
    ConnectionPtr second = GetReadConnection();
    const Sql charge_sql = Sql("SELECT CHARGETYPECODE FROM COMMODITY WHERE COMMODITYCODE='")
                           << value(Gen_QuoteSql(commodity.to_text())) << "'";
    const RecordsetPtr charge = second->Execute(charge_sql);
    Variant code = charge->Eof() ? Variant("") : charge->Value("CHARGETYPECODE");
    Sql_CloseConnection(second);
    return code;
  };

  std::vector<Variant> items;
  items.reserve(kRecordKeys.size());
  for (const RecordKey& entry : kRecordKeys) {
    if (entry.key == kChargeTypeKey) {
      items.push_back(charge_type());
    } else if (entry.key == kUserKey && row->Value(entry.column).is_null()) {
      // Callers see the default buyer of a commodity whose code is the product's number: "" unless somebody made one.
      items.emplace_back(GetDefaultBuyer(std::to_string(i_lProductID)));
    } else {
      items.push_back(row->Value(entry.column));
    }
  }
  Sql_CloseConnection(connection);
  Mts_SetComplete();
  return record_keys().with_items(std::move(items));
}

CollectionPtr Product::GetProduct(std::int32_t iProductID) {
  return method(
      [&] {
        auto fields = std::make_shared<Collection>();
        GetProductEx(iProductID)->for_each([&](const Variant& key, const Variant& item) {
          fields->Add(item, key.text_value());
        });
        return fields;
      },
      Tail{"Mercato.Product.getProduct", Mts_SetAbort});
}

DictionaryPtr Product::GetProductFields(const Array& i_aProductFieldNames, std::int32_t i_lProductID,
                                        const std::string& i_sGTIN) {
  return read_and_vote(
      "Mercato.Product.getProductFields", CursorType::keyset, GetReadConnection,
      [&] {
        if (IsDefaultLong(i_lProductID) && IsDefaultString(i_sGTIN))
          raise(kObjectErrorBase, "GetProductFields",
                "Both optional arguments cannot be empty - you should pass i_lProductId or i_sGTIN");
        Sql sql("SELECT * FROM PRODUCT WHERE");
        if (!IsDefaultLong(i_lProductID))
          sql << " PRODUCTID = " << i_lProductID;
        else
          sql << " GTIN = '" << value(Gen_QuoteSql(i_sGTIN)) << "'";
        return sql;
      },
      [&](const RecordsetPtr& row) {
        auto fields = std::make_shared<Dictionary>();
        if (row->Eof()) return fields;
        for (const Variant& field_name : i_aProductFieldNames.items) {
          const Variant& column = row->Value(field_name.to_text());
          fields->Add(field_name, column.is_null() ? Variant("") : column);
        }
        return fields;
      });
}

std::string Product::getManufacturerID(std::int32_t iProductID) {
  // The cache is never invalidated: an object that outlives a change of the product answers the old value.
  if (iProductID != ProductCacheID) {
    ProductCache = GetProduct(iProductID);
    ProductCacheID = iProductID;
  }
  if (!ProductCache) raise(error_number::kObjectNotSet);  // id 0 of an object that was not asked before
  return ProductCache->Item(std::string_view("MANUFACTURERID")).text_or_empty();
}

std::string Product::GetProductDescription(std::int32_t i_lProductID) {
  const Sql sql = Sql("SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE PRODUCTID = '") << i_lProductID << "'";
  return read_row_and_vote("Mercato.Product.GetProductDescription", CursorType::dynamic, GetReadConnection, sql,
                           {eProductIdNotFound, "Mercato.Product.GetProductDescription", "Productid Not found"},
                           [](const Recordset& row) { return row.Value("PRODUCTDESCRIPTION").text_or_empty(); });
}

std::string Product::GetGTIN(std::int32_t i_lProductID) {
  const Sql sql = Sql("SELECT GTIN FROM PRODUCT WHERE PRODUCTID =") << i_lProductID;
  return read_row_and_vote("Mercato.Product.getGTIN", CursorType::dynamic, GetReadConnection, sql,
                           {eProductIdNotFound, "Mercato.Product.GetGTIN", "ProductId not Found"},
                           [](const Recordset& row) { return row.Value("GTIN").text_or_empty(); });
}

std::string Product::GetCategoryName(std::int32_t iCategoryID) {
  return read_and_vote(
      "Mercato.Product.GetCategoryName", CursorType::forward_only, GetReadConnection,
      [&] { return Sql("SELECT CATEGORYNAME FROM PRODUCTCATEGORY WHERE CATEGORYID=") << iCategoryID; },
      [](const RecordsetPtr& row) { return row->Eof() ? std::string() : row->Value("CATEGORYNAME").to_text(); });
}

std::string Product::GetDefaultBuyer(const std::string& iCommodityCode) {
  return read_and_vote(
      "Mercato.Product.getDefaultBuyer", CursorType::forward_only, GetReadConnection,
      [&] {
        return Sql("SELECT USERID FROM COMMODITY WHERE COMMODITYCODE='") << value(Gen_QuoteSql(iCommodityCode)) << "'";
      },
      [](const RecordsetPtr& row) { return row->Eof() ? std::string() : row->Value("USERID").to_text(); });
}

std::int32_t Product::GetMaxProductId() {
  ConnectionPtr connection;
  return method(
      [&] {
        connection = GetReadConnection();
        auto row = Recordset::create();
        row->Open(LiteralPiece("SELECT TOP 1 PRODUCTID FROM PRODUCT ORDER BY PRODUCTID DESC"), connection,
                  CursorType::dynamic, LockType::optimistic, -1);
        const std::int32_t id = row->Value("PRODUCTID").to_long();
        Sql_CloseConnection(connection);
        return id;
      },
      Tail{"Mercato.Product.GetMaxProductId", closing(connection)});
}

}  // namespace mercato
