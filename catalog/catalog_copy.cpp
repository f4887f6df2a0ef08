// SPDX-License-Identifier: Apache-2.0
// Copies of catalogues.
#include <initializer_list>
#include <unordered_set>

#include "frame/voted_method.h"
#include "mercato/dictionary.h"
#include "mercato/t_catalog.h"

namespace mercato {
namespace {

constexpr std::int16_t kRowAndNodes = 1;

// Copies these columns.
void take_over(std::initializer_list<std::string_view> columns, const Recordset& original, Recordset& copy) {
  for (const std::string_view column : columns) copy.SetValue(column, original.Value(column));
}

Sql all_copied_columns() {
  return LiteralPiece(
      "SELECT NODEID, ICONID, PARENTNODEID, CATALOGID, NODENAME, SEQUENCE, "
      "NODETYPE, NODEURL, CATEGORYID, NODEDESCRIPTION FROM CATALOGNODE ");
}

}  // namespace

void TCatalog::CopyCatalog(std::int32_t ilngCatalogIDOrig, std::int16_t iintDeepCopyLevel,
                           const std::string& istrCopyName) {
  RecordsetPtr original;
  RecordsetPtr copy;
  method(
      [&] {
        original = GetConnection()->Execute(Sql("SELECT * FROM CATALOG WHERE CATALOGID=") << ilngCatalogIDOrig);
        if (original->Eof())
          raise(eCatalogNotFound, "Mercato.Catalog.CopyCatalog",
                "Catalog " + std::to_string(ilngCatalogIDOrig) + "  not present");
        copy = open_updatable(LiteralPiece("SELECT * FROM CATALOG WHERE 0=1"), GetConnection(), CursorType::keyset);
        copy->AddNew();
        take_over({"ICONID"}, *original, *copy);
        copy->SetValue("CATALOGNAME", istrCopyName.empty()
                                          ? GenerateCopyCatalogNames(original->Value("CATALOGNAME").to_text())
                                          : istrCopyName);
        copy->SetValue("ACTIVE", 0);
        copy->SetValue("APPROVALCATALOG", 1);
        take_over({"CATALOGDESCRIPTION", "VERSION"}, *original, *copy);
        copy->Update();
        const std::int32_t id = copy->Value("CATALOGID").to_long();
        Sql_CloseDisconnectedRecordset(original);
        Sql_CloseDisconnectedRecordset(copy);
        if (iintDeepCopyLevel == kRowAndNodes) CopyCatalogNodes(ilngCatalogIDOrig, id);
        Mts_SetComplete();
      },
      Tail{"Catalog.CopyCatalog", [&] {
             if (original) Sql_CloseDisconnectedRecordset(original);
             if (copy) Sql_CloseDisconnectedRecordset(copy);
             Mts_SetAbort();
           }});
}

std::string TCatalog::GenerateCopyCatalogNames(const std::string& name) {
  return read_and_close(
      "Catalog.GenerateCopyCatalogNames", CursorType::forward_only, GetConnection,
      [] { return Sql("SELECT * FROM CATALOG ORDER BY CATALOGNAME "); },
      [&](const RecordsetPtr& rows) -> std::string {
        if (rows->Eof()) return "";
        // Names are compared exactly: those that differ in case are two names.
        std::unordered_set<std::string> taken;
        for (; !rows->Eof(); rows->MoveNext()) taken.insert(rows->Value("CATALOGNAME").to_text());
        const std::string first = "Copy Of " + name;
        if (!taken.contains(first)) return first;
        for (std::int16_t number = 2;; number = Variant(number + 1).to_short()) {
          const std::string numbered = "Copy (" + std::to_string(number) + ") Of " + name;
          if (!taken.contains(numbered)) return numbered;
        }
      });
}

// A child may be copied before its parent, so a second pass ties the children to their new parents.
void TCatalog::CopyCatalogNodes(std::int32_t original_catalog, std::int32_t new_catalog) {
  method(
      [&] {
        RecordsetPtr originals = open_updatable(all_copied_columns() << "WHERE CATALOGID = " << original_catalog,
                                                GetConnection(), CursorType::keyset);
        if (originals->Eof()) return Sql_CloseDisconnectedRecordset(originals);

        RecordsetPtr copies = open_updatable(all_copied_columns() << "WHERE 0=1", GetConnection(), CursorType::keyset);
        Dictionary twins;  // old NODEID to new NODEID
        for (; !originals->Eof(); originals->MoveNext()) {
          copies->AddNew();
          take_over({"ICONID", "PARENTNODEID"}, *originals, *copies);
          copies->SetValue("CATALOGID", new_catalog);
          take_over({"NODENAME", "SEQUENCE", "NODETYPE", "NODEURL", "CATEGORYID", "NODEDESCRIPTION"}, *originals,
                    *copies);
          copies->Update();
          twins.Add(originals->Value("NODEID"), copies->Value("NODEID"));
        }
        Sql_CloseDisconnectedRecordset(originals);
        Sql_CloseDisconnectedRecordset(copies);

        RecordsetPtr children =
            open_updatable(Sql("SELECT PARENTNODEID FROM CATALOGNODE WHERE CATALOGID = ") << new_catalog,
                           GetConnection(), CursorType::keyset);
        for (; !children->Eof(); children->MoveNext()) {
          const Variant parent = children->Value("PARENTNODEID");
          if (parent.is_null()) continue;
          // A parent outside of the catalogue has no twin. Item then answers Empty, and the child becomes a root.
          children->SetValue("PARENTNODEID", twins.Item(parent));
          children->Update();
        }
        Sql_CloseDisconnectedRecordset(children);
      },
      Tail{"Catalog.CopyCatalogNodes", no_steps});
}

}  // namespace mercato
