// SPDX-License-Identifier: Apache-2.0
// Hazardous classes, writing half: class Mercato.THazardousClass.
#pragma once

#include <string>

#include "mercato/class_table.h"
#include "mercato/export.h"

namespace mercato {

/// Hazardous classes, writing half. Requires a transaction and votes on it.
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API THazardousClass : public ComponentOf<THazardousClass> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// Deletes the class with this code; true, with a commit vote. False, with an abort vote and nothing raised or
  /// logged, when a product still refers to it; no reference checker is asked.
  ///
  /// Raises eHazardousClassNotFound, source "Mercato.THazardousClass.Delete", for an unknown code, 6 for more than
  /// 32,767 deleted rows, which takes a table without its key, and what the store raises. A failure votes abort and is
  /// logged and raised under "Mercato.THazardousClass.Delete", one of the look for products under
  /// "Mercato.THazardousClass.canDeleteHazardousClass" first. A refused or failed delete changes nothing.
  bool Delete(std::string& iClassCode);

  /// False at every call. Asks nobody and casts no vote.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// False at every call. Asks nobody and casts no vote.
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  bool canDeleteHazardousClass(const std::string& iClassCode);
};

}  // namespace mercato
