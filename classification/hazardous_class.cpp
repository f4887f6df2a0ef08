// SPDX-License-Identifier: Apache-2.0
#include "mercato/hazardous_class.h"

#include "classification/code_table.h"
#include "frame/lib_general.h"

namespace mercato {

const ClassTable& HazardousClass::table() {
  static const ClassTable table =
      ClassTable::of<HazardousClass>("Mercato.HazardousClass", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A104}",
                                     TransactionAttribute::none)
          .method("GetAllHazardousClass", &HazardousClass::GetAllHazardousClass)
          .method("getHazardousClassFromDescription", &HazardousClass::getHazardousClassFromDescription,
                  {"iDescription"});
  return table;
}

DictionaryPtr HazardousClass::GetAllHazardousClass() {
  return classification::all_codes("Mercato.HazardousClass.getAllHazardousClass",
                                   LiteralPiece("SELECT CLASSCODE FROM HAZARDOUSCLASS"), "CLASSCODE");
}

std::string HazardousClass::getHazardousClassFromDescription(const std::string& iDescription) {
  const Sql sql = Sql("SELECT CLASSCODE FROM HAZARDOUSCLASS WHERE CLASSDESCRIPTION = N'")
                  << value(Gen_QuoteSql(iDescription)) << "'";
  return classification::first_code("Mercato.HazardousClass.getHazardousClassFromDescription", sql, "CLASSCODE");
}

}  // namespace mercato
