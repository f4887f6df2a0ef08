// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "platform/xml/document.h"
#include "tests/platform/failure_of.h"
#include "tests/platform/xml/loaded_document.h"

namespace mercato::xml {
namespace {

using test::failure_of;

using Texts = std::vector<std::string>;

bool same(const NodeList& left, const NodeList& right) {
  if (left.size() != right.size()) return false;
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (!(left.item(i) == right.item(i))) return false;
  }
  return true;
}

RaisedError refused(const std::string& expression, const std::string& reason) {
  return {error_number::kStoreFailure,
          "Mercato",
          "The expression \"" + expression + "\" cannot be evaluated: " + reason,
          {},
          0};
}

TEST(Selecting, ARecordIsFoundByItsKey) {
  const Document document = loaded("<a><P k='1'>x</P><b><P k='2'>y</P></b><P k='1'>z</P><P>none</P></a>");
  EXPECT_EQ(values(document.select("//P[@k = '1']")), (Texts{"x", "z"}));
  EXPECT_EQ(values(document.select("//P[@k = '2']")), (Texts{"y"}));
  EXPECT_TRUE(document.select("//P[@k = '3']").empty());
  EXPECT_EQ(document.select_first("//P[@k = '1']").typed_value(), "x");
  EXPECT_TRUE(document.select_first("//P[@k = '3']").is_null());
}

TEST(Selecting, AnEmptyKeyIsFoundAndAMissingOneIsNot) {
  const Document document = loaded("<a><P k=''>x</P><P>y</P></a>");
  EXPECT_EQ(values(document.select("//P[@k = '']")), (Texts{"x"}));
}

TEST(Selecting, AKeyWithAnApostropheMakesTheExpressionMalformed) {
  const Document document = loaded("<a><P k=\"O'Brien\">x</P></a>");
  const std::string expression = "//P[@k = 'O'Brien']";
  const RaisedError failure = failure_of([&] { document.select(expression); });
  EXPECT_EQ(failure, refused(expression, failure.Description.substr(failure.Description.find(": ") + 2)));
  EXPECT_EQ(failure_of([&] { document.select_first(expression); }), failure);
}

TEST(Selecting, AnApostropheCannotEndTheKeyAndGoOn) {
  const Document document = loaded("<a><P k='1'>x</P><P k='2'>y</P></a>");
  // Well-formed expressions, but not of the plain form: they are evaluated in full.
  EXPECT_EQ(values(document.select("//P[@k = '' or @k = '2']")), (Texts{"y"}));
  EXPECT_EQ(values(document.select("//P[@k = '1'] | //P[@k = '2']")), (Texts{"x", "y"}));
  EXPECT_NE(failure_of([&] { document.select("//P[@k = '1']']"); }).Number, 0);
  EXPECT_NE(failure_of([&] { document.select("//P[@k = '1''']"); }).Number, 0);
}

TEST(Selecting, MalformedExpressionsRaiseWithTheExpressionAndTheReason) {
  const Document document = loaded("<a/>");
  for (const std::string expression : {"", "//", "//P[", "//P[@k = '1'", "//P[@k = '1']]", "///P", "//P[@ = '1']"}) {
    const RaisedError failure = failure_of([&] { document.select(expression); });
    const std::string begin = refused(expression, "").Description;
    EXPECT_EQ(failure.Number, error_number::kStoreFailure) << expression;
    EXPECT_EQ(failure.Description.substr(0, begin.size()), begin);
    EXPECT_GT(failure.Description.size(), begin.size());
  }
  EXPECT_EQ(failure_of([&] { document.select(std::string_view("//P[@k = '\0']", 13)); }),
            refused("//P[@k = '", "It contains a NUL"));
}

TEST(Selecting, AnExpressionThatGivesNoNodesRaises) {
  EXPECT_EQ(failure_of([] { loaded("<a/>").select("1 + 1"); }),
            refused("1 + 1", "Expression does not evaluate to node set"));
}

TEST(Selecting, OtherExpressionsAreEvaluatedInFull) {
  const Document document = loaded("<a><P k='1'>x</P><b><P k='2'>y</P></b><or k='1'/></a>");
  EXPECT_EQ(values(document.select("P")), (Texts{"x"}));
  EXPECT_EQ(values(document.select("/a/b/P")), (Texts{"y"}));
  EXPECT_EQ(values(document.select("//P[last()]")), (Texts{"x", "y"}));
  EXPECT_EQ(values(document.select("(//P)[last()]")), (Texts{"y"}));
  EXPECT_EQ(document.select("//or[@k = '1']").size(), 1u);
  EXPECT_EQ(document.select("//*").size(), 5u);
  EXPECT_EQ(document.select("..").item(0).type(), NodeType::kDocument);
}

TEST(Selecting, AttributesAreNodesToo) {
  const Document document = loaded("<a><P k='1'/><P k='2' j='3'/></a>");
  const NodeList list = document.select("//P/@*");
  EXPECT_EQ(values(list), (Texts{"1", "2", "3"}));
  EXPECT_EQ(list.item(2).type(), NodeType::kAttribute);
  EXPECT_EQ(list.item(2).name(), "j");
  EXPECT_EQ(list.item(2).attribute("j"), std::nullopt);
  EXPECT_FALSE(list.item(2).has_children());
  EXPECT_TRUE(list.item(2).children().empty());
  EXPECT_EQ(list.item(2).parent(), document.select("//P").item(1));
  EXPECT_FALSE(list.item(2) == list.item(1));
}

TEST(Selecting, AfterRemovalsOtherExpressionsSeeNothingOfWhatWasRemoved) {
  const Document document = loaded("<a><P k='1'>x</P><P k='2'>y</P><!--c--><P k='3'>z</P></a>");
  document.select_first("//P[@k = '2']").remove();
  EXPECT_EQ(values(document.select("(//P)[2]")), (Texts{"z"}));
  EXPECT_EQ(document.select("//P[count(//P) = 2]").size(), 2u);
  EXPECT_EQ(values(document.select("//P/@k")), (Texts{"1", "3"}));
  EXPECT_EQ(document.select("/*").size(), 1u);
  EXPECT_TRUE(same(document.select("//P[@k='3']"), document.select("//P[@k = '3']")));
}

TEST(Selecting, AListIsASnapshotAndALaterOneIsNot) {
  const Document document = loaded("<a><P/><P/><P/></a>");
  const NodeList before = document.select("//P");
  before.item(1).remove();
  EXPECT_EQ(before.size(), 3u);
  EXPECT_EQ(document.select("//P").size(), 2u);
  EXPECT_TRUE(before.item(3).is_null());
}

TEST(Selecting, NamespaceDeclarationsAreNoKeys) {
  const Document document = loaded("<a><P xmlns='u' xmlnsx='u'/></a>");
  EXPECT_EQ(document.select("//P[@xmlns = 'u']").size(), document.select("//P[@xmlns='u']").size());
  EXPECT_EQ(document.select("//P[@xmlnsx = 'u']").size(), 1u);
}

// The quick way to a record must give what the full evaluation gives. One blank more or less does not change what an
// expression means, but makes it go through the full evaluation.
class ShortAndLongWay {
 public:
  explicit ShortAndLongWay(std::uint32_t seed) : random_(seed) {}

  std::string document() {
    std::string text = "<?xml version=\"1.0\"?><!--P--><" + pick(kNames) + ">";
    std::vector<std::string> open;
    for (std::size_t i = 0, steps = 20 + below(200); i < steps; ++i) {
      switch (below(5)) {
        case 0:
        case 1:
          open.push_back(pick(kNames));
          text += start_tag(open.back()) + ">";
          break;
        case 2:
          text += start_tag(pick(kNames)) + "/>";
          break;
        case 3:
          if (open.empty()) break;
          text += "</" + open.back() + ">";
          open.pop_back();
          break;
        default:
          text += pick({" ", "text", "<![CDATA[<P k='a'/>]]>", "<!-- <P k='a'/> -->", "&amp;"});
          break;
      }
    }
    for (; !open.empty(); open.pop_back()) text += "</" + open.back() + ">";
    const auto root = text.find("<!--P--><") + 9;
    return text + "</" + text.substr(root, text.find('>', root) - root) + ">";
  }

  void compare(const Document& document) {
    for (const std::string& name : kNames) {
      EXPECT_TRUE(same(document.select("//" + name), document.select("// " + name))) << name;
      EXPECT_TRUE(same(document.elements_by_tag_name(name), document.select("/descendant::" + name))) << name;
      for (const std::string& key : kKeys) {
        for (const std::string& value : kValues) {
          const std::string begin = "//" + name + "[@" + key;
          const NodeList short_way = document.select(begin + " = '" + value + "']");
          const NodeList long_way = document.select(begin + "= '" + value + "']");
          EXPECT_TRUE(same(short_way, long_way)) << begin << " " << value;
          EXPECT_EQ(document.select_first(begin + " = '" + value + "']"), long_way.item(0)) << begin << " " << value;
          found_ += short_way.size();
        }
      }
    }
  }

  // Removes one element, text or comment; false when there is none.
  bool remove_any(const Document& document) {
    const NodeList all = document.select(below(4) == 0 ? "//node()[..!=/]" : "//P[@k = '" + pick(kValues) + "']");
    const NodeList list = all.empty() ? document.select("/*//*") : all;
    if (list.empty()) return false;
    list.item(below(list.size())).remove();
    return true;
  }

  std::size_t found() const { return found_; }
  std::size_t below(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_); }

 private:
  const std::string& pick(const std::vector<std::string>& from) { return from[below(from.size())]; }
  std::string pick(std::initializer_list<const char*> from) { return *(from.begin() + below(from.size())); }

  std::string start_tag(const std::string& name) {
    std::string tag = "<" + name;
    for (const std::string& key : kKeys) {
      if (below(3) == 0) continue;
      tag += " " + key + "=\"" +
             pick({"", "a", "a b", " a", "a&amp;b", "&quot;", "it&apos;s", "&#228;", "]", "a&#10;b"}) + "\"";
    }
    return tag;
  }

  const std::vector<std::string> kNames = {"P", "Pr", "div", "P-1.x"};
  const std::vector<std::string> kKeys = {"k", "or", "k-2"};
  const std::vector<std::string> kValues = {"",         "a", "a b",  " a",      "a&b", "\"",
                                            "\xC3\xA4", "]", "a\nb", "a&amp;b", "none"};
  std::mt19937 random_;
  std::size_t found_ = 0;
};

TEST(ShortWay, GivesWhatTheFullEvaluationGivesAlsoAfterRemovals) {
  ShortAndLongWay ways(20260701);
  for (int round = 0; round < 60; ++round) {
    const std::string text = ways.document();
    const Document document = loaded(text);
    // In half of the documents nothing is looked up before the first removal.
    if (round % 2 == 0) ways.compare(document);
    for (int removal = 0; removal < 6 && ways.remove_any(document); ++removal) {
      // Several removals between two look-ups, sometimes.
      if (ways.below(3) != 0) ways.compare(document);
    }
    ways.compare(document);
    if (testing::Test::HasFailure()) FAIL() << text;
  }
  EXPECT_GT(ways.found(), 10'000u);  // enough of them found something to compare
}

}  // namespace
}  // namespace mercato::xml
