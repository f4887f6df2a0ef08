// SPDX-License-Identifier: Apache-2.0
#include "mercato/t_unspsc.h"

#include "classification/code_table.h"
#include "frame/contracts.h"
#include "frame/lib_general.h"
#include "values/text.h"

namespace mercato {

const ClassTable& TUNSPSC::table() {
  static const ClassTable table =
      ClassTable::of<TUNSPSC>("Mercato.TUNSPSC", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A10D}",
                              TransactionAttribute::required)
          .method("Delete", &TUNSPSC::Delete, {"iUNSPSCCode"})
          .method("UploadFromXLS", &TUNSPSC::UploadFromXLS, {"sFile", "bOverwrite", "bUpdCommodity"})
          .method("UploadFromXML", &TUNSPSC::UploadFromXML, {"sFile", "bOverwrite", "bUpdCommodity"})
          .implements_referential_integrity(&TUNSPSC::IReferentialIntegrity_BeforeDelete,
                                            &TUNSPSC::IReferentialIntegrity_Exists);
  return table;
}

bool TUNSPSC::Delete(std::string& iUNSPSCCode) {
  grundwerk::ReferentialChecker checker;
  ConnectionPtr connection;
  return method(
      [&]() -> Answer<bool> {
        if (!checker.CheckBeforeDelete("UNSPSCCodes", Array{"UNSPSCCode"}, Array{iUNSPSCCode})) return refused;
        const std::string_view code = text::trim(iUNSPSCCode);
        const std::string_view parent = text::length(code) > 2 ? text::without_last(code, 2) : std::string_view();
        // Quotes of the segment are not doubled.
        const Sql sql = Sql("DELETE FROM UNSPSCCODES WHERE PARENTCODE = '")
                        << value(Gen_QuoteSql(parent)) << "' and UNSPSCCODE = '" << value(text::right(code, 2)) << "'";
        if (classification::delete_rows(connection, sql) == 0)
          raise(eUNSPSCCodeNotFound, "Mercato.UNSPSCCode.Delete", "UNSPSCCode not found");
        checker.release();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.UNSPSCCode.Delete", closing_and_aborting(checker, connection)});
}

bool TUNSPSC::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) {
  Mts_SetComplete();
  return true;
}

bool TUNSPSC::IReferentialIntegrity_Exists(const Variant&, const Array& iFields, const Array& iValues) {
  ConnectionPtr connection;
  return method(
      [&] {
        for (std::int32_t index = iFields.lower; index <= iFields.upper(); ++index) {
          // The field is named as the table is: a field UNSPSCCODE is passed over.
          if (text::to_upper(iFields.at(index).to_text()) != "UNSPSCCODES") continue;
          const std::string full_code = iValues.at(index).to_text();
          const std::string_view code = text::trim(full_code);
          if (text::length(code) < 2) raise(error_number::kInvalidArgument);
          connection = open_connection(shared_connection_string(), Isolation::read_committed);
          // No store understands this: a blank in a name, and no AND.
          const Sql sql = Sql("SELECT * FROM UNSPSCCodes WHERE Parent Code = '")
                          << value(text::without_last(code, 2)) << "'UNSPSCCode = " << value(text::right(code, 2));
          connection->Execute(sql);
          break;
        }
        Sql_CloseConnection(connection);
        Mts_SetComplete();
        return false;
      },
      Tail{"Mercato.UNSPSCCode.Exists", closing_and_aborting(connection)});
}

}  // namespace mercato
