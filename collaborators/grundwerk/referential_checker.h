// Grundwerk.ReferentialChecker: works from the rules of reference_rules.h, inside the caller's transaction.
// Tables and field names are compared in any case. `fields` and `values` are parallel arrays. A rule whose field is not
// among the fields is not asked, and a value that is Null, Empty or a blank text refers to nothing.
//
// Raises 13 or 6 for a value of a numeric key that reads as no long, 9 when the arrays' bounds differ, what the store
// raises, and what a class that is asked raises.
#pragma once

#include <string>

#include "platform/automation/class_table.h"

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

}  // namespace mercato::collaborators
