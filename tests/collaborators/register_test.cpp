// SPDX-License-Identifier: Apache-2.0
#include "collaborators/register.h"

#include <gtest/gtest.h>

#include <set>

namespace mercato::collaborators {
namespace {

TEST(CollaboratorClasses, EachIsKnownByItsProgIdAndAClassIdOfItsOwn) {
  std::set<std::string> prog_ids;
  std::set<std::string> class_ids;
  for (const ClassTable* table : collaborator_classes()) {
    prog_ids.insert(table->prog_id());
    class_ids.insert(table->class_id());
    EXPECT_TRUE(table->is_collaborator()) << table->prog_id();
    EXPECT_EQ(table->attribute(), TransactionAttribute::undeclared) << table->prog_id();
    EXPECT_EQ(&table->create()->class_table(), table) << table->prog_id();
  }
  EXPECT_EQ(prog_ids, (std::set<std::string>{"Bauteil.DRecordset", "Bauteil.Page", "Grundwerk.Configuration",
                                             "Grundwerk.Log", "Grundwerk.ReferentialChecker", "Spreadsheet.Reader",
                                             "Zentrik.BusinessPartner", "Zentrik.Currency", "Zentrik.User"}));
  EXPECT_EQ(class_ids.size(), collaborator_classes().size());
}

// An upload commits before it calls any other one, which costs it a commit for each record.
TEST(CollaboratorClasses, OnlyThoseOfFilesAndPagesMayWait) {
  std::set<std::string> may_wait;
  for (const ClassTable* table : collaborator_classes())
    if (table->may_wait()) may_wait.insert(table->prog_id());
  EXPECT_EQ(may_wait, (std::set<std::string>{"Bauteil.DRecordset", "Bauteil.Page", "Grundwerk.Log"}));
}

TEST(CollaboratorClasses, WhatCalleesMayUpdateIsPassedByReference) {
  const auto by_reference = [](std::string_view class_name, std::string_view method) {
    std::string names;
    for (const ClassTable* table : collaborator_classes())
      if (table->class_name() == class_name)
        for (const ArgumentInfo& argument : table->find(method)->arguments)
          if (argument.by_reference) names += argument.name + " ";
    return names;
  };
  EXPECT_EQ(by_reference("Log", "WriteEntry"), "source text severity ");
  EXPECT_EQ(by_reference("Log", "WriteEntryAlternate"), "source text severity ");
  EXPECT_EQ(by_reference("ReferentialChecker", "RunBeforeDelete"), "owner fields values ");
  EXPECT_EQ(by_reference("ReferentialChecker", "CheckReferences"), "");
  EXPECT_EQ(by_reference("Page", "GetSavedPosition"), "position flag ");
}

}  // namespace
}  // namespace mercato::collaborators
