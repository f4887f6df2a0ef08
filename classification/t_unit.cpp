// SPDX-License-Identifier: Apache-2.0
#include "mercato/t_unit.h"

#include "classification/code_table.h"
#include "frame/contracts.h"
#include "frame/lib_general.h"
#include "values/text.h"

namespace mercato {

const ClassTable& TUnit::table() {
  static const ClassTable table =
      ClassTable::of<TUnit>("Mercato.TUnit", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A103}", TransactionAttribute::required)
          .method("Delete", &TUnit::Delete, {"iUnitCode"})
          .implements_referential_integrity(&TUnit::IReferentialIntegrity_BeforeDelete,
                                            &TUnit::IReferentialIntegrity_Exists);
  return table;
}

bool TUnit::Delete(std::string& iUnitCode) {
  grundwerk::ReferentialChecker checker;
  ConnectionPtr connection;
  return method(
      [&]() -> Answer<bool> {
        if (!checker.CheckBeforeDelete("UNIT", Array{"UNITCODE"}, Array{iUnitCode})) return refused;
        if (!canDeleteUnit(iUnitCode)) return refused;
        const Sql sql = Sql("DELETE FROM UNIT WHERE UNITCODE = '") << value(Gen_QuoteSql(iUnitCode)) << "'";
        if (classification::delete_rows(connection, sql) == 0)
          raise(eUnitNotFound, "Mercato.Unit.Delete", "Unit not found");
        checker.release();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Unit.Delete", closing_and_aborting(checker, connection)});
}

bool TUnit::canDeleteUnit(const std::string& iUnitCode) {
  return classification::is_unused("Mercato.Unit.canDeleteUnit",
                                   Sql("SELECT * FROM PRODUCT WHERE UNITCODE = '")
                                       << value(Gen_QuoteSql(iUnitCode)) << "'",
                                   classification::TailVote::abort);
}

bool TUnit::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) {
  Mts_SetComplete();
  return true;
}

bool TUnit::IReferentialIntegrity_Exists(const Variant&, const Array& iFields, const Array& iValues) {
  ConnectionPtr connection;
  return method(
      [&] {
        bool exists = false;
        for (std::int32_t index = iFields.lower; index <= iFields.upper(); ++index) {
          if (text::to_upper(iFields.at(index).to_text()) != "UNITCODE") continue;
          connection = open_connection(shared_connection_string(), Isolation::read_committed);
          const Sql sql = Sql("SELECT UNITCODE FROM UNIT WHERE UNITCODE = '")
                          << value(Gen_QuoteSql(iValues.at(index).text_or_empty())) << "'";
          exists = !connection->Execute(sql)->Eof();
          break;
        }
        Sql_CloseConnection(connection);
        Mts_SetComplete();
        return exists;
      },
      Tail{"Mercato.Unit.Exists", closing_and_aborting(connection)});
}

}  // namespace mercato
