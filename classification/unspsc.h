// UNSPSC codes, reading half. Never starts a transaction, never votes. A code is pairs of digits, each pair a level
// below the one before it; a row of UNSPSCCODES holds one pair and, as its parent, all pairs above it. One object
// serves one call at a time; nothing is kept between calls.
#pragma once

#include <cstdint>
#include <string>

#include "frame/business_class.h"
#include "values/dictionary.h"

namespace mercato {

class UNSPSC : public ComponentOf<UNSPSC> {
 public:
  static const ClassTable& table();

  // Retired: raises -1 at every call. Use Mercato.TUNSPSC.Delete.
  bool Delete(std::string& iUNSPSCCode);

  // The codes of one level (1 is the top), with an empty parent those of all parents: full code to description (Null
  // when it has none), ordered by parent and code. The parent goes into the statement unquoted: one with a quote makes
  // the store refuse it. A failure is logged and raised under "Mercato.UNSPSC.getAllUNSPSCCodes".
  DictionaryPtr GetAllUNSPSCCodes(std::int16_t iLevelNumber, const std::string& iParentCode);

  // The description of a full code; "" when there is no such code, or none is given. Raises 5 for a code of one
  // character, 6 for one of more than 65535, and 94 for a description that is Null. Failures of the lookup pass as they
  // are.
  std::string getUNSPSCDescription(std::string& i_UNSPSCCode);
  // Whether the full code exists. False, without asking the store, for an empty one. Raises as getUNSPSCDescription.
  bool IsUNSPSCCodeExists(std::string& i_UNSPSCCode);

  // Whether any code stands below this one, at whatever depth: also when its own child is missing. The empty code has
  // everything below it. A failure is logged and raised under "Mercato.UNSPSC.CheckifChildExists".
  bool CheckifChildExists(const std::string& i_sParentCode);

  // Retired: raise -1 at every call. Use those of Mercato.TUNSPSC.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  // The codes among which a full code has to be, its level and parent.
  DictionaryPtr siblings_of(const std::string& code);
};

}  // namespace mercato
