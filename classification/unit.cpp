// SPDX-License-Identifier: Apache-2.0
#include "mercato/unit.h"

#include "classification/code_table.h"
#include "frame/lib_general.h"

namespace mercato {

const ClassTable& Unit::table() {
  static const ClassTable table =
      ClassTable::of<Unit>("Mercato.Unit", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A102}", TransactionAttribute::none)
          .method("Delete", &Unit::Delete, {"iUnitCode"})
          .deprecated("Mercato.TUnit.Delete")
          .method("GetAllUnits", &Unit::GetAllUnits)
          .method("getUnitCodeFromDescription", &Unit::getUnitCodeFromDescription, {"iUnitDescription"})
          .implements_referential_integrity(&Unit::IReferentialIntegrity_BeforeDelete,
                                            &Unit::IReferentialIntegrity_Exists);
  return table;
}

bool Unit::Delete(std::string&) { Err_RaiseDeprecated("This method is depricated, Use Mercato.TUnit.Delete"); }

DictionaryPtr Unit::GetAllUnits() {
  return classification::all_codes("Mercato.Unit.getAllUnits", LiteralPiece("SELECT UNITCODE FROM UNIT"), "UNITCODE");
}

std::string Unit::getUnitCodeFromDescription(std::string& iUnitDescription) {
  const std::string wanted = Gen_QuoteSql(iUnitDescription);
  const Sql sql = Sql("SELECT UNITCODE FROM UNIT WHERE UNITCODE='")
                  << value(wanted) << "' OR UNITDESCRIPTION = '" << value(wanted) << "'";
  return classification::first_code("Mercato.Unit.getUnitCodeFromDescription", sql, "UNITCODE");
}

bool Unit::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TUnit.IReferentialIntegrity_BeforeDelete");
}

bool Unit::IReferentialIntegrity_Exists(const Variant&, const Array&, const Array&) {
  Err_RaiseDeprecated("This method is depricated, Use Mercato.TUnit.Exists");
}

}  // namespace mercato
