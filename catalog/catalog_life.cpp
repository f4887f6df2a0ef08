// SPDX-License-Identifier: Apache-2.0
// The life of a catalogue: its insertion and its end.
#include "catalog/t_catalog_internal.h"
#include "frame/voted_method.h"
#include "mercato/t_catalog.h"

namespace mercato {

std::int32_t TCatalog::InsertCatalog(const Variant& iFields, const Variant& iValues) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows =
            open_updatable(LiteralPiece("SELECT * FROM CATALOG WHERE 0=1"), opened.connection, CursorType::keyset);
        opened.rows->AddNew();
        const Array& fields = iFields.to_array();
        const Array& values = iValues.to_array();
        for (std::int32_t index = fields.lower; index <= fields.upper(); ++index) {
          const std::int16_t narrow = Variant(index).to_short();  // raises 6 for an index beyond 16 bits
          opened.rows->SetValue(fields.at(narrow).to_text(), values.at(narrow));
        }
        opened.rows->Update();
        const std::int32_t id = opened.rows->Value("CATALOGID").to_long();
        opened.close();
        Mts_SetComplete();
        return id;
      },
      // A failure casts no vote: what becomes of the transaction is the caller's to say.
      Tail{"Mercato.TCatalog.InsertCatalog", closing(opened)});
}

bool TCatalog::ExpireCatalog(std::int32_t& lCatalogID) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = open_updatable(Sql("SELECT * FROM CATALOG WHERE CATALOGID = ") << lCatalogID, opened.connection,
                                     CursorType::keyset);
        opened.rows->SetValue("ACTIVE", 0);
        opened.rows->Update();
        Sql_CloseRecordset(opened.rows);
        // All its products: those that another catalogue shows too, and those that are disabled already.
        opened.rows = open_batch(Sql("SELECT DISTINCT P.PRODUCTID, P.DISABLED FROM PRODUCT P "
                                     "INNER JOIN PRODUCTSBYCATEGORY C ON P.PRODUCTID = C.PRODUCTID "
                                     " INNER JOIN CATALOGNODE N ON N.CATALOGID = ")
                                     << lCatalogID << " AND N.CATEGORYID = C.CATEGORYID AND N.NODETYPE = 1",
                                 opened.connection);
        for (; !opened.rows->Eof(); opened.rows->MoveNext()) opened.rows->SetValue("DISABLED", 1);
        opened.rows->UpdateBatch();
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.TCatalog.ExpireCatalog", closing_and_aborting(opened)});
}

}  // namespace mercato
