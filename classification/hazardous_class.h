// Hazardous classes, reading half. Never starts a transaction, never votes. Rows are created outside of this library.
// One object serves one call at a time; nothing is kept between calls.
#pragma once

#include <string>

#include "frame/business_class.h"
#include "values/dictionary.h"

namespace mercato {

class HazardousClass : public ComponentOf<HazardousClass> {
 public:
  static const ClassTable& table();

  // All class codes, code to code, in no particular order; empty when there are none.
  // A failure is logged and raised under "Mercato.HazardousClass.getAllHazardousClass".
  DictionaryPtr GetAllHazardousClass();

  // The code of the class with this description; "" without one. Unlike the unit's lookup it does not take a code.
  // A failure is logged and raised under "Mercato.HazardousClass.getHazardousClassFromDescription".
  std::string getHazardousClassFromDescription(const std::string& iDescription);
};

}  // namespace mercato
