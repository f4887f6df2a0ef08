// SPDX-License-Identifier: Apache-2.0
#include "mercato/class_table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mercato/dictionary.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/registry.h"
#include "platform/store/statement_observer.h"
#include "tests/platform/failure_of.h"

namespace mercato {
namespace {

using test::failure_of;

// A class with one method of each kind.
class Sample : public ComponentOf<Sample> {
 public:
  static const ClassTable& table() {
    static const ClassTable table =
        ClassTable::of<Sample>("Test.Sample", "{00000000-0000-0000-0000-000000000001}", TransactionAttribute::none)
            .method("Describe", &Sample::Describe,
                    {"i_lId", "i_sText", "i_nShort", "i_dNumber", "i_bFlag", "i_dtDate", "i_cAmount"})
            .method("Swap", &Sample::Swap, {"a", "b"})
            .method("FailAfterChange", &Sample::FailAfterChange, {"text", "count"})
            .method("Sum", &Sample::Sum, {"first", optional("second", 10), optional("third")})
            .method("Items", &Sample::Items, {"list"})
            .takes("list", "array")
            .method("CountOf", &Sample::CountOf, {"dictionary"})
            .method("Old", &Sample::Old)
            .deprecated("Test.Sample.Sum")
            .method("Anything", &Sample::Anything)
            .returns("Recordset")
            .property("Name", &Sample::name, &Sample::set_name)
            .implements_referential_integrity(&Sample::BeforeDelete, &Sample::Exists);
    return table;
  }

  std::string Describe(std::int32_t id, const std::string& text, std::int16_t narrow, double number, bool flag,
                       Date date, Currency amount) {
    return std::to_string(id) + "|" + text + "|" + std::to_string(narrow) + "|" + Variant(number).to_text() + "|" +
           Variant(flag).to_text() + "|" + date.iso_text() + "|" + amount.text();
  }
  void Swap(std::string& a, std::string& b) { std::swap(a, b); }
  void FailAfterChange(std::string& text, std::int32_t& count) {
    text += " changed";
    ++count;
    raise(5, "Test.Sample", "failed");
  }
  std::int32_t Sum(std::int32_t first, std::int32_t second, const Variant& third) {
    return first + second + (third.is_missing() ? 100 : third.to_long());
  }
  std::int32_t Items(const Array& list) { return static_cast<std::int32_t>(list.items.size()); }
  std::int32_t CountOf(const DictionaryPtr& dictionary) { return dictionary ? dictionary->Count() : -1; }
  void Old() {}
  Variant Anything() { return kNull; }
  std::string name() const { return name_; }
  void set_name(const std::string& name) { name_ = name; }
  bool BeforeDelete(const Variant&, const Array&, const Array&) { return true; }
  bool Exists(const Variant&, const Array& fields, const Array&) { return !fields.items.empty(); }

 private:
  std::string name_ = "unnamed";
};

class Automation : public testing::Test {
 protected:
  Automation() { register_class(Sample::table()); }
  ~Automation() override { unregister_class(Sample::table()); }

  RaisedError failure(std::string_view method, std::vector<Variant> arguments) {
    return failure_of([&] { invoke(sample_, method, arguments); });
  }

  const ComponentPtr sample_ = std::make_shared<Sample>();
};

// The table

TEST_F(Automation, TheTableNamesTheClassAndItsDefaultInterface) {
  EXPECT_EQ(Sample::table().class_name(), "Sample");
  EXPECT_EQ(Sample::table().default_interface(), "_Sample");
  EXPECT_EQ(sample_->type_name(), "Sample");
  EXPECT_EQ(Sample::table().implements(), std::vector<std::string>{"IReferentialIntegrity"});
  EXPECT_EQ(attribute_name(TransactionAttribute::required), "required");
  EXPECT_EQ(attribute_name(TransactionAttribute::none), "none");
  EXPECT_EQ(attribute_name(TransactionAttribute::undeclared), "undeclared");
}

TEST_F(Automation, TheTableTakesTypesAndReferencesFromTheSignature) {
  std::vector<std::string> described;
  for (const MethodInfo& method : Sample::table().methods()) {
    std::string text = method.name + "(";
    for (const ArgumentInfo& argument : method.arguments)
      text += std::string(argument.type) + (argument.by_reference ? "& " : " ") + argument.name +
              (argument.optional ? " = " + std::string(argument.default_value.type_name()) : "") + ";";
    described.push_back(text + ") " + std::string(method.result) + (method.property ? " property" : "") +
                        method.deprecated);
  }
  EXPECT_EQ(described,
            (std::vector<std::string>{
                "Describe(long i_lId;string i_sText;short i_nShort;double i_dNumber;boolean i_bFlag;date i_dtDate;"
                "currency i_cAmount;) string",
                "Swap(string& a;string& b;) ",
                "FailAfterChange(string& text;long& count;) ",
                "Sum(long first;long second = Long;variant third = Missing;) long",
                "Items(array list;) long",
                "CountOf(Dictionary dictionary;) long",
                "Old() Test.Sample.Sum",
                "Anything() Recordset",
                "Name(string value = Missing;) string property",
            }));
}

// Calls

TEST_F(Automation, ACallFindsItsMethodInAnyCase) {
  EXPECT_EQ(invoke(sample_, "SUM", {1, 2, 3}), Variant(6));
  EXPECT_EQ(invoke(sample_, "sum", {1, 2, 3}), Variant(6));
  EXPECT_EQ(invoke(sample_, "ireferentialintegrity_EXISTS", {Variant(), Array{"A"}, Array{1}}), Variant(true));
}

TEST_F(Automation, ACallConvertsArgumentsToTheirTypes) {
  EXPECT_EQ(invoke(sample_, "Describe", {"2.5", 7, true, "1,000.5", "1", "7/1/2026", "1.23456"}),
            Variant("2|7|-1|1000.5|True|2026-07-01T00:00:00|1.2346"));
  EXPECT_EQ(invoke(sample_, "Describe", {Variant(), Variant(), Variant(), Variant(), Variant(), Variant(), Variant()}),
            Variant("0||0|0|False|1899-12-30T00:00:00|0"));
}

TEST_F(Automation, ACallWhoseArgumentDoesNotConvertFailsAsTheConversionDoes) {
  const std::vector<Variant> fitting = {1, "t", 1, 1, true, Date(1), Currency()};
  const std::vector<std::tuple<std::size_t, Variant, std::int32_t>> cases = {
      {0, "x", 13},  {0, 3e9, 6}, {0, kNull, 94}, {1, kNull, 94},   {1, Array{1}, 13},
      {2, 40000, 6}, {3, "", 13}, {4, "yes", 13}, {5, "never", 13}, {6, "much", 13},
  };
  for (const auto& [position, value, number] : cases) {
    std::vector<Variant> arguments = fitting;
    arguments[position] = value;
    EXPECT_EQ(failure("Describe", arguments).Number, number) << position;
  }
  EXPECT_EQ(failure("Items", {"no array"}).Number, 13);
  EXPECT_EQ(failure("CountOf", {5}).Number, 424);
  EXPECT_EQ(failure("CountOf", {sample_}).Number, 13);
}

TEST_F(Automation, NothingStandsForNoObject) {
  EXPECT_EQ(invoke(sample_, "CountOf", {Variant()}), Variant(-1));
  EXPECT_EQ(invoke(sample_, "CountOf", {ObjectPtr()}), Variant(-1));
  EXPECT_EQ(invoke(sample_, "CountOf", {std::make_shared<Dictionary>()}), Variant(0));
}

TEST_F(Automation, ArgumentsByReferenceComeBack) {
  std::vector<Variant> arguments = {"left", 5};
  EXPECT_TRUE(invoke(sample_, "Swap", arguments).is_empty());
  EXPECT_EQ(arguments, (std::vector<Variant>{"5", "left"}));
}

TEST_F(Automation, ArgumentsByReferenceComeBackAlsoFromAFailure) {
  std::vector<Variant> arguments = {"text", 7};
  EXPECT_EQ(failure_of([&] { invoke(sample_, "FailAfterChange", arguments); }),
            (RaisedError{5, "Test.Sample", "failed", "", 0}));
  EXPECT_EQ(arguments, (std::vector<Variant>{"text changed", 8}));
}

TEST_F(Automation, ArgumentsStayAsTheyAreWhenOneDoesNotConvert) {
  std::vector<Variant> arguments = {5, "x"};
  EXPECT_EQ(failure_of([&] { invoke(sample_, "FailAfterChange", arguments); }).Number, 13);
  EXPECT_EQ(arguments, (std::vector<Variant>{5, "x"}));
}

TEST_F(Automation, OptionalArgumentsHaveTheirDefaults) {
  std::vector<Variant> arguments = {1};
  EXPECT_EQ(invoke(sample_, "Sum", arguments), Variant(111));
  EXPECT_EQ(arguments, (std::vector<Variant>{1, 10, kMissing}));
  EXPECT_EQ(invoke(sample_, "Sum", {1, kMissing, 3}), Variant(14));
  EXPECT_EQ(invoke(sample_, "Sum", {1, 2}), Variant(103));
}

TEST_F(Automation, AMissingArgumentThatIsNotOptionalFails) {
  EXPECT_EQ(failure("Sum", {}),
            (RaisedError{449, "Mercato", "Test.Sample.Sum: argument first is not optional", "", 0}));
  EXPECT_EQ(failure("Sum", {kMissing, 2}).Number, 449);
}

TEST_F(Automation, MissingMayBeHandedOnWhereAnyValueIsTaken) {
  EXPECT_EQ(invoke(sample_, "IReferentialIntegrity_Exists", {kMissing, Array{"A"}, Array{1}}), Variant(true));
  EXPECT_EQ(failure("IReferentialIntegrity_Exists", {}).Number, 449);
  EXPECT_EQ(failure("IReferentialIntegrity_Exists", {Variant(), kMissing, Array{}}).Number, 449);
}

TEST_F(Automation, TooManyArgumentsFail) {
  EXPECT_EQ(failure("Sum", {1, 2, 3, 4}),
            (RaisedError{450, "Mercato", "Test.Sample.Sum takes at most 3 arguments", "", 0}));
}

TEST_F(Automation, AnUnknownMethodFails) {
  EXPECT_EQ(failure("Product", {}), (RaisedError{438, "Mercato", "Test.Sample has no method Product", "", 0}));
  EXPECT_EQ(failure("", {}).Number, 438);
}

TEST_F(Automation, ACallOnNothingFails) {
  EXPECT_EQ(failure_of([] { invoke(nullptr, "Sum", {1}); }).Number, 91);
}

TEST_F(Automation, APropertyIsReadWithoutAnArgumentAndWrittenWithOne) {
  EXPECT_EQ(invoke(sample_, "Name", {}), Variant("unnamed"));
  EXPECT_TRUE(invoke(sample_, "name", {"new"}).is_empty());
  EXPECT_EQ(invoke(sample_, "NAME", {}), Variant("new"));
}

// Observers

class Answering : public CallObserver {
 public:
  Answering() : previous_(set_call_observer(this)) {}
  ~Answering() override { set_call_observer(previous_); }
  Answering(const Answering&) = delete;
  Answering& operator=(const Answering&) = delete;

  bool on_call(const ClassTable& table, const MethodInfo& method, std::span<Variant> arguments,
               Variant& result) override {
    seen.push_back(table.prog_id() + "." + method.name + "/" + std::to_string(arguments.size()));
    if (method.name == "Sum") {
      result = "answered";
      return true;
    }
    if (method.name == "Old") raise(7, "Observer", "refused");
    if (method.name == "Swap") arguments[0] = "from outside";
    return false;
  }

  std::vector<std::string> seen;

 private:
  CallObserver* previous_;
};

TEST_F(Automation, AnObserverSeesCallsWithTheirDefaultsAndMayAnswerOrRefuseThem) {
  Answering observer;
  EXPECT_EQ(invoke(sample_, "sum", {1}), Variant("answered"));
  EXPECT_EQ(failure("Old", {}), (RaisedError{7, "Observer", "refused", "", 0}));
  EXPECT_EQ(invoke(sample_, "Items", {Array{1, 2}}), Variant(2));
  std::vector<Variant> arguments = {"a", "b"};
  invoke(sample_, "Swap", arguments);
  EXPECT_EQ(arguments, (std::vector<Variant>{"b", "from outside"}));
  EXPECT_EQ(observer.seen, (std::vector<std::string>{"Test.Sample.Sum/3", "Test.Sample.Old/0", "Test.Sample.Items/1",
                                                     "Test.Sample.Swap/2"}));
}

TEST_F(Automation, AnObserverIsGoneWhenItIsReplaced) {
  { Answering observer; }
  EXPECT_EQ(invoke(sample_, "Sum", {1}), Variant(111));
}

// Registry

TEST_F(Automation, ARegisteredClassIsFoundByProgIdAndClassIdInAnyCase) {
  EXPECT_EQ(registered_class("test.SAMPLE"), &Sample::table());
  EXPECT_EQ(registered_class_id("{00000000-0000-0000-0000-000000000001}"), &Sample::table());
  EXPECT_EQ(registered_class("Test.Other"), nullptr);
  EXPECT_EQ(registered_class_id("{}"), nullptr);
}

TEST_F(Automation, TheLastClassUnderAProgIdAnswersToIt) {
  static const ClassTable other =
      ClassTable::of<Sample>("TEST.Sample", "{00000000-0000-0000-0000-000000000002}", TransactionAttribute::none);
  register_class(other);
  EXPECT_EQ(registered_class("Test.Sample"), &other);
  unregister_class(Sample::table());  // the ProgID belongs to another class by now
  EXPECT_EQ(registered_class("Test.Sample"), &other);
  unregister_class(other);
  EXPECT_EQ(registered_class("Test.Sample"), nullptr);
}

TEST_F(Automation, NobodyAnsweringToAProgIdIsAFailure) {
  EXPECT_EQ(failure_of([] { create_plain("Test.Nobody"); }),
            (RaisedError{429, "Mercato", "Component can't create object: nobody answers to 'Test.Nobody'", "", 0}));
  EXPECT_EQ(failure_of([] { create_root("Test.Nobody"); }).Number, 429);
  EXPECT_EQ(create_plain("test.sample")->context(), nullptr);
  EXPECT_NE(create_root("test.sample")->context(), nullptr);
}

}  // namespace
}  // namespace mercato
