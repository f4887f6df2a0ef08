// SPDX-License-Identifier: Apache-2.0
// UNSPSC codes, reading half: class Mercato.UNSPSC. unspsc_code.h says how a code is made up.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"

namespace mercato {

/// UNSPSC codes, reading half. Never starts a transaction and never votes.
///
/// Every method that is not retired may raise what the store raises (0x80040E14 for a refused statement, 0x80004005 for
/// a store that cannot be reached). Codes are whole ones, without pairs of zeros at their end. No argument is changed.
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API UNSPSC : public ComponentOf<UNSPSC> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use Mercato.TUNSPSC.Delete.
  bool Delete(std::string& iUNSPSCCode);

  /// The codes of one level below one parent, or below all parents when the parent is empty: code to description, which
  /// may be Null, ordered by parent and code. Level 1 is the top. The parent goes into the statement as it stands: the
  /// store refuses one with a quote. A failure is logged and raised under "Mercato.UNSPSC.getAllUNSPSCCodes".
  DictionaryPtr GetAllUNSPSCCodes(std::int16_t iLevelNumber, const std::string& iParentCode);

  /// The description of a code, "" for an unknown code and for the empty text. Raises 5 for a code of one character, 6
  /// for one of more than 65,535 characters, and 94 for a description that is Null, all unlogged; a failure of the
  /// look-up is logged and raised as in GetAllUNSPSCCodes.
  std::string getUNSPSCDescription(std::string& i_UNSPSCCode);

  /// Whether a code exists. False, without asking the store, for the empty text. Raises 5, 6 and what the look-up
  /// raises, as getUNSPSCDescription does.
  bool IsUNSPSCCodeExists(std::string& i_UNSPSCCode);

  /// Whether any code stands below this one, at whatever depth, also where the codes between them are missing. The
  /// empty text has every code below it. A failure is logged and raised under "Mercato.UNSPSC.CheckifChildExists".
  bool CheckifChildExists(const std::string& i_sParentCode);

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use that of Mercato.TUNSPSC.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use that of Mercato.TUNSPSC.
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  // All codes of this code's level that have the same parent.
  DictionaryPtr siblings_of(const std::string& code);
};

}  // namespace mercato
