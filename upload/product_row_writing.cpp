// The row of PRODUCT and the buyer rows beside it. What becomes of each field is told in records/product_row.cpp.
#include "records/unspsc_links.h"
#include "upload/product_xml_internal.h"
#include "values/text.h"

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
  Opened opened;
  return method(
      [&] {
        if (standard.Count() == 0) return;
        if (!mProduct) mProduct = Gen_GetComponent("Mercato.Product");
        opened.connection = GetConnection();
        Sql sql;
        sql << "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER ='" << value(Gen_QuoteSql(iBuyFromPartNr)) << "'";
        opened.rows = opened.connection->Execute(sql);
        if (opened.rows->Eof()) return opened.close();
        const std::int32_t product_id = opened.rows->Value("PRODUCTID").to_long();
        opened.close();
        Update20(product_id, standard.Keys(), standard.Items());
      },
      Tail{"Mercato.ProductXML.updateProductValues", [&] { opened.close(); }});
}

// Unlike the product's own insert: no reference check, no vote, and the buyer rows are written here.
std::int32_t ProductXML::Insert20(const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&]() -> Answer<std::int32_t> {
        opened.connection = GetConnection();
        opened.rows = new_product_row(opened.connection);
        const auto written =
            write_product_fields(ProductWritePolicy::upload_insert, *opened.rows, iFields, iValues, buyer_separator_);
        if (!written) return refused;
        stamp_product_row(*opened.rows);
        opened.rows->Update();
        const std::int32_t product_id = opened.rows->Value("PRODUCTID").to_long();
        if (!written->buyers.empty()) InsertUpdateMultipleBuyer(product_id, written->buyers);
        create_group_values(*opened.rows, *written, product_id);
        opened.close();
        update_unspsc_links(product_id, "", written->unspsc_code, true);
        return product_id;
      },
      Tail{"Mercato.ProductXML.Insert20", [&] { opened.close(); }, kNotInserted});
}

// Unlike the product's own update: no reference check, no vote, and the buyer rows are replaced after the row is saved,
// also by none when the record names no buyer.
bool ProductXML::Update20(std::int32_t iProductID, const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = open_product_row(iProductID, opened.connection);
        const FormerProduct former = former_product(*opened.rows);
        const auto written =
            write_product_fields(ProductWritePolicy::upload_update, *opened.rows, iFields, iValues, buyer_separator_);
        stamp_product_row(*opened.rows);
        opened.rows->Update();
        InsertUpdateMultipleBuyer(iProductID, written->buyers);
        follow_group_change(*opened.rows, *written, former.property_group, iProductID, *opened.connection);
        update_unspsc_links(iProductID, former.unspsc_code, written->unspsc_code, false);
        opened.close();
        return true;
      },
      Tail{"Mercato.ProductXML.Update20", [&] { opened.close(); }});
}

// Not reached behind the comparison: it would take the product's id for that of a category.
void ProductXML::update_unspsc_links(std::int32_t product_id, const std::string& old_code, const std::string& new_code,
                                     bool is_new) {
  read_unspsc_setting();
  if (unspsc_links_wanted()) UpdateProductCategoryLinksForUNSPSCCode(product_id, old_code, new_code, is_new);
}

bool ProductXML::unspsc_links_wanted() const { return mUNSPSCImplemented == Variant(kUnspscLinksWanted); }

bool ProductXML::InsertUpdateMultipleBuyer(const Variant& i_lProductID, const Variant& sUserid) {
  Opened opened;
  return method(
      [&] {
        const std::string product_id = i_lProductID.to_text();
        opened.connection = GetConnection();
        Sql product;
        product << "SELECT * FROM PRODUCT WHERE PRODUCTID=" << value(product_id);
        opened.rows = open_updatable(product, opened.connection, CursorType::fixed);
        if (opened.rows->Eof())
          raise(eProductNotFound, "Mercato.ProductXML.InsertUpdateMultipleBuyer", "Product not present");

        const bool multiple_buyer = opened.rows->Value("MULTIPLEBUYER").to_boolean();
        Sql deletion;
        deletion << "DELETE FROM productbuyer WHERE PRODUCTID=" << value(product_id);
        opened.connection->Execute(deletion);
        if (multiple_buyer) {
          opened.rows->Close();
          opened.rows = open_updatable(LiteralPiece("SELECT * FROM PRODUCTBUYER WHERE 0=1"), opened.connection,
                                       CursorType::keyset);
          const std::string& separator = buyer_separator_.or_default();
          if (!sUserid.is_null()) {
            for (std::string& buyer : text::split(sUserid.to_text(), separator)) {
              if (buyer.empty()) continue;
              opened.rows->AddNew();
              opened.rows->SetValue("PRODUCTID", i_lProductID);
              opened.rows->SetValue("USERID", std::move(buyer));
              opened.rows->Update();
            }
          }
        }
        opened.close();
        return true;
      },
      Tail{"Mercato.ProductXML.InsertUpdateMultipleBuyer", [&] { opened.close(); }});
}

}  // namespace mercato
