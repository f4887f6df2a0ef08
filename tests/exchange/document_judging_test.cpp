// SPDX-License-Identifier: Apache-2.0
// How records of the library's own documents are judged before the library sees them.
#include "exchange/document_judging.h"

#include <gtest/gtest.h>

namespace mercato::exchange {
namespace {

constexpr upload::DocumentKind kProducts = upload::kProductDocument;
constexpr upload::DocumentKind kPrices = upload::kPriceDocument;

xml::Document loaded(const std::string& text) {
  xml::Limits limits;
  limits.keeps_lines = true;
  xml::Document document(limits);
  EXPECT_TRUE(document.load_text(text)) << document.error();
  return document;
}

// "taken", "refused" or the text of the record that is written in its place; and a line for each finding.
std::string judged(const upload::DocumentKind& kind, const JudgingOptions& options, const std::string& fields) {
  const std::string name(kind.record);
  const xml::Document document = loaded("<r>\n<" + name + " buyfrompartnumber='A'>\n" + fields + "</" + name + "></r>");
  DocumentJudge judge(kind, options);
  const JudgedRecord record = judge.judge(document.elements_by_tag_name(name).item(0));
  std::string told = record.refused ? "refused" : record.rewritten ? record.text : "taken";
  for (const Finding& finding : record.findings)
    told += "\n" + std::string(words_of(finding.reason).name) + " " + finding.field + " '" + finding.value + "' @" +
            std::to_string(finding.place.line) + (finding.accepted ? " accepted" : "");
  return told;
}
std::string product(const std::string& fields, const JudgingOptions& options = {}) {
  return judged(kProducts, options, fields);
}
std::string price(const std::string& fields, const JudgingOptions& options = {}) {
  return judged(kPrices, options, fields);
}
JudgingOptions accepting(std::set<Reason> reasons) {
  JudgingOptions options;
  options.accepted = std::move(reasons);
  return options;
}

TEST(DocumentJudging, TakesWhatTheLibraryReadsAsItIsMeant) {
  EXPECT_EQ(
      product("<LOTSIZE>12.50</LOTSIZE><MULTIPLEOF> 5 </MULTIPLEOF><PRODUCTEXPIRYDATE>2026-04-03</PRODUCTEXPIRYDATE>"
              "<PRODUCTEFFECTIVITYDATE>12/31/2025</PRODUCTEFFECTIVITYDATE><UNIT>EA</UNIT><Colour>red</Colour>"
              "<PRODUCTDESCRIPTION>It's here</PRODUCTDESCRIPTION><URL/><MINORDERQTY>1,234.50</MINORDERQTY>"),
      "taken");
  EXPECT_EQ(price("<Price>1.2345</Price><QuantityTo>10</QuantityTo><PriceEffectiveDate>1/1/2026</PriceEffectiveDate>"
                  "<PriceExpiryDate>March 4, 2026</PriceExpiryDate><GROUPBY/>"),
            "taken");
}

TEST(DocumentJudging, LeavesToTheLibraryWhatItRefusesByItself) {
  EXPECT_EQ(product("<LOTSIZE>many</LOTSIZE><PRODUCTEXPIRYDATE>soon</PRODUCTEXPIRYDATE><UNITCODE>no</UNITCODE>"
                    "<MULTIPLEBUYER>yes</MULTIPLEBUYER><LOTSIZE/>"),
            "taken");
  EXPECT_EQ(price("<Price>much</Price><PriceExpiryDate>never</PriceExpiryDate><DiscountPerc>101</DiscountPerc>"),
            "taken");
}

TEST(DocumentJudging, RefusesNumbersThatTheLibraryWouldReadOtherwise) {
  EXPECT_EQ(product("<LOTSIZE>12,50</LOTSIZE>\n<MULTIPLEOF>1,250</MULTIPLEOF>\n<MINORDERQTY>-3</MINORDERQTY>"),
            "refused\nnumber LOTSIZE '12,50' @3\nambiguous-number MULTIPLEOF '1,250' @4\nnegative MINORDERQTY '-3' @5");
  EXPECT_EQ(price("<Price>12,50</Price><FreightCost>0.00001</FreightCost><DiscountAmount>-1</DiscountAmount>"),
            "refused\nnumber Price '12,50' @3\nprice-decimals FreightCost '0.00001' @3\n"
            "negative DiscountAmount '-1' @3");
}

TEST(DocumentJudging, ReadsNumbersWithTheDecimalSignThatItIsTold) {
  JudgingOptions options;
  options.decimal_sign = ',';
  EXPECT_EQ(product("<LOTSIZE>12,50</LOTSIZE><MULTIPLEOF>1.250</MULTIPLEOF><URL>a&amp;b</URL>", options),
            "<Product buyfrompartnumber=\"A\"><LOTSIZE>12.5</LOTSIZE><MULTIPLEOF>1250</MULTIPLEOF>"
            "<URL>a&amp;b</URL></Product>");
  EXPECT_EQ(product("<LOTSIZE>12.50</LOTSIZE>", options), "refused\nnumber LOTSIZE '12.50' @3");
}

TEST(DocumentJudging, RefusesDatesThatCanBeReadTwoWaysOrAreNone) {
  EXPECT_EQ(product("<PRODUCTEXPIRYDATE>04/03/2026</PRODUCTEXPIRYDATE>"
                    "<PRODUCTEFFECTIVITYDATE>10:30</PRODUCTEFFECTIVITYDATE>"),
            "refused\nambiguous-date PRODUCTEXPIRYDATE '04/03/2026' @3\ndate PRODUCTEFFECTIVITYDATE '10:30' @3");
  JudgingOptions options;
  options.dates = Notation::Dates::day_first;
  EXPECT_EQ(price("<PriceExpiryDate>04/03/2026</PriceExpiryDate>", options),
            "<ProductPrice buyfrompartnumber=\"A\"><PriceExpiryDate>2026-03-04</PriceExpiryDate></ProductPrice>");
  options.dates = Notation::Dates::month_first;
  EXPECT_EQ(price("<PriceExpiryDate>04/03/2026</PriceExpiryDate>", options), "taken");
}

TEST(DocumentJudging, RefusesWhatWouldBeCut) {
  const std::string long_value(31, 'x');
  const std::string findings = "\ntoo-long BUYERID '" + long_value + "' @3\ntoo-long Colour '" + long_value + "' @3";
  const std::string fields = "<BUYERID>" + long_value + "</BUYERID><Colour>" + long_value + "</Colour>";
  EXPECT_EQ(product(fields), "refused" + findings);
  EXPECT_EQ(
      product(fields, accepting({Reason::too_long})),
      "taken\ntoo-long BUYERID '" + long_value + "' @3 accepted\ntoo-long Colour '" + long_value + "' @3 accepted");
  EXPECT_EQ(product("<MULTIPLEBUYERSEPARATOR>;</MULTIPLEBUYERSEPARATOR><BUYERID>" + long_value + "</BUYERID>"),
            "taken");
}

TEST(DocumentJudging, RefusesPropertiesThatAreMeantToBeFieldsOrCannotBe) {
  EXPECT_EQ(product("<PRODUTDESCRIPTION>Nut</PRODUTDESCRIPTION><ProductId>5</ProductId><Colour>red 'n' blue</Colour>"),
            "refused\nnear-name PRODUTDESCRIPTION 'Nut' @3\nreserved-name ProductId '5' @3\n"
            "apostrophe Colour 'red 'n' blue' @3");
  EXPECT_EQ(product("<ProductId>5</ProductId><Colour>red 'n' blue</Colour>",
                    accepting({Reason::reserved_name, Reason::apostrophe})),
            "<Product buyfrompartnumber=\"A\"><Colour>red ’n’ blue</Colour></Product>\n"
            "reserved-name ProductId '5' @3 accepted\napostrophe Colour 'red 'n' blue' @3 accepted");
}

TEST(DocumentJudging, NeverAcceptsWhatCanBeReadTwoWays) {
  EXPECT_EQ(product("<LOTSIZE>1,250</LOTSIZE>", accepting({Reason::ambiguous_number})),
            "refused\nambiguous-number LOTSIZE '1,250' @3");
}

TEST(DocumentJudging, FindsElementsThatAnUploadPassesOver) {
  const xml::Document document =
      loaded("<r><Product buyfrompartnumber='A'/>\n<product buyfrompartnumber='B'/><Header/><PRODUCT/></r>");
  std::string told;
  for (const xml::Node& element : passed_over(document, kProducts)) {
    const Finding finding = of_passed_over(element);
    told += finding.field + " " + finding.number + " @" + std::to_string(finding.place.line) + " ";
  }
  EXPECT_EQ(told, "product B @2 PRODUCT  @2 ");
}

}  // namespace
}  // namespace mercato::exchange
