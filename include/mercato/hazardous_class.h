// SPDX-License-Identifier: Apache-2.0
// Hazardous classes, reading half: class Mercato.HazardousClass.
#pragma once

#include <string>

#include "mercato/class_table.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"

namespace mercato {

/// Hazardous classes, reading half. The rows are created outside of this library.
///
/// Never starts a transaction and never votes. Every method may raise what the store raises (0x80040E14 for a refused
/// statement, 0x80004005 for a store that cannot be reached).
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API HazardousClass : public ComponentOf<HazardousClass> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// All class codes, each to itself, in no particular order; empty when there are none. A failure is logged and raised
  /// under "Mercato.HazardousClass.getAllHazardousClass".
  DictionaryPtr GetAllHazardousClass();

  /// The code of the class with this description, "" without one. Unlike the look-up of units it takes no code. A
  /// failure is logged and raised under "Mercato.HazardousClass.getHazardousClassFromDescription".
  std::string getHazardousClassFromDescription(const std::string& iDescription);
};

}  // namespace mercato
