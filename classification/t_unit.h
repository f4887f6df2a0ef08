// Units of measure, writing half. Requires a transaction and votes on it.
// One object serves one call at a time; nothing is kept between calls.
#pragma once

#include <string>

#include "frame/business_class.h"

namespace mercato {

class TUnit : public ComponentOf<TUnit> {
 public:
  static const ClassTable& table();

  // Deletes the unit and returns true; votes commit. Returns false, with nothing raised or logged and an abort vote,
  // when something still refers to it. Raises eUnitNotFound, source "Mercato.Unit.Delete", when there is no such unit,
  // with an abort vote, logged under "Mercato.Unit.Delete". A refused or failed delete changes nothing.
  bool Delete(std::string& iUnitCode);

  // True at every call; votes commit.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  // Whether the unit named by the field UNITCODE (in any case) exists; false when it is not among the fields. Null asks
  // for the empty code. Votes commit. A failure votes abort and is logged under "Mercato.Unit.Exists".
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  bool canDeleteUnit(const std::string& iUnitCode);
};

}  // namespace mercato
