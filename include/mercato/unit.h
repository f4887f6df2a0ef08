// SPDX-License-Identifier: Apache-2.0
// Units of measure, reading half: class Mercato.Unit.
#pragma once

#include <string>

#include "mercato/class_table.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"

namespace mercato {

/// Units of measure, reading half. The rows are created outside of this library.
///
/// Never starts a transaction and never votes. Every method that is not retired may raise what the store raises
/// (0x80040E14 for a refused statement, 0x80004005 for a store that cannot be reached).
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API Unit : public ComponentOf<Unit> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use Mercato.TUnit.Delete.
  bool Delete(std::string& iUnitCode);

  /// All unit codes, each to itself, in no particular order; empty when there are none. A failure is logged and raised
  /// under "Mercato.Unit.getAllUnits".
  DictionaryPtr GetAllUnits();

  /// The code of the unit with this code or description, "" when neither fits. Of several units that fit the first one
  /// counts. The argument is not changed. A failure is logged and raised under
  /// "Mercato.Unit.getUnitCodeFromDescription".
  std::string getUnitCodeFromDescription(std::string& iUnitDescription);

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use that of Mercato.TUnit.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// Retired: logs and raises -1 at every call, with the advice in the place of the label. Use that of Mercato.TUnit.
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
};

}  // namespace mercato
