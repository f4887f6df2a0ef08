// SPDX-License-Identifier: Apache-2.0
// Units of measure, writing half: class Mercato.TUnit.
#pragma once

#include <string>

#include "mercato/class_table.h"
#include "mercato/export.h"

namespace mercato {

/// Units of measure, writing half. Requires a transaction and votes on it.
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API TUnit : public ComponentOf<TUnit> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// Deletes the unit with this code; true, with a commit vote. False, with an abort vote and nothing raised or logged,
  /// when something still refers to it: by the rules of the reference checker, or a product.
  ///
  /// Raises eUnitNotFound, source "Mercato.Unit.Delete", for an unknown code, 6 for more than 32,767 deleted rows,
  /// which takes a table without its key, and what the store and the checker raise. A failure votes abort and is logged
  /// and raised under "Mercato.Unit.Delete", one of the look for products under "Mercato.Unit.canDeleteUnit" first. A
  /// refused or failed delete changes nothing.
  bool Delete(std::string& iUnitCode);

  /// True at every call, with a commit vote. Asks nobody.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// Whether the unit exists whose code is the value of the first field UNITCODE, in any case; Null counts as "". False
  /// when that field is not among the fields. The first argument is not read. Votes commit. Raises 9 when there are
  /// fewer values than fields, and what the store raises; a failure votes abort and is logged and raised under
  /// "Mercato.Unit.Exists".
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  bool canDeleteUnit(const std::string& iUnitCode);
};

}  // namespace mercato
