// SPDX-License-Identifier: Apache-2.0
// Which column refers to which: the knowledge of Grundwerk.ReferentialChecker. Held once for the process; any thread.
// The library's own rules stand in one table in reference_rules.cpp. A deployment extends them at its start:
//
//   ReferenceRules rules = *reference_rules();
//   rules.references.push_back({"PRODUCT", "UNITCODE", "UNIT", "UNITCODE", KeyKind::text, Checked::before_write});
//   set_reference_rules(std::move(rules));
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "mercato/by_name.h"
#include "mercato/export.h"

namespace mercato::collaborators {

/// How the values of a key are compared.
enum class KeyKind {
  number,
  text,
  code,  ///< a text that is the same with and without blanks around it
};

/// When a reference is checked.
enum class Checked {
  before_write,   ///< a value of the referring column has to be there
  before_delete,  ///< a row that is referred to has to stay
};

/// `from` refers to `to`. Tables and columns in any case.
struct Reference {
  std::string from_table;   ///< where the reference stands
  std::string from_column;  ///< and in which column
  std::string to_table;     ///< where it leads
  std::string to_column;    ///< and to which column
  KeyKind kind;             ///< how its values are compared
  Checked checked;          ///< when it is checked
  /// Of a reference checked before a write: the ProgID of the class that owns the row and is asked for it through
  /// IReferentialIntegrity. Empty: the table is read.
  std::string owner = {};
};

/// What Grundwerk.ReferentialChecker goes by.
struct ReferenceRules {
  std::vector<Reference> references;  ///< in the order in which they are checked
  /// By the owner of a row that is to be deleted: the ProgIDs of the classes with dependent rows, which may delete them
  /// or refuse.
  ByName<std::vector<std::string>> dependents;
};

/// The rules in force. They never change; `set_reference_rules` puts others in their place.
MERCATO_API std::shared_ptr<const ReferenceRules> reference_rules();
/// Puts other rules in force, for the whole process.
MERCATO_API void set_reference_rules(ReferenceRules rules);
/// What is in force at the start.
MERCATO_API ReferenceRules default_reference_rules();

}  // namespace mercato::collaborators
