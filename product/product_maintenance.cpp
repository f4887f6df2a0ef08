// SPDX-License-Identifier: Apache-2.0
// Writing products: Insert20 and Update20, the old calls built on them, and single property values.
#include "frame/contracts.h"
#include "product/product_internal.h"
#include "records/product_row.h"
#include "records/unspsc_links.h"

namespace mercato {
namespace {

// The id of a product that was not inserted.
constexpr std::int32_t kNotInserted = -1;

// Supplier and default buyer must exist, where they are given.
void require_references(const Recordset& row) {
  grundwerk::ReferentialChecker checker;
  const Array fields{"BUSINESSPARTNERID", "USERID"};
  if (checker.CheckReferences("PRODUCT", fields, Array{row.Value("BUSINESSPARTNERID"), row.Value("USERID")})) return;
  // The sentence stands in the source, where callers look for it; there is no description.
  raise(kInvalidReference, "The product record you are trying to insert has an invalid reference to another record",
        {});
}

// Ten names for the nine values of the old signatures: the array of values always runs out. TECHNICALIMAGE has no value
// of its own, so the URL is written to it.
const Array& names_of_old_signature() {
  static const Array names{"UNITCODE",     "PROPERTYGROUPID", "MANUFACTURERID", "PARTNUMBER",     "PRODUCTDESCRIPTION",
                           "CONFIGURABLE", "PRODUCTREMARK",   "IMAGEFILENAME",  "TECHNICALIMAGE", "URL"};
  return names;
}

}  // namespace

// The tail casts no abort vote: a failure behind the writing of the row leaves the row to the transaction.
std::int32_t Product::Insert20(const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&]() -> Answer<std::int32_t> {
        opened.connection = GetConnection();
        opened.rows = new_product_row(opened.connection);
        const auto written = write_product_fields(ProductWritePolicy::insert, *opened.rows, iFields, iValues);
        if (!written) return refused;
        require_references(*opened.rows);
        stamp_product_row(*opened.rows);
        opened.rows->Update();
        const std::int32_t product_id = opened.rows->Value("PRODUCTID").to_long();
        create_group_values(*opened.rows, *written, product_id);
        opened.close();
        if (unspsc_links_wanted()) UpdateProductLinksForUNSPSCCode(product_id, "", written->unspsc_code, true);
        Mts_SetComplete();
        return product_id;
      },
      Tail{"Mercato.Product.Insert", closing(opened), kNotInserted});
}

bool Product::Update20(std::int32_t iProductID, const Array& iFields, const Array& iValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = open_product_row(iProductID, opened.connection);
        const FormerProduct former = former_product(*opened.rows);
        const auto written = write_product_fields(ProductWritePolicy::update, *opened.rows, iFields, iValues);
        require_references(*opened.rows);
        stamp_product_row(*opened.rows);
        // Null raises 94: such a product cannot be updated.
        if (!opened.rows->Value("MULTIPLEBUYER").to_boolean()) {
          opened.connection->Execute(Sql("DELETE FROM productbuyer WHERE PRODUCTID=") << iProductID);
        }
        opened.rows->Update();
        follow_group_change(*opened.rows, *written, former.property_group, iProductID, *opened.connection);
        // A code that was not among the fields counts as cleared, whatever the row holds.
        if (unspsc_links_wanted())
          UpdateProductLinksForUNSPSCCode(iProductID, former.unspsc_code, written->unspsc_code, false);
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Product.Update", closing_and_aborting(opened)});
}

std::int32_t Product::Insert(const Variant& iUnitCode, const Variant& iPropGroupID, const Variant& iManID,
                             const Variant& iPartNo, const Variant& iProdDescription, const Variant& iConfigurable,
                             const Variant& iProdRemark, const Variant& iImgFile, const Variant& iURL) {
  return Insert20(names_of_old_signature(), Array{iUnitCode, iPropGroupID, iManID, iPartNo, iProdDescription,
                                                  iConfigurable, iProdRemark, iImgFile, iURL});
}

bool Product::Update(std::int32_t iProductID, const Variant& iUnitCode, const Variant& iPropGroupID,
                     const Variant& iManID, const Variant& iPartNo, const Variant& iProdDescription,
                     const Variant& iConfigurable, const Variant& iProdRemark, const Variant& iImgFile,
                     const Variant& iURL) {
  return Update20(
      iProductID, names_of_old_signature(),
      Array{iUnitCode, iPropGroupID, iManID, iPartNo, iProdDescription, iConfigurable, iProdRemark, iImgFile, iURL});
}

Variant Product::SetUpdateDateToNow(std::int32_t iProductID) {
  Opened opened;
  return method(
      [&]() -> Variant {
        opened.connection = GetConnection();
        opened.rows = open_product_row(iProductID, opened.connection);
        stamp_product_row(*opened.rows);
        opened.rows->Update();
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Product.SetUpdateDateToNow", closing_and_aborting(opened)});
}

void Product::InsertProductPropertyValue(std::int32_t iProductID, std::int32_t iPropertyId, const std::string& iValue) {
  Opened opened;
  method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = open_updatable(LiteralPiece("SELECT * FROM PRODUCTPROPVALUE WHERE 0=1"), opened.connection,
                                     CursorType::dynamic);
        opened.rows->AddNew();
        opened.rows->SetValue("PROPERTYID", iPropertyId);
        opened.rows->SetValue("PRODUCTID", iProductID);
        opened.rows->SetValue("VALUE", iValue);
        opened.rows->Update();
        opened.close();
        Mts_SetComplete();
      },
      Tail{"Mercato.Product.InsertProductPropertyValue", closing_and_aborting(opened)});
}

void Product::UpdateProductPropertyValue(std::int32_t iProductID, std::int32_t iPropertyId, const std::string& iValue) {
  execute_and_vote("Mercato.Product.UpdateProductPropertyValue", GetConnection, [&] {
    return Sql("UPDATE PRODUCTPROPVALUE SET VALUE='")
           << value(iValue) << "' WHERE PRODUCTID=" << iProductID << " AND PROPERTYID=" << iPropertyId;
  });
}

}  // namespace mercato
