// SPDX-License-Identifier: Apache-2.0
#include "mercato/faqlist.h"

#include <string_view>

#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "mercato/clock.h"

namespace mercato {
namespace {

DictionaryPtr descriptions_by_id(std::string_view label, const Sql& sql, std::string_view id,
                                 std::string_view description) {
  return method(
      [&] {
        const RecordsetPtr rows = Sql_GetDisconnectedRecordset(sql, shared_connection_string(), true);
        auto descriptions = std::make_shared<Dictionary>();
        for (; !rows->Eof(); rows->MoveNext()) descriptions->Add(rows->Value(id), rows->Value(description));
        return descriptions;
      },
      Tail{label, Mts_SetAbort});
}

}  // namespace

const ClassTable& Faqlist::table() {
  static const ClassTable table =
      ClassTable::of<Faqlist>("Mercato.Faqlist", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A10E}",
                              TransactionAttribute::undeclared)
          .method("AddIssue", &Faqlist::AddIssue,
                  {"iProductID", "iProductCategoryID", "iFAQCategoryID", "iVisibilityOption", "iDescription",
                   "iQuestion", "iAnswer", "iDate", "iAttachment", "iLink"})
          .method("GetFAQCategories", &Faqlist::GetFAQCategories)
          .method("GetFAQVisibilityOptions", &Faqlist::GetFAQVisibilityOptions);
  return table;
}

std::int32_t Faqlist::AddIssue(std::int32_t& iProductID, std::int32_t& iProductCategoryID, std::int32_t& iFAQCategoryID,
                               std::int32_t& iVisibilityOption, std::string& iDescription, std::string& iQuestion,
                               std::string& iAnswer, std::string&, std::string& iAttachment, std::string& iLink) {
  return method(
      [&] {
        ConnectionPtr connection = open_connection(shared_connection_string());
        const RecordsetPtr issue = Recordset::create();
        issue->SetCursorLocation(CursorLocation::client);
        issue->Open(LiteralPiece("SELECT * FROM FAQISSUE WHERE 1=0"), connection, CursorType::keyset,
                    LockType::optimistic, -1);
        issue->AddNew();
        if (iProductID != 0) issue->SetValue("PRODUCTID", iProductID);
        issue->SetValue("PRODUCTCATEGORYID", iProductCategoryID);
        issue->SetValue("FAQCATEGORYID", iFAQCategoryID);
        issue->SetValue("DESCRIPTION", iDescription);
        issue->SetValue("QUESTION", iQuestion);
        issue->SetValue("VISIBILITY", iVisibilityOption);
        issue->SetValue("ANSWER", iAnswer);
        issue->SetValue("DATE", clock::now());
        issue->SetValue("ATTACHMENT", iAttachment);
        issue->SetValue("LINK", iLink);
        issue->Update();
        const std::int32_t id = issue->Value("FAQISSUEID").to_long();
        connection->Close();
        return id;
      },
      Tail{"Zentrik.Faqlist.AddIssue()", Mts_SetAbort});
}

DictionaryPtr Faqlist::GetFAQCategories() {
  return descriptions_by_id("Zentrik.Faqlist.GetFAQCategories()",
                            LiteralPiece("SELECT FAQCATEGORYID, FAQCATEGORYDESCRIPTION FROM FAQCATEGORY"),
                            "FAQCATEGORYID", "FAQCATEGORYDESCRIPTION");
}

DictionaryPtr Faqlist::GetFAQVisibilityOptions() {
  return descriptions_by_id("Zentrik.Faqlist.GetFAQVisibilityOptions()",
                            LiteralPiece("SELECT VISIBILITYID, VISIBILITYDESCRIPTION FROM FAQVISIBILITY"),
                            "VISIBILITYID", "VISIBILITYDESCRIPTION");
}

}  // namespace mercato
