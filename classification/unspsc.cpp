// SPDX-License-Identifier: Apache-2.0
#include "mercato/unspsc.h"

#include "frame/lib_general.h"
#include "frame/voted_method.h"
#include "values/text.h"

namespace mercato {

const ClassTable& UNSPSC::table() {
  static const ClassTable table =
      ClassTable::of<UNSPSC>("Mercato.UNSPSC", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A10C}", TransactionAttribute::none)
          .method("Delete", &UNSPSC::Delete, {"iUNSPSCCode"})
          .deprecated("Mercato.TUNSPSC.Delete")
          .method("GetAllUNSPSCCodes", &UNSPSC::GetAllUNSPSCCodes, {"iLevelNumber", "iParentCode"})
          .method("getUNSPSCDescription", &UNSPSC::getUNSPSCDescription, {"i_UNSPSCCode"})
          .method("IsUNSPSCCodeExists", &UNSPSC::IsUNSPSCCodeExists, {"i_UNSPSCCode"})
          .method("CheckifChildExists", &UNSPSC::CheckifChildExists, {"i_sParentCode"})
          .implements_referential_integrity(&UNSPSC::IReferentialIntegrity_BeforeDelete,
                                            &UNSPSC::IReferentialIntegrity_Exists);
  return table;
}

bool UNSPSC::Delete(std::string&) { Err_RaiseDeprecated("This method is depricated, Use Mercato.TUNSPSC.Delete"); }

DictionaryPtr UNSPSC::GetAllUNSPSCCodes(std::int16_t iLevelNumber, const std::string& iParentCode) {
  return read_and_close(
      "Mercato.UNSPSC.getAllUNSPSCCodes", CursorType::forward_only,
      [] { return open_connection(shared_connection_string()); },
      [&] {
        Sql sql = Sql("SELECT * FROM UNSPSCCodes WHERE LEVELNUMBER = ") << value(std::to_string(iLevelNumber));
        if (!iParentCode.empty()) sql << " AND PARENTCODE = '" << value(iParentCode) << "'";
        sql << " ORDER BY LEVELNUMBER, PARENTCODE, UNSPSCCODE";
        return sql;
      },
      [](const RecordsetPtr& rows) {
        auto codes = std::make_shared<Dictionary>();
        for (; !rows->Eof(); rows->MoveNext()) {
          const std::string parent = rows->Value("PARENTCODE").to_text();
          codes->Add(std::string(text::trim(parent)) + rows->Value("UNSPSCCODE").to_text(), rows->Value("DESCRIPTION"));
        }
        return codes;
      });
}

DictionaryPtr UNSPSC::siblings_of(const std::string& code) {
  const std::size_t length = text::length(code);
  const std::int16_t level = Variant(static_cast<double>(length) / 2).to_short();  // a half goes to the even neighbour
  if (length < 2) raise(error_number::kInvalidArgument);
  return GetAllUNSPSCCodes(level, std::string(text::without_last(code, 2)));
}

std::string UNSPSC::getUNSPSCDescription(std::string& i_UNSPSCCode) {
  if (i_UNSPSCCode.empty()) return {};
  const DictionaryPtr codes = siblings_of(i_UNSPSCCode);
  const Variant* const description = codes->find(i_UNSPSCCode);
  return description ? description->to_text() : std::string();
}

bool UNSPSC::IsUNSPSCCodeExists(std::string& i_UNSPSCCode) {
  return !i_UNSPSCCode.empty() && siblings_of(i_UNSPSCCode)->Exists(i_UNSPSCCode);
}

bool UNSPSC::CheckifChildExists(const std::string& i_sParentCode) {
  return read_and_close(
      "Mercato.UNSPSC.CheckifChildExists", CursorType::keyset,
      [] { return open_connection(shared_connection_string()); },
      [&] {
        return Sql("SELECT * FROM UNSPSCCodes WHERE PARENTCODE LIKE '") << value(Gen_EscapeLike(i_sParentCode)) << "%'";
      },
      [](const RecordsetPtr& rows) { return rows->RecordCount() > 0; });
}

bool UNSPSC::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TUNSPSC.IReferentialIntegrity_BeforeDelete");
}

bool UNSPSC::IReferentialIntegrity_Exists(const Variant&, const Array&, const Array&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TUNSPSC.Exists");
}

}  // namespace mercato
