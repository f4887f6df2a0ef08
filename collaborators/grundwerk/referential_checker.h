// SPDX-License-Identifier: Apache-2.0
// Grundwerk.ReferentialChecker: works from the rules of reference_rules.h, inside the caller's transaction.
// Tables and field names are compared in any case. `fields` and `values` are parallel arrays. A rule whose field is not
// among the fields is not asked, and a value that is Null, Empty or a blank text refers to nothing.
//
// Raises 13 or 6 for a value of a numeric key that reads as no long, 9 when the arrays' bounds differ, what the store
// raises, and what a class that is asked raises.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/class_table.h"
#include "mercato/reference_rules.h"

namespace mercato::collaborators {

class ReferentialChecker : public ComponentOf<ReferentialChecker> {
 public:
  static const ClassTable& table();

  // True unless a configured owner of dependent rows refuses through its IReferentialIntegrity_BeforeDelete. None is
  // configured at the start.
  bool RunBeforeDelete(std::string& owner, Array& fields, Array& values);
  // Whether all references held by these values resolve. True for a table without rules.
  bool CheckReferences(const std::string& application, const std::string& table, const Variant& fields,
                       const Variant& values);
  // Whether no row refers to the one named by these values. True for a table without rules.
  bool CheckBeforeDelete(const std::string& application, const std::string& table, const Variant& fields,
                         const Variant& values);
};

// For hosts that say why the checker refuses. Both go by the rules in force, in their order, and raise what the class
// raises.

struct ReferringRows {
  Reference reference;
  std::int32_t rows;  // at least 1
};
// Which rows keep the row of this key from being deleted.
std::vector<ReferringRows> rows_that_refer(std::string_view table, const Variant& key);

// The reference that the value of this column holds, when the row that it names does not exist. Null refers to nothing,
// and neither does -1 in a column of numbers. The component Grundwerk.ReferentialChecker is asked, which may be a
// deployment's own.
std::optional<Reference> unresolved_reference(std::string_view table, std::string_view column, const Variant& value);

}  // namespace mercato::collaborators
