// SPDX-License-Identifier: Apache-2.0
// Favourites of users, and the buyers of products.
#include "product/product_favorites.h"

#include <algorithm>

#include "frame/contracts.h"
#include "frame/query_rows.h"
#include "product/product_internal.h"
#include "records/product_row.h"

namespace mercato {

using product::kAllFavoriteTypes;
using product::kAllFolders;
using product::kTopLevelFolder;

namespace {

bool exists(const RecordsetPtr& favorite) {
  if (favorite->Eof()) return false;
  const Variant& present = favorite->Value("PRESENT");
  return !present.is_null() && present.to_long() > 0;
}

bool equals(const Variant& flag, std::int32_t number) { return !flag.is_null() && flag.to_long() == number; }

// The end of a statement about favourites. The user's id stands in it as it is given. -1 stands for all types, and for
// all folders.
Sql from_favorites(std::string_view user_id, std::int32_t product_id, std::int32_t favorite_type,
                   std::int32_t folder_id) {
  Sql sql = Sql(" FROM FAVORITES WHERE USERID='") << value(user_id) << "' AND PRODUCTID=" << product_id;
  if (favorite_type != kAllFavoriteTypes)
    favorite_type == WarehouseFavorite ? sql << " AND WAREHOUSEFAVORITE = 1" : sql << " AND WAREHOUSEFAVORITE = 0";
  if (folder_id != kAllFolders) sql << " AND FOLDERID = " << folder_id;
  return sql;
}

// The reason stands in the source, where callers look for it; there is no description.
[[noreturn]] void raise_invalid_reference(std::string reason) { raise(kInvalidReference, std::move(reason), {}); }

}  // namespace

void Product::CreateFavorite(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType) {
  CreateFavoriteEx(i_sUserID, i_lProductID, i_lFavoriteType, kTopLevelFolder);
}

void Product::DeleteFavorite(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType) {
  DeleteFavoriteEx(i_sUserID, i_lProductID, i_lFavoriteType, kAllFolders);
}

void Product::CreateFavoriteEx(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType,
                               std::int32_t i_lFolderID) {
  Opened opened;
  method(
      [&]() -> Answer<bool> {
        const bool warehouse = i_lFavoriteType == WarehouseFavorite;
        const std::int32_t folder = std::max(i_lFolderID, kTopLevelFolder);
        Sql sql = Sql("SELECT * FROM FAVORITES WHERE USERID='")
                  << value(i_sUserID) << "' AND PRODUCTID=" << i_lProductID;
        warehouse ? sql << " AND WAREHOUSEFAVORITE=1" : sql << " AND WAREHOUSEFAVORITE=0";
        sql << " AND FOLDERID= " << folder;
        opened.connection = GetConnection();
        opened.rows = open_updatable(sql, opened.connection, CursorType::keyset);
        // There is nothing to do, yet the vote is abort.
        if (exists(opened.rows)) return refused;
        opened.rows->AddNew();
        opened.rows->SetValue("USERID", i_sUserID);
        opened.rows->SetValue("PRODUCTID", i_lProductID);
        opened.rows->SetValue("PRESENT", 1);
        opened.rows->SetValue("WAREHOUSEFAVORITE", warehouse ? 1 : 0);
        opened.rows->SetValue("FOLDERID", folder);
        opened.rows->Update();
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Product.CreateFavoriteEx", closing_and_aborting(opened)});
}

void Product::DeleteFavoriteEx(const std::string& i_sUserID, std::int32_t i_lProductID, std::int32_t i_lFavoriteType,
                               std::int32_t i_lFolderID) {
  execute_and_vote("Mercato.Product.DeleteFavoriteEx", GetConnection, [&] {
    return Sql("DELETE") << from_favorites(i_sUserID, i_lProductID, i_lFavoriteType, i_lFolderID);
  });
}

std::vector<DictionaryPtr> product::favorites_of(const std::string& connection_string, const std::string& user_id) {
  const Sql sql =
      Sql("SELECT FAVORITES.PRODUCTID, PRODUCT.PARTNUMBER, PRODUCT.PRODUCTDESCRIPTION, FAVORITES.WAREHOUSEFAVORITE, "
          "FAVORITES.FOLDERID, FAVORITEFOLDERS.FOLDERNAME FROM FAVORITES LEFT JOIN PRODUCT ON FAVORITES.PRODUCTID = "
          "PRODUCT.PRODUCTID LEFT JOIN FAVORITEFOLDERS ON FAVORITES.FOLDERID = FAVORITEFOLDERS.FOLDERID WHERE "
          "FAVORITES.PRESENT > 0 AND FAVORITES.USERID = N'")
      << value(Gen_QuoteSql(user_id)) << "' ORDER BY FAVORITES.FOLDERID, FAVORITES.PRODUCTID";
  return query_rows(connection_string, sql);
}

std::int32_t product::count_favorites(const std::string& connection_string, const std::string& user_id,
                                      std::int32_t product_id, std::int32_t favorite_type, std::int32_t folder_id) {
  const Sql sql = Sql("SELECT COUNT(*) AS FAVORITES")
                  << from_favorites(Gen_QuoteSql(user_id), product_id, favorite_type, folder_id) << " AND PRESENT > 0";
  return query_rows(connection_string, sql).at(0)->Item("FAVORITES").to_long();
}

std::int32_t product::count_favorites_in_folder(const std::string& connection_string, std::int32_t folder_id) {
  const Sql sql = Sql("SELECT COUNT(*) AS FAVORITES FROM FAVORITES WHERE FOLDERID = ") << folder_id;
  return query_rows(connection_string, sql).at(0)->Item("FAVORITES").to_long();
}

// No abort vote in the tail.
bool Product::InsertMultipleBuyers(const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows =
            open_updatable(LiteralPiece("SELECT * FROM PRODUCTBUYER WHERE 0=1"), opened.connection, CursorType::keyset);
        opened.rows->AddNew();
        for (std::int32_t index = iFields.lower; index <= iFields.upper(); ++index) {
          const std::string field = iFields.at(index).to_text();
          Variant value = iValues.at(index);
          if (field == "PRODUCTID" && value.is_numeric() && value.to_double() < 0) value = kNull;
          if (field == "USERID") EmptyToNull(value);
          opened.rows->SetValue(field, value);
        }

        const Variant& product_id = opened.rows->Value("PRODUCTID");
        grundwerk::ReferentialChecker checker;
        if (!checker.CheckReferences("PRODUCTBUYER", Array{"PRODUCTID", "USERID"},
                                     Array{product_id, opened.rows->Value("USERID")}))
          raise_invalid_reference(
              "The productbuyer record you are trying to insert has an invalid reference to another record");

        // Null makes no literal here, and the store refuses the statement.
        const Sql sql = Sql("SELECT * FROM PRODUCT WHERE PRODUCTID=") << value(product_id.text_or_empty());
        const RecordsetPtr product = open_updatable(sql, opened.connection, CursorType::fixed);
        if (!product->Value("MULTIPLEBUYER").to_boolean())
          raise_invalid_reference("This productid doesn't have multiple buyer defined in product table");
        opened.rows->Update();
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Product.InsertMultipleBuyers", closing(opened)});
}

std::string Product::GetBuyerFromCommodity(const std::string& iCommodity) {
  return read_and_vote(
      "Mercato.Product.getbuyerfromcommodity", CursorType::forward_only, GetReadConnection,
      [&] {
        return Sql("SELECT USERID FROM COMMODITY WHERE COMMODITYCODE = '") << value(Gen_QuoteSql(iCommodity)) << "'";
      },
      [](const RecordsetPtr& row) { return row->Value("USERID").text_or_empty(); });
}

std::string Product::GetDefaultProductBuyer(std::int32_t iProductID) {
  Opened of_product;
  Opened of_commodity;
  return method(
      [&] {
        of_product.connection = GetReadConnection();
        of_commodity.connection = GetReadConnection();
        const Sql product_sql = Sql("SELECT USERID, COMMODITYCODE, BUSINESSPARTNERID FROM PRODUCT WHERE PRODUCTID=")
                                << iProductID;
        of_product.rows = open_read_only(product_sql, of_product.connection);
        const RecordsetPtr& product = of_product.rows;
        if (product->Eof()) raise(eProductNotFound, "Mercato.Product.GetProduct", "Product not present");

        std::string buyer = product->Value("USERID").text_or_empty();
        const Variant& commodity = product->Value("COMMODITYCODE");
        if (product->Value("USERID").is_null() && !commodity.is_null()) {
          const Sql commodity_sql = Sql("SELECT USERID FROM COMMODITY WHERE COMMODITYCODE='")
                                    << value(Gen_QuoteSql(commodity.to_text())) << "'";
          of_commodity.rows = open_read_only(commodity_sql, of_commodity.connection);
          buyer = of_commodity.rows->Value("USERID").text_or_empty();
        }
        const Variant& supplier = product->Value("BUSINESSPARTNERID");
        if (buyer.empty() && !supplier.is_null()) {
          zentrik::BusinessPartner partner;
          buyer = partner.GetPartnerDefaultBuyer(supplier);
        }
        of_product.close();
        of_commodity.close();
        Mts_SetComplete();
        return buyer;
      },
      Tail{"Mercato.Product.GetDefaultProductBuyer", closing_and_aborting(of_product, of_commodity)});
}

DictionaryPtr Product::GetBuyersForProducts(const Array& i_aProductList) {
  Opened opened;
  RecordsetPtr buyers = Recordset::create();
  return method(
      [&] {
        Sql sql(
            "SELECT PRODUCTID,USERID,MULTIPLEBUYER FROM PRODUCT"
            " WHERE PRODUCTID IN (");
        bool first = true;
        for (const Variant& id : i_aProductList.items) {
          if (!first) sql << ",";
          sql << value(id.text_or_empty());
          first = false;
        }
        sql << ")";
        auto buyer_of = std::make_shared<Dictionary>();
        opened.connection = GetReadConnection();
        opened.rows = open_read_only(sql, opened.connection, CursorType::forward_only);
        while (!opened.rows->Eof()) {
          const Variant& multiple_buyer = opened.rows->Value("MULTIPLEBUYER");
          const Variant& product_id = opened.rows->Value("PRODUCTID");
          if (equals(multiple_buyer, 0)) {
            buyer_of->Add(product_id, opened.rows->Value("USERID").text_or_empty());
            opened.rows->MoveNext();
          } else if (equals(multiple_buyer, 1)) {
            // There is no MoveNext: the same product comes again, and finds `buyers` still open.
            const Sql list = Sql("SELECT PRODUCTID,USERID FROM PRODUCTBUYER WHERE PRODUCTID = ")
                             << value(product_id.to_text());
            buyers->Open(list, opened.connection, CursorType::forward_only, LockType::read_only, -1);
            for (; !buyers->Eof(); buyers->MoveNext()) buyer_of->Add(product_id, buyers->Value("USERID"));
          }
          // With any other value the same row is read again and again, until the call limit ends the call.
        }
        opened.close();
        Mts_SetComplete();
        return buyer_of;
      },
      Tail{"Mercato.Product.getBuyersForProducts", closing_and_aborting(buyers, opened)});
}

}  // namespace mercato
