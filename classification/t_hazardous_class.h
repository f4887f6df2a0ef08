// Hazardous classes, writing half. Requires a transaction and votes on it.
// One object serves one call at a time; nothing is kept between calls.
#pragma once

#include <string>

#include "frame/business_class.h"

namespace mercato {

class THazardousClass : public ComponentOf<THazardousClass> {
 public:
  static const ClassTable& table();

  // Deletes the class and returns true; votes commit. Returns false, with nothing raised or logged and an abort vote,
  // when a product still refers to it; no reference checker is asked. Raises eHazardousClassNotFound, source
  // "Mercato.THazardousClass.Delete", when there is no such class, with an abort vote. A refused or failed delete
  // changes nothing.
  bool Delete(std::string& iClassCode);

  // False at every call: no vote, no query.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  bool canDeleteHazardousClass(const std::string& iClassCode);
};

}  // namespace mercato
