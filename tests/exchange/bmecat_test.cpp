// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/bmecat.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "bench/support/data_folder.h"
#include "exchange/input/source.h"
#include "tests/exchange/told.h"

namespace mercato::exchange {
namespace {

std::string catalogue(const std::string& content) {
  return "<BMECAT version=\"1.2\"><T_NEW_CATALOG>" + content + "</T_NEW_CATALOG></BMECAT>";
}
std::string article(const std::string& content) {
  return catalogue("<ARTICLE><SUPPLIER_AID>A1</SUPPLIER_AID>" + content + "</ARTICLE>");
}
std::string prices(const std::string& content) {
  return article("<ARTICLE_PRICE_DETAILS>" + content + "</ARTICLE_PRICE_DETAILS>");
}

constexpr char kVersion12[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE BMECAT SYSTEM "bmecat_new_catalog_1_2.dtd">
<BMECAT version="1.2" xmlns="http://www.bmecat.org/bmecat/1.2/bmecat_new_catalog">
<HEADER>
 <CATALOG><LANGUAGE>deu</LANGUAGE><CATALOG_ID>S26</CATALOG_ID><CATALOG_VERSION>2.1</CATALOG_VERSION>
  <TERRITORY>DE</TERRITORY><TERRITORY>AT</TERRITORY><CURRENCY>EUR</CURRENCY><MIME_ROOT>pictures</MIME_ROOT></CATALOG>
 <BUYER><BUYER_ID>B7</BUYER_ID><BUYER_NAME>Town works</BUYER_NAME></BUYER>
 <AGREEMENT><AGREEMENT_ID>9</AGREEMENT_ID>
  <DATETIME type="agreement_start_date"><DATE>2026-01-01</DATE><TIME>00:00:00</TIME></DATETIME>
  <DATETIME type="agreement_end_date"><DATE>2026-12-31</DATE></DATETIME></AGREEMENT>
 <SUPPLIER><SUPPLIER_ID type="duns">123</SUPPLIER_ID><SUPPLIER_NAME>Quillmarch</SUPPLIER_NAME></SUPPLIER>
 <USER_DEFINED_EXTENSIONS><UDX.QM.SEASON>1</UDX.QM.SEASON></USER_DEFINED_EXTENSIONS>
</HEADER>
<T_NEW_CATALOG>
 <CATALOG_GROUP_SYSTEM>
  <GROUP_SYSTEM_ID>1</GROUP_SYSTEM_ID>
  <CATALOG_STRUCTURE type="root"><GROUP_ID>1</GROUP_ID><GROUP_NAME>All</GROUP_NAME><PARENT_ID>0</PARENT_ID></CATALOG_STRUCTURE>
  <CATALOG_STRUCTURE type="leaf"><GROUP_ID>12</GROUP_ID><GROUP_NAME>Paper &amp; ink</GROUP_NAME><PARENT_ID>1</PARENT_ID></CATALOG_STRUCTURE>
 </CATALOG_GROUP_SYSTEM>
 <ARTICLE mode="new">
  <SUPPLIER_AID>QM-1</SUPPLIER_AID>
  <ARTICLE_DETAILS>
   <DESCRIPTION_SHORT>Copy paper</DESCRIPTION_SHORT>
   <DESCRIPTION_LONG>White, 80 g/m²</DESCRIPTION_LONG>
   <EAN>2000071000112</EAN>
   <SUPPLIER_ALT_AID>OLD-1</SUPPLIER_ALT_AID>
   <BUYER_AID type="erp">M-100007</BUYER_AID>
   <MANUFACTURER_AID>PAP81322</MANUFACTURER_AID>
   <MANUFACTURER_NAME>Mill</MANUFACTURER_NAME>
   <ERP_GROUP_BUYER>OFFICE</ERP_GROUP_BUYER>
   <ERP_GROUP_SUPPLIER>P1</ERP_GROUP_SUPPLIER>
   <DELIVERY_TIME>3</DELIVERY_TIME>
   <SPECIAL_TREATMENT_CLASS type="GGVS">1201</SPECIAL_TREATMENT_CLASS>
   <KEYWORD>paper</KEYWORD>
   <REMARKS>Free to the point of use</REMARKS>
   <ARTICLE_STATUS type="core_article">core</ARTICLE_STATUS>
  </ARTICLE_DETAILS>
  <ARTICLE_FEATURES>
   <REFERENCE_FEATURE_SYSTEM_NAME>UNSPSC-7.0</REFERENCE_FEATURE_SYSTEM_NAME>
   <REFERENCE_FEATURE_GROUP_ID>14111507</REFERENCE_FEATURE_GROUP_ID>
   <FEATURE><FNAME>Weight</FNAME><FVALUE>80</FVALUE><FUNIT>GM</FUNIT></FEATURE>
   <FEATURE><FNAME>Size</FNAME><FVALUE>A4</FVALUE><FVALUE>A3</FVALUE></FEATURE>
  </ARTICLE_FEATURES>
  <ARTICLE_FEATURES>
   <REFERENCE_FEATURE_SYSTEM_NAME>ECLASS-5.1</REFERENCE_FEATURE_SYSTEM_NAME>
   <REFERENCE_FEATURE_GROUP_ID>24260101</REFERENCE_FEATURE_GROUP_ID>
   <REFERENCE_FEATURE_GROUP_NAME>Good for</REFERENCE_FEATURE_GROUP_NAME>
   <FEATURE><FNAME>-</FNAME><FVALUE>copiers</FVALUE></FEATURE>
   <FEATURE><FNAME>-</FNAME><FVALUE>printers</FVALUE></FEATURE>
  </ARTICLE_FEATURES>
  <ARTICLE_ORDER_DETAILS>
   <ORDER_UNIT>BX</ORDER_UNIT><CONTENT_UNIT>RM</CONTENT_UNIT><NO_CU_PER_OU>5</NO_CU_PER_OU>
   <PRICE_QUANTITY>10</PRICE_QUANTITY><QUANTITY_MIN>2</QUANTITY_MIN><QUANTITY_INTERVAL>4</QUANTITY_INTERVAL>
  </ARTICLE_ORDER_DETAILS>
  <ARTICLE_PRICE_DETAILS>
   <DATETIME type="valid_start_date"><DATE>2026-02-01</DATE></DATETIME>
   <DATETIME type="valid_end_date"><DATE>2026-07-31</DATE></DATETIME>
   <ARTICLE_PRICE price_type="net_list"><PRICE_AMOUNT>99</PRICE_AMOUNT></ARTICLE_PRICE>
   <ARTICLE_PRICE price_type="net_customer"><PRICE_AMOUNT>43.5</PRICE_AMOUNT><PRICE_CURRENCY>CHF</PRICE_CURRENCY>
    <TAX>0.077</TAX><PRICE_FACTOR>0.9</PRICE_FACTOR><LOWER_BOUND>1</LOWER_BOUND>
    <TERRITORY>CH</TERRITORY><TERRITORY>LI</TERRITORY></ARTICLE_PRICE>
   <ARTICLE_PRICE price_type="net_customer"><PRICE_AMOUNT>40</PRICE_AMOUNT><LOWER_BOUND>50</LOWER_BOUND></ARTICLE_PRICE>
  </ARTICLE_PRICE_DETAILS>
  <MIME_INFO>
   <MIME><MIME_TYPE>image/jpeg</MIME_TYPE><MIME_SOURCE>small.jpg</MIME_SOURCE><MIME_PURPOSE>thumbnail</MIME_PURPOSE></MIME>
   <MIME><MIME_TYPE>image/jpeg</MIME_TYPE><MIME_SOURCE>qm-1.jpg</MIME_SOURCE><MIME_PURPOSE>normal</MIME_PURPOSE></MIME>
   <MIME><MIME_TYPE>image/tiff</MIME_TYPE><MIME_SOURCE>qm-1.tif</MIME_SOURCE><MIME_DESCR>Dimensional drawing</MIME_DESCR></MIME>
   <MIME><MIME_TYPE>application/pdf</MIME_TYPE><MIME_SOURCE>qm-1.pdf</MIME_SOURCE><MIME_PURPOSE>data_sheet</MIME_PURPOSE></MIME>
   <MIME><MIME_TYPE>url</MIME_TYPE><MIME_SOURCE>https://quillmarch.example/1</MIME_SOURCE></MIME>
  </MIME_INFO>
  <USER_DEFINED_EXTENSIONS><UDX.QM.COLOUR>white</UDX.QM.COLOUR></USER_DEFINED_EXTENSIONS>
  <ARTICLE_REFERENCE type="similar"><ART_ID_TO>QM-2</ART_ID_TO></ARTICLE_REFERENCE>
 </ARTICLE>
 <ARTICLE_TO_CATALOGGROUP_MAP><ART_ID>QM-1</ART_ID><CATALOG_GROUP_ID>12</CATALOG_GROUP_ID></ARTICLE_TO_CATALOGGROUP_MAP>
</T_NEW_CATALOG>
</BMECAT>)";

TEST(Bmecat, ANewCatalogueOfVersion12IsToldWhole) {
  const std::string expected =
      "header CURRENCY=EUR FROM=2026-01-01 LANGUAGE=deu SUPPLIER=123 TO=2026-12-31\n"
      "catalogue is S26\n"
      "version is 2.1\n"
      "territory is DE\n"
      "territory is AT\n"
      "buyer is B7\n"
      "folder of pictures is pictures\n"
      "category 1 below : All @17\n"
      "category 12 below 1: Paper & ink @18\n"
      "put QM-1 @20\n"
      "  PRODUCTDESCRIPTION Copy paper\n"
      "  PRODUCTREMARK White, 80 g/m²\n"
      "  GTIN 2000071000112\n"
      "  (SUPPLIER_ALT_PID) OLD-1\n"
      "  PARTNUMBER M-100007\n"
      "  MFRPARTNUMBER PAP81322\n"
      "  (MANUFACTURER) Mill\n"
      "  (ERP_GROUP_BUYER) OFFICE\n"
      "  (ERP_GROUP_SUPPLIER) P1\n"
      "  DELIVERYLEADTIME 3\n"
      "  (SPECIAL_TREATMENT_CLASS) GGVS 1201\n"
      "  (STATUS) core_article\n"
      "  UNSPSCCODE 14111507\n"
      "  (WEIGHT) 80 GM\n"
      "  (SIZE) A4; A3\n"
      "  (ECLASS_5_1) 24260101\n"
      "  (GOOD_FOR) copiers; printers\n"
      "  UNITCODE BX\n"
      "  (CONTENT_UNIT) RM\n"
      "  (NO_CU_PER_OU) 5\n"
      "  MINORDERQTY 2\n"
      "  MULTIPLEOF 4\n"
      "  TECHNICALIMAGE qm-1.tif\n"
      "  URL https://quillmarch.example/1\n"
      "  IMAGEFILENAME qm-1.jpg\n"
      "  price 43.5 for 10 times 0.9 in CHF from 1 since 2026-02-01 until 2026-07-31 group CH tax 7.7\n"
      "  price 43.5 for 10 times 0.9 in CHF from 1 since 2026-02-01 until 2026-07-31 group LI tax 7.7\n"
      "  price 40 for 10 from 50 since 2026-02-01 until 2026-07-31\n"
      "QM-1 is in 12 @74\n"
      "left out 1 ARTICLE_PRICE net_list\n"
      "left out 1 ARTICLE_REFERENCE similar\n"
      "left out 1 KEYWORD\n"
      "left out 1 MIME data_sheet\n"
      "left out 1 MIME thumbnail\n"
      "left out 1 REMARKS\n"
      "left out 1 UDX.QM.COLOUR\n"
      "left out 1 UDX.QM.SEASON\n";
  EXPECT_EQ(told(kVersion12), expected);
  EXPECT_EQ(told(kVersion12, {}, 7), expected);
}

TEST(Bmecat, PricesOfATerritoryOrAKindAreTakenWhenTheyAreAskedFor) {
  const std::string all =
      "<ARTICLE_PRICE price_type=\"net_list\"><PRICE_AMOUNT>1</PRICE_AMOUNT><TERRITORY>DE</TERRITORY>"
      "<TERRITORY>AT</TERRITORY></ARTICLE_PRICE>"
      "<ARTICLE_PRICE price_type=\"net_list\"><PRICE_AMOUNT>2</PRICE_AMOUNT><TERRITORY>CH</TERRITORY></ARTICLE_PRICE>"
      "<ARTICLE_PRICE price_type=\"net_list\"><PRICE_AMOUNT>3</PRICE_AMOUNT></ARTICLE_PRICE>"
      "<ARTICLE_PRICE price_type=\"nrp\"><PRICE_AMOUNT>4</PRICE_AMOUNT></ARTICLE_PRICE>";
  ReadingOptions austria;
  austria.territory = "at";
  EXPECT_EQ(told(prices(all), austria),
            "put A1 @1\n  price 1\n  price 3\nleft out 1 ARTICLE_PRICE nrp\nleft out 1 TERRITORY CH\nleft out 1 "
            "TERRITORY DE\n");
  ReadingOptions recommended;
  recommended.price_kind = "nrp";
  EXPECT_EQ(told(prices(all), recommended), "put A1 @1\n  price 4\nleft out 3 ARTICLE_PRICE net_list\n");
}

TEST(Bmecat, TheUsualPriceIsTheCustomersThenTheNetListsElseTheFirst) {
  const auto price = [](const std::string& kind, const std::string& amount) {
    return "<ARTICLE_PRICE price_type=\"" + kind + "\"><PRICE_AMOUNT>" + amount + "</PRICE_AMOUNT></ARTICLE_PRICE>";
  };
  EXPECT_EQ(told(prices(price("gros_list", "1") + price("net_list", "2") + price("net_customer", "3"))),
            "put A1 @1\n  price 3\nleft out 1 ARTICLE_PRICE gros_list\nleft out 1 ARTICLE_PRICE net_list\n");
  EXPECT_EQ(told(prices(price("gros_list", "1") + price("net_list", "2"))),
            "put A1 @1\n  price 2\nleft out 1 ARTICLE_PRICE gros_list\n");
  EXPECT_EQ(told(prices(price("udp_special", "1") + price("udp_other", "2"))),
            "put A1 @1\n  price 1\nleft out 1 ARTICLE_PRICE udp_other\n");
}

TEST(Bmecat, APriceThatCannotBeStatedIsLeftOutByName) {
  const auto price = [](const std::string& content) {
    return prices("<ARTICLE_PRICE price_type=\"net_list\">" + content + "</ARTICLE_PRICE>");
  };
  EXPECT_EQ(told(price("<LOWER_BOUND>1</LOWER_BOUND>")), "put A1 @1\nleft out 1 ARTICLE_PRICE without PRICE_AMOUNT\n");
  EXPECT_EQ(told(price("<PRICE_FORMULA><FORMULA_IDREF>1</FORMULA_IDREF></PRICE_FORMULA>")),
            "put A1 @1\nleft out 1 ARTICLE_PRICE with PRICE_FORMULA\n");
  EXPECT_EQ(told(price("<PRICE_AMOUNT>1</PRICE_AMOUNT><PRICE_BASE><PRICE_UNIT>KGM</PRICE_UNIT></PRICE_BASE>")),
            "put A1 @1\nleft out 1 ARTICLE_PRICE with PRICE_BASE\n");
  EXPECT_EQ(told(prices("<DAILY_PRICE>true</DAILY_PRICE>")), "put A1 @1\nleft out 1 DAILY_PRICE\n");
  EXPECT_EQ(told(prices("<DAILY_PRICE>FALSE</DAILY_PRICE>")), "put A1 @1\n");
}

TEST(Bmecat, ATaxIsAPercentageHoweverItIsWritten) {
  const auto tax = [](const std::string& text) {
    return told(
        prices("<ARTICLE_PRICE price_type=\"net_list\"><PRICE_AMOUNT>1</PRICE_AMOUNT>" + text + "</ARTICLE_PRICE>"));
  };
  EXPECT_EQ(tax("<TAX>0.19</TAX>"), "put A1 @1\n  price 1 tax 19\n");
  EXPECT_EQ(tax("<TAX>,16</TAX>"), "put A1 @1\n  price 1 tax 16\n");
  EXPECT_EQ(tax("<TAX>16</TAX>"), "put A1 @1\n  price 1 tax 16\n");
  EXPECT_EQ(tax("<TAX_DETAILS><TAX>0.07</TAX></TAX_DETAILS>"), "put A1 @1\n  price 1 tax 7\n");
}

constexpr char kVersion2005[] = R"(<BMECAT version="2005" xmlns="http://www.bmecat.org/bmecat/2005fd">
<HEADER>
 <CATALOG><LANGUAGE>deu</LANGUAGE><LANGUAGE default="true">eng</LANGUAGE><CATALOG_ID>7</CATALOG_ID>
  <CURRENCY>EUR</CURRENCY><VALID_START_DATE>2026-01-01T00:00:00Z</VALID_START_DATE></CATALOG>
 <SUPPLIER_IDREF type="iln">4000000000009</SUPPLIER_IDREF>
</HEADER>
<T_NEW_CATALOG>
 <CLASSIFICATION_SYSTEM>
  <CLASSIFICATION_SYSTEM_NAME>udf_Mine-1.0</CLASSIFICATION_SYSTEM_NAME>
  <CLASSIFICATION_GROUPS>
   <CLASSIFICATION_GROUP><CLASSIFICATION_GROUP_ID>1</CLASSIFICATION_GROUP_ID>
    <CLASSIFICATION_GROUP_NAME lang="deu">Klemmen</CLASSIFICATION_GROUP_NAME>
    <CLASSIFICATION_GROUP_NAME lang="eng">Terminals</CLASSIFICATION_GROUP_NAME></CLASSIFICATION_GROUP>
   <CLASSIFICATION_GROUP><CLASSIFICATION_GROUP_ID>2</CLASSIFICATION_GROUP_ID>
    <CLASSIFICATION_GROUP_NAME lang="eng">Marks</CLASSIFICATION_GROUP_NAME>
    <CLASSIFICATION_GROUP_PARENT_ID>1</CLASSIFICATION_GROUP_PARENT_ID></CLASSIFICATION_GROUP>
  </CLASSIFICATION_GROUPS>
 </CLASSIFICATION_SYSTEM>
 <CLASSIFICATION_SYSTEM>
  <CLASSIFICATION_SYSTEM_NAME>ETIM-7.0</CLASSIFICATION_SYSTEM_NAME>
  <CLASSIFICATION_GROUPS>
   <CLASSIFICATION_GROUP><CLASSIFICATION_GROUP_ID>EC1</CLASSIFICATION_GROUP_ID></CLASSIFICATION_GROUP>
  </CLASSIFICATION_GROUPS>
 </CLASSIFICATION_SYSTEM>
 <PRODUCT>
  <SUPPLIER_PID>T-1</SUPPLIER_PID>
  <PRODUCT_DETAILS>
   <DESCRIPTION_SHORT lang="deu">Klemme</DESCRIPTION_SHORT>
   <DESCRIPTION_SHORT lang="eng">Terminal</DESCRIPTION_SHORT>
   <DESCRIPTION_LONG lang="deu">Grau</DESCRIPTION_LONG>
   <INTERNATIONAL_PID type="gtin">4000000000016</INTERNATIONAL_PID>
   <INTERNATIONAL_PID type="issn">1</INTERNATIONAL_PID>
   <MANUFACTURER_PID>T1</MANUFACTURER_PID>
  </PRODUCT_DETAILS>
  <PRODUCT_FEATURES>
   <REFERENCE_FEATURE_SYSTEM_NAME>udf_Mine-1.0</REFERENCE_FEATURE_SYSTEM_NAME>
   <REFERENCE_FEATURE_GROUP_ID>2</REFERENCE_FEATURE_GROUP_ID>
   <FEATURE><FTEMPLATE><FT_ID>0173-1#02</FT_ID><FT_NAME>Number</FT_NAME></FTEMPLATE><FVALUE>3</FVALUE></FEATURE>
   <FEATURE><FT_IDREF>EF000008</FT_IDREF><VALUE_IDREF>EV1</VALUE_IDREF><FVALUE_DETAILS>wide</FVALUE_DETAILS></FEATURE>
   <FEATURE_GROUP><FEATURE><FNAME lang="deu">Farbe</FNAME><FNAME lang="eng">Colour</FNAME>
    <FVALUE lang="deu">grau</FVALUE><FVALUE lang="eng">grey</FVALUE></FEATURE></FEATURE_GROUP>
  </PRODUCT_FEATURES>
  <PRODUCT_FEATURES>
   <REFERENCE_FEATURE_SYSTEM_NAME>ETIM-7.0</REFERENCE_FEATURE_SYSTEM_NAME>
   <REFERENCE_FEATURE_GROUP_ID>EC1</REFERENCE_FEATURE_GROUP_ID>
   <FEATURE><FNAME>Sizes</FNAME><VARIANTS><VARIANT><FVALUE>1</FVALUE></VARIANT></VARIANTS></FEATURE>
  </PRODUCT_FEATURES>
  <PRODUCT_ORDER_DETAILS><ORDER_UNIT>C62</ORDER_UNIT><QUANTITY_MAX>9</QUANTITY_MAX></PRODUCT_ORDER_DETAILS>
  <PRODUCT_PRICE_DETAILS><VALID_START_DATE>2026-03-01</VALID_START_DATE><VALID_END_DATE>2026-04-01T12:00:00</VALID_END_DATE>
   <PRODUCT_PRICE price_type="net_list"><PRICE_AMOUNT>1.5</PRICE_AMOUNT></PRODUCT_PRICE></PRODUCT_PRICE_DETAILS>
  <PRODUCT_LOGISTIC_DETAILS>
   <CUSTOMS_TARIFF_NUMBER><CUSTOMS_NUMBER>85369010</CUSTOMS_NUMBER></CUSTOMS_TARIFF_NUMBER>
   <COUNTRY_OF_ORIGIN>DE</COUNTRY_OF_ORIGIN><PRODUCT_DIMENSIONS><WEIGHT>0.01</WEIGHT></PRODUCT_DIMENSIONS>
  </PRODUCT_LOGISTIC_DETAILS>
 </PRODUCT>
 <PRODUCT_TO_CATALOGGROUP_MAP><PROD_ID>T-1</PROD_ID><CATALOG_GROUP_ID>5</CATALOG_GROUP_ID></PRODUCT_TO_CATALOGGROUP_MAP>
</T_NEW_CATALOG>
</BMECAT>)";

TEST(Bmecat, ANewCatalogueOfVersion2005IsToldInItsOwnLanguage) {
  EXPECT_EQ(told(kVersion2005),
            "header CURRENCY=EUR FROM=2026-01-01 LANGUAGE=eng SUPPLIER=4000000000009\n"
            "catalogue is 7\n"
            "category udf_Mine-1.0:1 below : Terminals @11\n"
            "category udf_Mine-1.0:2 below udf_Mine-1.0:1: Marks @14\n"
            "put T-1 @25\n"
            "  PRODUCTDESCRIPTION Terminal\n"
            "  PRODUCTREMARK Grau\n"
            "  GTIN 4000000000016\n"
            "  MFRPARTNUMBER T1\n"
            "  (NUMBER) 3\n"
            "  (EF000008) wide\n"
            "  (COLOUR) grey\n"
            "  (ETIM_7_0) EC1\n"
            "  UNITCODE C62\n"
            "  (CUSTOMS_NUMBER) 85369010\n"
            "  (COUNTRY_OF_ORIGIN) DE\n"
            "  (WEIGHT) 0.01\n"
            "  price 1.5 since 2026-03-01 until 2026-04-01\n"
            "  category udf_Mine-1.0:2\n"
            "T-1 is in 5 @56\n"
            "left out 1 CLASSIFICATION_GROUP ETIM-7.0\n"
            "left out 1 CLASSIFICATION_GROUP_NAME deu\n"
            "left out 1 DESCRIPTION_SHORT deu\n"
            "left out 1 FNAME deu\n"
            "left out 1 FVALUE deu\n"
            "left out 1 INTERNATIONAL_PID issn\n"
            "left out 1 QUANTITY_MAX\n"
            "left out 1 VARIANTS\n");
}

TEST(Bmecat, AnotherLanguageIsReadWhenItIsAskedFor) {
  ReadingOptions german;
  german.language = "de";
  const std::string text = told(kVersion2005, german);
  EXPECT_NE(text.find("  PRODUCTDESCRIPTION Klemme\n  PRODUCTREMARK Grau\n"), std::string::npos) << text;
  EXPECT_NE(text.find("  (FARBE) grau\n"), std::string::npos) << text;
  EXPECT_NE(text.find("category udf_Mine-1.0:1 below : Klemmen @11\n"), std::string::npos) << text;
  EXPECT_NE(text.find("left out 1 DESCRIPTION_SHORT eng\n"), std::string::npos) << text;
}

TEST(Bmecat, AnUpdateSaysForEachProductWhatBecomesOfIt) {
  const std::string products =
      "<ARTICLE mode=\"new\"><SUPPLIER_AID>1</SUPPLIER_AID></ARTICLE>\n"
      "<ARTICLE mode=\"update\"><SUPPLIER_AID>2</SUPPLIER_AID></ARTICLE>\n"
      "<ARTICLE mode=\"delete\"><SUPPLIER_AID>3</SUPPLIER_AID></ARTICLE>\n"
      "<ARTICLE><SUPPLIER_AID>4</SUPPLIER_AID></ARTICLE>\n"
      "<ARTICLE mode=\"swap\"><SUPPLIER_AID>5</SUPPLIER_AID></ARTICLE>\n"
      "<ARTICLE mode=\"new\"/>\n"
      "<ARTICLE_TO_CATALOGGROUP_MAP mode=\"delete\"><ART_ID>1</ART_ID><CATALOG_GROUP_ID>2</CATALOG_GROUP_ID>"
      "</ARTICLE_TO_CATALOGGROUP_MAP>\n"
      "<ARTICLE_TO_CATALOGGROUP_MAP><ART_ID>1</ART_ID></ARTICLE_TO_CATALOGGROUP_MAP>\n";
  EXPECT_EQ(told("<BMECAT><T_UPDATE_PRODUCTS prev_version=\"1\">" + products + "</T_UPDATE_PRODUCTS></BMECAT>"),
            "put 1 @1\n"
            "update 2 @2\n"
            "remove 3 @3\n"
            "update 4 @4\n"
            "flawed 5: its mode is swap; known are new, update and delete @5\n"
            "flawed : ARTICLE has no number of the supplier @6\n"
            "flawed 1: ARTICLE_TO_CATALOGGROUP_MAP names no product or no group @8\n"
            "left out 1 ARTICLE_TO_CATALOGGROUP_MAP delete\n");
}

TEST(Bmecat, AnUpdateOfPricesHasNothingElse) {
  EXPECT_EQ(told("<BMECAT><T_UPDATE_PRICES prev_version=\"1\"><ARTICLE><SUPPLIER_AID>1</SUPPLIER_AID>"
                 "<ARTICLE_PRICE_DETAILS><ARTICLE_PRICE price_type=\"net_list\"><PRICE_AMOUNT>2.5</PRICE_AMOUNT>"
                 "</ARTICLE_PRICE></ARTICLE_PRICE_DETAILS></ARTICLE></T_UPDATE_PRICES></BMECAT>"),
            "update 1 @1\n  price 2.5\n");
}

TEST(Bmecat, SeveralNumbersOfBuyersAreNobodys) {
  EXPECT_EQ(told(article("<ARTICLE_DETAILS><BUYER_AID type=\"a\">1</BUYER_AID><BUYER_AID type=\"b\">2</BUYER_AID>"
                         "</ARTICLE_DETAILS>")),
            "put A1 @1\nleft out 1 BUYER_AID a\nleft out 1 BUYER_AID b\n");
}

TEST(Bmecat, APieceWithAFaultIsToldByItsNumberAndTheNextOneIsRead) {
  EXPECT_EQ(told("<!DOCTYPE BMECAT SYSTEM 'x.dtd'><BMECAT><T_NEW_CATALOG>\n"
                 "<ARTICLE><SUPPLIER_AID>1</SUPPLIER_AID><ARTICLE_DETAILS><DESCRIPTION_SHORT>T&uuml;r"
                 "</DESCRIPTION_SHORT></ARTICLE_DETAILS></ARTICLE>\n"
                 "<ARTICLE><SUPPLIER_AID>2</SUPPLIER_AID></ARTICLE></T_NEW_CATALOG></BMECAT>"),
            "flawed 1: ARTICLE refers to the entity uuml, which the file does not declare itself @2\nput 2 @3\n");
}

TEST(Bmecat, WhatIsNoBmecatIsNotTakenForOne) {
  EXPECT_FALSE(is_bmecat("<Products/>"));
  EXPECT_FALSE(is_bmecat("part,name\n"));
  Told sink;
  BytesOfText bytes("<Products/>");
  try {
    read_bmecat(bytes, {}, sink);
    ADD_FAILURE();
  } catch (const Raised& raised) {
    EXPECT_EQ(raised.error().Description, "This is no BMEcat: its root is Products");
  }
}

TEST(Bmecat, RealCataloguesAreReadToTheEnd) {
  const std::filesystem::path folder = bench::data_folder() / "formats" / "bmecat";
  if (!std::filesystem::exists(folder))
    GTEST_SKIP() << "there is no real data at " << folder << "; MERCATO_DATA names its folder";
  const auto told_file = [&](const char* name, const ReadingOptions& options = {}) {
    return told(*open_source((folder / name).string()), options);
  };
  const auto has = [](const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  };

  const std::string tiered = told_file("bmecat-1.01-new-catalog-tiered.xml");
  EXPECT_TRUE(
      has(tiered, "  price 17,23 for 1 times ,8 in DEM from 1 since 1999-10-01 until 2000-03-31 group DE tax 16\n"));
  EXPECT_TRUE(has(tiered, "put 54-Dennis-B @310\n")) << tiered;
  EXPECT_TRUE(has(tiered, "54-Dennis-B is in 5 @371\n")) << tiered;
  EXPECT_TRUE(has(told_file("bmecat-1.2-price-validity.xml"),
                  "  price 17.779 for 1 in EUR since 2018-01-08 until 2019-01-08\n"));
  EXPECT_TRUE(has(told_file("bmecat-1.2-update-products.xml"), "remove 2000 @140\n"));
  ReadingOptions english;
  english.language = "en";
  EXPECT_TRUE(
      has(told_file("bmecat-2005-terminal-1609801044.xml", english), "  PRODUCTDESCRIPTION Terminal marking\n"));
  const auto groups = [&](const char* name) {
    const std::string text = "\n" + told_file(name);
    std::size_t count = 0;
    for (std::size_t at = text.find("\ncategory "); at != std::string::npos; at = text.find("\ncategory ", at + 1))
      ++count;
    return count;
  };
  EXPECT_EQ(groups("bmecat-1.2-tool-catalog-1660-groups.xml.gz"), 1660u);
  EXPECT_EQ(groups("bmecat-1.2-fasteners-726-groups-udx.xml.gz"), 726u);
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string text = told_file(entry.path().filename().c_str());
    EXPECT_FALSE(has(text, "flawed ") || has(text, "raised ")) << entry.path() << "\n" << text;
    ++files;
  }
  EXPECT_EQ(files, 12u);
}

}  // namespace
}  // namespace mercato::exchange
