// Units of measure, reading half. Never starts a transaction, never votes. Rows are created outside of this library.
// One object serves one call at a time; nothing is kept between calls.
#pragma once

#include <string>

#include "frame/business_class.h"
#include "values/dictionary.h"

namespace mercato {

class Unit : public ComponentOf<Unit> {
 public:
  static const ClassTable& table();

  // Retired: raises -1 at every call. Use Mercato.TUnit.Delete.
  bool Delete(std::string& iUnitCode);

  // All unit codes, code to code, in no particular order; empty when there are none.
  // A failure is logged and raised under "Mercato.Unit.getAllUnits".
  DictionaryPtr GetAllUnits();

  // The unit code for a code or a description; "" when neither fits. Of several units with the description the one that
  // comes first. A failure is logged and raised under "Mercato.Unit.getUnitCodeFromDescription".
  std::string getUnitCodeFromDescription(std::string& iUnitDescription);

  // Retired: raise -1 at every call. Use those of Mercato.TUnit.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
};

}  // namespace mercato
