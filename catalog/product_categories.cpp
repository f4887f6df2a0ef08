// SPDX-License-Identifier: Apache-2.0
// Product categories and their visibilities: reading (Catalog) and writing (TCatalog).
#include "catalog/catalog_internal.h"
#include "frame/contracts.h"
#include "frame/lib_general.h"
#include "frame/paged_read.h"
#include "frame/voted_method.h"
#include "mercato/catalog.h"
#include "mercato/t_catalog.h"
#include "records/unspsc_links.h"
#include "values/text.h"

namespace mercato {
namespace {

constexpr std::string_view kCategoryColumn = "CATEGORYID";
constexpr std::string_view kCodeColumn = "UNSPSCCODE";

// Reading

// Without ids a read has no restriction.
bool was_given(const Variant& ids) { return !ids.is_empty() && !ids.is_missing(); }

// VISIBILITYID to description, nothing when there is none.
DictionaryPtr visibilities(const RecordsetPtr& rows) {
  if (rows->Eof()) return nullptr;
  auto descriptions = std::make_shared<Dictionary>();
  for (; !rows->Eof(); rows->MoveNext())
    descriptions->Add(rows->Value("VISIBILITYID"), rows->Value("VISIBILITYDESCRIPTION"));
  return descriptions;
}

// Writing

// The empty text is written as Null, a blank as it is.
Variant null_for_empty(const Variant& given) {
  const bool is_empty = given.is_empty() || (given.is_text() && given.text_value().empty());
  return is_empty ? Variant(kNull) : given;
}

bool is_column(const Variant& field, std::string_view column) { return text::to_upper(field.to_text()) == column; }

// Writes the pairs into the row under construction and returns the code among them, Null without one.
enum class KeyField { written, skipped };
Variant write_fields(Recordset& row, const Variant& given_fields, const Variant& given_values, KeyField key_field) {
  const Array& fields = given_fields.to_array();
  const Array& values = given_values.to_array();
  Variant code = kNull;
  for (std::int32_t index = fields.lower; index <= fields.upper(); ++index) {
    const Variant& field = fields.at(index);
    const Variant value = null_for_empty(values.at(index));
    if (is_column(field, kCodeColumn)) code = value;
    if (key_field == KeyField::skipped && is_column(field, kCategoryColumn)) continue;
    row.SetValue(field.to_text(), value);
  }
  return code;
}

// The category that an update names, 0 when it names none.
std::int32_t named_category(const Variant& given_fields, const Variant& given_values) {
  const Array& fields = given_fields.to_array();
  for (std::int32_t index = fields.lower; index <= fields.upper(); ++index)
    if (is_column(fields.at(index), kCategoryColumn)) return given_values.to_array().at(index).to_long();
  return 0;
}

}  // namespace

ComponentPtr Catalog::GetProductCategoryData(const ComponentPtr& i_oPage, const std::string& i_sPersistedStateInfo,
                                             std::int32_t i_iPageSize, const Variant& i_asProductCategoryIDs,
                                             const std::string& i_sSortTableFieldNames) {
  return method(
      [&] {
        const Sql sql =
            with_ids(LiteralPiece("SELECT * FROM PRODUCTCATEGORY"), kCategoryColumn, i_asProductCategoryIDs);
        return PagedRead({sql, std::string(kCategoryColumn), unless_empty(i_sSortTableFieldNames)},
                         {i_oPage, i_sPersistedStateInfo, i_iPageSize}, shared_connection_string);
      },
      Tail{"Mercato.Catalog.GetProductCategoryData", no_steps});
}

DictionaryPtr Catalog::GetVisibleProductCategories(Variant& iVisibility) {
  return read_and_close(
      "Mercato.Catalog.GetVisibleProductCategories", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql(
            "SELECT DISTINCT VBC.CATEGORYID, PC.CATEGORYNAME FROM VISIBILITIESBYCATEGORY VBC "
            "INNER JOIN PRODUCTCATEGORY PC ON VBC.CATEGORYID = PC.CATEGORYID");
        if (iVisibility.is_array())
          sql << " WHERE VBC.VISIBILITYID IN (" << joined(iVisibility.to_array().items) << ")";
        else
          sql << " WHERE 1=0";
        sql << " ORDER BY CATEGORYNAME";
        return sql;
      },
      [](const RecordsetPtr& rows) {
        auto categories = std::make_shared<Dictionary>();
        for (; !rows->Eof(); rows->MoveNext()) categories->Set(rows->Value("CATEGORYID"), rows->Value("CATEGORYNAME"));
        return categories;
      });
}

DictionaryPtr Catalog::GetVisibilitiesByCategories(const Variant& i_aCatergoryIDs) {
  return read_and_close(
      "Mercato.Catalog.GetVisibilitiesByCategories", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql(
            "SELECT FAQV.VISIBILITYID, FAQV.VISIBILITYDESCRIPTION "
            "FROM FAQVISIBILITY FAQV WHERE FAQV.VISIBILITYID IN "
            "(SELECT DISTINCT VBC.VISIBILITYID "
            "FROM VISIBILITIESBYCATEGORY VBC");
        if (was_given(i_aCatergoryIDs))
          sql << " WHERE VBC.CATEGORYID IN (" << joined(i_aCatergoryIDs.to_array().items) << ")";
        sql << ")";
        return sql;
      },
      visibilities);
}

DictionaryPtr Catalog::GetJoinVisibilitiesByCategories(const Variant& i_aCatergoryIDs) {
  return read_and_close(
      "Mercato.Catalog.GetJoinVisibilitiesByCategories", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql(
            "SELECT FAQV.VISIBILITYID, FAQV.VISIBILITYDESCRIPTION "
            "FROM FAQVISIBILITY FAQV WHERE FAQV.VISIBILITYID IN "
            "(SELECT VBC.VISIBILITYID FROM VISIBILITIESBYCATEGORY VBC");
        if (was_given(i_aCatergoryIDs))
          sql << " WHERE VBC.CATEGORYID IN (" << joined(i_aCatergoryIDs.to_array().items) << ")";
        // Two rows are enough, however many categories there are.
        sql << " GROUP BY VBC.VISIBILITYID HAVING COUNT(*)>1)";
        return sql;
      },
      visibilities);
}

DictionaryPtr Catalog::GetVisibilityDescByID(const Variant& i_aVisibilityIDs) {
  return read_and_close(
      "Mercato.Catalog.GetVisibilityDescByID", CursorType::forward_only, GetConnection,
      [&] {
        Sql sql(
            "SELECT FAQV.VISIBILITYID, FAQV.VISIBILITYDESCRIPTION "
            "FROM FAQVISIBILITY FAQV");
        if (was_given(i_aVisibilityIDs))
          sql << " WHERE FAQV.VISIBILITYID IN (" << joined(i_aVisibilityIDs.to_array().items) << ")";
        return sql;
      },
      visibilities);
}

Variant Catalog::GetProductCategoriesByName(const std::string& i_sCategoryName) {
  return read_and_close(
      "Mercato.Catalog.GetProductCategoriesByName", CursorType::keyset, GetConnection,
      [&] {
        Sql sql("SELECT CATEGORYID FROM PRODUCTCATEGORY");
        if (!i_sCategoryName.empty()) sql << " WHERE CATEGORYNAME LIKE " << value(Gen_LikePattern(i_sCategoryName));
        return sql;
      },
      [](const RecordsetPtr& rows) -> Variant {
        Array ids;
        for (; !rows->Eof(); rows->MoveNext()) ids.items.push_back(rows->Value("CATEGORYID"));
        if (ids.items.empty()) return kNull;
        return ids;
      });
}

bool TCatalog::InsertProductCategory(const Variant& i_aFields, const Variant& i_aValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = open_updatable(LiteralPiece("SELECT * FROM PRODUCTCATEGORY WHERE 0=1"), opened.connection,
                                     CursorType::keyset);
        opened.rows->AddNew();
        const Variant code = write_fields(*opened.rows, i_aFields, i_aValues, KeyField::written);
        opened.rows->Update();
        const std::int32_t id = opened.rows->Value(kCategoryColumn).to_long();
        opened.close();
        if (unspsc_links_wanted()) UpdateProductCategoryLinksForUNSPSCCode(id, "", code.text_or_empty(), true);
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Catalog.InsertProductCategory", closing_and_aborting(opened)});
}

bool TCatalog::UpdateProductCategory(const Variant& i_aFields, const Variant& i_aValues) {
  Opened opened;
  return method(
      [&] {
        const std::int32_t id = named_category(i_aFields, i_aValues);
        opened.connection = GetConnection();
        opened.rows = open_updatable(Sql("SELECT * FROM PRODUCTCATEGORY WHERE CATEGORYID=") << id, opened.connection,
                                     CursorType::fixed);
        if (opened.rows->Eof())
          raise(eProductCategoryNotFound, "Mercato.Catalog.UpdateProductCategory",
                "Product Category (" + std::to_string(id) + ") not found");
        const Variant old_code = opened.rows->Value(kCodeColumn);
        const Variant new_code = write_fields(*opened.rows, i_aFields, i_aValues, KeyField::skipped);
        opened.rows->Update();
        opened.close();
        // An update without the code treats the links as if the code had been cleared.
        if (unspsc_links_wanted())
          UpdateProductCategoryLinksForUNSPSCCode(id, old_code.text_or_empty(), new_code.text_or_empty(), false);
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Catalog.UpdateProductCategory", closing_and_aborting(opened)});
}

bool TCatalog::DeleteProductCategory(std::int32_t iCategoryID) {
  grundwerk::ReferentialChecker checker;
  ConnectionPtr connection;
  return method(
      [&]() -> Answer<bool> {
        if (!checker.CheckBeforeDelete("PRODUCTCATEGORY", Array{kCategoryColumn}, Array{iCategoryID})) return refused;
        const auto execute = [&](LiteralPiece statement) {
          connection = GetConnection();
          return execute_and_close(connection, Sql(statement) << iCategoryID);
        };
        execute("DELETE FROM VISIBILITIESBYCATEGORY WHERE CATEGORYID=");
        execute("DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=");
        execute("DELETE FROM CATALOGNODE WHERE CATEGORYID=");
        // The number and the text are those of a missing catalogue.
        if (execute("DELETE FROM PRODUCTCATEGORY WHERE CATEGORYID = ") == 0)
          raise(eCatalogNotFound, "Mercato.Catalog.Delete", "Catalog doesn't exist");
        checker.release();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Catalog.DeleteProductCategory", closing_and_aborting(checker, connection)});
}

}  // namespace mercato
