// SPDX-License-Identifier: Apache-2.0
#include "mercato/contract.h"

#include <gtest/gtest.h>

#include "mercato/object_context.h"
#include "tests/support/failure_trail.h"
#include "tests/support/hostile_texts.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

using ContractTest = StoreTest;

TEST_F(ContractTest, EveryMethodIsRetiredAndSaysSo) {
  Root<Contract> contract;
  const auto before = all_rows();
  const FailureTrail expected = trail({-1, "Mercato", "Application-defined or object-defined error", "", 0},
                                      {{"This method is depricated, Contract module is now not being used in Vorn"}});
  const Array fields{"CONTRACTCODE"};
  for (const std::string& text : {std::string("K-1"), std::string(), hostile_texts()[5]}) {
    const Array values{text};
    const std::vector<std::pair<std::string, std::vector<Variant>>> calls = {
        {"Delete", {text, std::int16_t{1}}},
        {"Insert", {text, std::int16_t{1}, fields, values}},
        {"Update", {text, std::int16_t{1}, fields, values}},
        {"PostToContract", {text, std::int16_t{1}, Variant(12.5).to_currency(), text, true, Date(46204)}},
        {"GetAllContracts", {}},
        {"IReferentialIntegrity_BeforeDelete", {Variant(), fields, values}},
        {"IReferentialIntegrity_Exists", {Variant(), fields, values}},
    };
    for (const auto& [method, arguments] : calls) {
      Recorder recorder;
      std::vector<Variant> given = arguments;
      EXPECT_EQ(raised_by([&, name = method] { invoke(contract.object(), name, given); }), expected.raised) << method;
      EXPECT_EQ(recorder.log, expected.log);
      EXPECT_TRUE(recorder.statements.empty());
      EXPECT_EQ(contract.context().vote_of_last_call(), Vote::none);
      EXPECT_EQ(contract.context().outcome_of_last_call(), Outcome::none);
    }
  }
  EXPECT_EQ(all_rows(), before);
}

TEST_F(ContractTest, TableListsWhatTheClassHad) {
  std::vector<std::string> methods;
  for (const MethodInfo& method : Contract::table().methods()) {
    methods.push_back(method.name);
    EXPECT_FALSE(method.deprecated.empty()) << method.name;
  }
  EXPECT_EQ(methods, (std::vector<std::string>{"Delete", "Insert", "Update", "PostToContract", "GetAllContracts"}));
  EXPECT_EQ(Contract::table().attribute(), TransactionAttribute::undeclared);
}

}  // namespace
}  // namespace mercato::test
