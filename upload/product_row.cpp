// The row of PRODUCT and the buyer rows beside it. What becomes of each field is told in frame/product_row.cpp.
#include "frame/clock.h"
#include "frame/types/text.h"
#include "upload/product_xml_internal.h"

namespace mercato {
namespace {

// The id of a quiet stop, which nobody here looks at.
constexpr std::int32_t kNotInserted = -1;
// The setting is kept upper-cased, so it never equals this and the category links are never brought in step.
constexpr std::string_view kUnspscLinksWanted = "Yes";

}  // namespace

void ProductXML::insertProductValues(Dictionary& standard, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        standard.Add("BUYFROMPARTNUMBER", iBuyFromPartNr);
        if (!mProduct) mProduct = Gen_GetComponent("Mercato.Product");
        Insert20(standard.Keys(), standard.Items());
      },
      Tail{"Mercato.ProductXML.insertProductValues", no_steps});
}

// A part number without a product writes nothing here, and fails later, when its properties want the id.
void ProductXML::updateProductValues(const Dictionary& standard, const std::string& iBuyFromPartNr) {
  ConnectionPtr connection;
  RecordsetPtr rows;
  const auto close = [&] {
    Sql_CloseRecordset(rows);
    Sql_CloseConnection(connection);
  };
  return method(
      [&] {
        if (standard.Count() == 0) return;
        if (!mProduct) mProduct = Gen_GetComponent("Mercato.Product");
        connection = GetConnection();
        Sql sql;
        sql << "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER ='" << value(Gen_QuoteSql(iBuyFromPartNr)) << "'";
        rows = connection->Execute(sql);
        if (rows->Eof()) return close();
        const std::int32_t product_id = rows->Value("PRODUCTID").to_long();
        close();
        Update20(product_id, standard.Keys(), standard.Items());
      },
      Tail{"Mercato.ProductXML.updateProductValues", close});
}

// Unlike the product's own insert: no reference check, no vote, and the buyer rows are written here.
std::int32_t ProductXML::Insert20(const Array& iFields, const Array& iValues) {
  ConnectionPtr connection;
  RecordsetPtr row;
  const auto close = [&] {
    Sql_CloseRecordset(row);
    Sql_CloseConnection(connection);
  };
  return method(
      [&]() -> Answer<std::int32_t> {
        connection = GetConnection();
        row = upload::open_for_adding("SELECT * FROM PRODUCT WHERE 0=1", connection);
        row->AddNew();
        const auto written =
            write_product_fields(ProductWritePolicy::upload_insert, *row, iFields, iValues, buyer_separator_);
        if (!written) return refused;
        row->SetValue("DATEUPDATED", clock::now());
        row->Update();
        const std::int32_t product_id = row->Value("PRODUCTID").to_long();
        if (!written->buyers.empty()) InsertUpdateMultipleBuyer(product_id, written->buyers);
        create_group_values(*row, *written, product_id);
        close();
        update_unspsc_links();
        return product_id;
      },
      Tail{"Mercato.ProductXML.Insert20", close, kNotInserted});
}

// Unlike the product's own update: no reference check, no vote, and the buyer rows are replaced after the row is saved,
// also by none when the record names no buyer.
bool ProductXML::Update20(std::int32_t iProductID, const Array& iFields, const Array& iValues) {
  ConnectionPtr connection;
  RecordsetPtr row;
  const auto close = [&] {
    Sql_CloseRecordset(row);
    Sql_CloseConnection(connection);
  };
  return method(
      [&] {
        connection = GetConnection();
        Sql sql;
        sql << "SELECT * FROM PRODUCT WHERE PRODUCTID=" << iProductID;
        row = upload::open_for_changing(sql, connection);
        if (row->Eof()) raise(eProductNotFound, "Mercato.Product.Update", "Product not present");
        const Variant old_group = row->Value("PROPERTYGROUPID");
        const auto written =
            write_product_fields(ProductWritePolicy::upload_update, *row, iFields, iValues, buyer_separator_);
        row->SetValue("DATEUPDATED", clock::now());
        row->Update();
        InsertUpdateMultipleBuyer(iProductID, written->buyers);
        follow_group_change(*row, *written, old_group.is_null() ? 0 : old_group.to_long(), iProductID, *connection);
        update_unspsc_links();
        close();
        return true;
      },
      Tail{"Mercato.ProductXML.Update20", close});
}

void ProductXML::update_unspsc_links() {
  read_unspsc_setting();
  // Not reached. The function that would be called is part of a module of the classification that is not there yet.
  if (unspsc_links_wanted())
    raise(error_number::kNoSuchMethod, {}, "UpdateProductCategoryLinksForUNSPSCCode is missing");
}

bool ProductXML::unspsc_links_wanted() const { return mUNSPSCImplemented == Variant(kUnspscLinksWanted); }

bool ProductXML::InsertUpdateMultipleBuyer(const Variant& i_lProductID, const Variant& sUserid) {
  ConnectionPtr connection;
  RecordsetPtr rows;
  const auto close = [&] {
    Sql_CloseRecordset(rows);
    Sql_CloseConnection(connection);
  };
  return method(
      [&] {
        const std::string product_id = i_lProductID.to_text();
        connection = GetConnection();
        Sql product;
        product << "SELECT * FROM PRODUCT WHERE PRODUCTID=" << value(product_id);
        rows = upload::open_for_changing(product, connection);
        if (rows->Eof()) raise(eProductNotFound, "Mercato.ProductXML.InsertUpdateMultipleBuyer", "Product not present");

        const bool multiple_buyer = rows->Value("MULTIPLEBUYER").to_boolean();
        Sql deletion;
        deletion << "DELETE FROM productbuyer WHERE PRODUCTID=" << value(product_id);
        connection->Execute(deletion);
        if (multiple_buyer) {
          rows->Close();
          rows = upload::open_for_adding("SELECT * FROM PRODUCTBUYER WHERE 0=1", connection);
          const std::string& separator = buyer_separator_.or_default();
          if (!sUserid.is_null()) {
            for (std::string& buyer : text::split(sUserid.to_text(), separator)) {
              if (buyer.empty()) continue;
              rows->AddNew();
              rows->SetValue("PRODUCTID", i_lProductID);
              rows->SetValue("USERID", std::move(buyer));
              rows->Update();
            }
          }
        }
        close();
        return true;
      },
      Tail{"Mercato.ProductXML.InsertUpdateMultipleBuyer", close});
}

}  // namespace mercato
