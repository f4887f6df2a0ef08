// SPDX-License-Identifier: Apache-2.0
// The row of PRODUCT and the buyer rows beside it. What becomes of each field is told in records/product_row.cpp.
#include "frame/lib_general.h"
#include "frame/method.h"
#include "frame/tails.h"
#include "records/unspsc_links.h"
#include "upload/product_writing.h"
#include "values/text.h"

namespace mercato::upload {
namespace {

// Returned after a quiet stop; nobody here looks at it.
constexpr std::int32_t kNotInserted = -1;

void add_buyers(Recordset& rows, const Variant& product_id, std::vector<std::string> buyers) {
  for (std::string& buyer : buyers) {
    if (buyer.empty()) continue;
    rows.AddNew();
    rows.SetValue("PRODUCTID", product_id);
    rows.SetValue("USERID", std::move(buyer));
    rows.Update();
  }
}

}  // namespace

void ProductWriter::insertProductValues(Dictionary& standard, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        standard.Add("BUYFROMPARTNUMBER", iBuyFromPartNr);
        if (!mProduct) mProduct = Gen_GetComponent("Mercato.Product");
        Insert20(standard.Keys(), standard.Items());
      },
      Tail{"Mercato.ProductXML.insertProductValues", no_steps});
}

void ProductWriter::updateProductValues(const Dictionary& standard, const std::string& iBuyFromPartNr) {
  Opened opened;
  return method(
      [&] {
        if (standard.Count() == 0) return;
        if (!mProduct) mProduct = Gen_GetComponent("Mercato.Product");
        opened.connection = GetConnection();
        opened.rows = opened.connection->Execute(Sql("SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER ='")
                                                 << value(Gen_QuoteSql(iBuyFromPartNr)) << "'");
        if (opened.rows->Eof()) return opened.close();
        const std::int32_t product_id = opened.rows->Value("PRODUCTID").to_long();
        opened.close();
        Update20(product_id, standard.Keys(), standard.Items());
      },
      Tail{"Mercato.ProductXML.updateProductValues", closing(opened)});
}

// Unlike the product's own insert: no reference check, no vote, and the buyer rows are written here.
std::int32_t ProductWriter::Insert20(const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&]() -> Answer<std::int32_t> {
        opened.connection = GetConnection();
        opened.rows = new_product_row(opened.connection);
        const auto written =
            write_product_fields(ProductWritePolicy::upload_insert, *opened.rows, iFields, iValues, separator_);
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
      Tail{"Mercato.ProductXML.Insert20", closing(opened), kNotInserted});
}

// Unlike the product's own update: no reference check, no vote, and the buyer rows are replaced after the row is saved,
// also by none when the record names no buyer.
bool ProductWriter::Update20(std::int32_t iProductID, const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = open_product_row(iProductID, opened.connection);
        const FormerProduct former = former_product(*opened.rows);
        const auto written =
            write_product_fields(ProductWritePolicy::upload_update, *opened.rows, iFields, iValues, separator_);
        stamp_product_row(*opened.rows);
        opened.rows->Update();
        InsertUpdateMultipleBuyer(iProductID, written->buyers);
        follow_group_change(*opened.rows, *written, former.property_group, iProductID, *opened.connection);
        update_unspsc_links(iProductID, former.unspsc_code, written->unspsc_code, false);
        opened.close();
        return true;
      },
      Tail{"Mercato.ProductXML.Update20", closing(opened)});
}

// Not reached behind the comparison: it would take the product's id for that of a category.
void ProductWriter::update_unspsc_links(std::int32_t product_id, const std::string& old_code,
                                        const std::string& new_code, bool is_new) {
  known_.read_unspsc_setting();
  if (known_.unspsc_links_wanted()) UpdateProductCategoryLinksForUNSPSCCode(product_id, old_code, new_code, is_new);
}

bool ProductWriter::InsertUpdateMultipleBuyer(const Variant& i_lProductID, const Variant& sUserid) {
  Opened opened;
  return method(
      [&] {
        const std::string product_id = i_lProductID.to_text();
        opened.connection = GetConnection();
        opened.rows = open_updatable(Sql("SELECT * FROM PRODUCT WHERE PRODUCTID=") << value(product_id),
                                     opened.connection, CursorType::fixed);
        if (opened.rows->Eof())
          raise(eProductNotFound, "Mercato.ProductXML.InsertUpdateMultipleBuyer", "Product not present");

        const bool multiple_buyer = opened.rows->Value("MULTIPLEBUYER").to_boolean();
        opened.connection->Execute(Sql("DELETE FROM productbuyer WHERE PRODUCTID=") << value(product_id));
        if (multiple_buyer) {
          opened.rows->Close();
          opened.rows = open_updatable(LiteralPiece("SELECT * FROM PRODUCTBUYER WHERE 0=1"), opened.connection,
                                       CursorType::keyset);
          const std::string& separator = separator_.or_default();
          if (!sUserid.is_null()) add_buyers(*opened.rows, i_lProductID, text::split(sUserid.to_text(), separator));
        }
        opened.close();
        return true;
      },
      Tail{"Mercato.ProductXML.InsertUpdateMultipleBuyer", closing(opened)});
}

}  // namespace mercato::upload
