// SPDX-License-Identifier: Apache-2.0
#include "mercato/t_hazardous_class.h"

#include "classification/code_table.h"
#include "frame/lib_general.h"

namespace mercato {

const ClassTable& THazardousClass::table() {
  static const ClassTable table =
      ClassTable::of<THazardousClass>("Mercato.THazardousClass", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A105}",
                                      TransactionAttribute::required)
          .method("Delete", &THazardousClass::Delete, {"iClassCode"})
          .implements_referential_integrity(&THazardousClass::IReferentialIntegrity_BeforeDelete,
                                            &THazardousClass::IReferentialIntegrity_Exists);
  return table;
}

bool THazardousClass::Delete(std::string& iClassCode) {
  ConnectionPtr connection;
  return method(
      [&]() -> Answer<bool> {
        if (!canDeleteHazardousClass(iClassCode)) return refused;
        const Sql sql = Sql("DELETE FROM HAZARDOUSCLASS WHERE CLASSCODE = N'")
                        << value(Gen_QuoteSql(iClassCode)) << "'";
        if (classification::delete_rows(connection, sql) == 0)
          raise(eHazardousClassNotFound, "Mercato.THazardousClass.Delete", "HazardousClass not found");
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.THazardousClass.Delete", closing_and_aborting(connection)});
}

bool THazardousClass::canDeleteHazardousClass(const std::string& iClassCode) {
  const Sql sql = Sql("SELECT * FROM PRODUCT WHERE CLASSCODE = N'") << value(Gen_QuoteSql(iClassCode)) << "'";
  return classification::is_unused("Mercato.THazardousClass.canDeleteHazardousClass", sql,
                                   classification::TailVote::none);
}

bool THazardousClass::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) { return false; }
bool THazardousClass::IReferentialIntegrity_Exists(const Variant&, const Array&, const Array&) { return false; }

}  // namespace mercato
