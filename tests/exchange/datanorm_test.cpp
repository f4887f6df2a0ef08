// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/datanorm.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "bench/support/data_folder.h"
#include "tests/exchange/told.h"

namespace mercato::exchange {
namespace {

// The first line of version 4 has columns.
std::string version4(const std::string& records) {
  std::string line = "V 011026Quillmarch's articles";
  line.resize(123, ' ');
  return line + "04EUR\r\n" + records;
}
std::string version5(const std::string& records) { return "V;050;A;20261001;EUR;Quillmarch;;;;;;;;;\r\n" + records; }

constexpr char kHeader4[] = "header CURRENCY=EUR\ncatalogue is Quillmarch's articles\n";
constexpr char kHeader5[] = "header CURRENCY=EUR\ncatalogue is Quillmarch\n";
constexpr char kAscii[] = "encoding is UTF-8\n";

std::string told4(const std::string& records, const ReadingOptions& options = {}) {
  const std::string text = told(version4(records), options);
  EXPECT_TRUE(text.starts_with(kHeader4)) << text;
  return text.substr(std::string(kHeader4).size());
}
std::string told5(const std::string& records, const ReadingOptions& options = {}) {
  const std::string text = told(version5(records), options);
  EXPECT_TRUE(text.starts_with(kHeader5)) << text;
  return text.substr(std::string(kHeader5).size());
}

TEST(Datanorm, AnArticleOfVersion4IsToldWithItsSecondRecordItsTextsAndItsGroup) {
  const std::string records =
      "S;;001;Cables;01;Fixed cables;\r\n"
      "R;;12;1;3000;Cables;\r\n"
      "D;N;K-1;1;F;;Own text,;2;F;;of two lines;\r\n"
      "A;N;K-1;50;Cable red;2 x 2 x 0.8;1;2;M;22831;12;001;T1;\r\n"
      "B;N;K-1;CABLE;OLD-1;17;1;150;20;4000000000016;G1;01;1;50; ; ;\r\n"
      "T;N;T1;;1;;For fire;2;;alarms;\r\n"
      "A;N;K-2;00;Cable;;2;0;M;150;12;002; ;\r\n";
  EXPECT_EQ(told4(records),
            "category 001 below : Cables @2\n"
            "category 001/01 below 001: Fixed cables @2\n"
            "put K-1 @5\n"
            "  PRODUCTDESCRIPTION Cable red 2 x 2 x 0.8\n"
            "  UNITCODE M\n"
            "  (DISCOUNT_GROUP) 12\n"
            "  (MATCHCODE) CABLE\n"
            "  (ALTERNATIVE_NUMBER) OLD-1\n"
            "  GTIN 4000000000016\n"
            "  LOTSIZE 50\n"
            "  PRODUCTREMARK For fire alarms Own text, of two lines\n"
            "  price 228.31 for 100 times 0.7\n"
            "  category 001/01\n"
            "put K-2 @8\n"
            "  PRODUCTDESCRIPTION Cable\n"
            "  UNITCODE M\n"
            "  (DISCOUNT_GROUP) 12\n"
            "  (MAIN_GROUP) 002\n"
            "  price 1.50\n"
            "encoding is UTF-8\n"
            "left out 1 B copper\n"
            "left out 1 B page of the catalogue\n"
            "left out 1 B picture\n");
}

TEST(Datanorm, AnArticleOfVersion5HasAllInOneRecord) {
  const std::string records =
      "S;HLS;;Heating;\r\nS;HLS;NBM;Sensors;\r\n"
      "R;NBM;2;850;Sensors;\r\n"
      "T;N;T9;1;01;First;\r\nT;N;T9;1;02;second;\r\n"
      "A;N;N-1;Sensor;white;PCE;1;25;108110;NBM;HLS;NBM;SENS;;ALT;HON;MF1;Type 7;4000000000023;G;10;12;3;T9;;;;;;\r\n"
      "Z;N;N-1;01;1;From 100;;1;+;2;25;90000;;1;100;;\r\n"
      "D;N;N-1;1;F;Own;;\r\n"
      "E;8;End;\r\n";
  EXPECT_EQ(told5(records),
            "category HLS below : Heating @2\n"
            "category HLS/NBM below HLS: Sensors @3\n"
            "put N-1 @7\n"
            "  PRODUCTDESCRIPTION Sensor white\n"
            "  UNITCODE PCE\n"
            "  (DISCOUNT_GROUP) NBM\n"
            "  (MATCHCODE) SENS\n"
            "  (ALTERNATIVE_NUMBER) ALT\n"
            "  (MANUFACTURER) HON\n"
            "  MFRPARTNUMBER MF1\n"
            "  (MANUFACTURER_TYPE) Type 7\n"
            "  GTIN 4000000000023\n"
            "  LOTSIZE 10\n"
            "  PRODUCTREMARK First second Own\n"
            "  price 900.00 for 25 from 100\n"
            "  price 1081.10 for 25 times 0.85\n"
            "  category HLS/NBM\n"
            "encoding is UTF-8\n"
            "left out 1 A page of the catalogue\n"
            "left out 1 A picture\n");
}

TEST(Datanorm, MarksSayWhatBecomesOfAnArticle) {
  EXPECT_EQ(
      told4("A;N;1;00;a;;2;0;ST;0; ; ; ;\r\nA;A;2;00;b;;2;0;ST;0; ; ; ;\r\nA;L;3;\r\nA;X;4; ;5;\r\nA;Q;6;\r\nA;N;;\r\n"
            "A;N;7;00;c;;2;7;ST;100; ; ; ;\r\nB;A;8;;;;;;;4000000000016;\r\n"),
      "put 1 @2\n  PRODUCTDESCRIPTION a\n  UNITCODE ST\n"
      "update 2 @3\n  PRODUCTDESCRIPTION b\n  UNITCODE ST\n"
      "remove 3 @4\n"
      "flawed 4: its number becomes 5, and a number cannot be changed: remove the product and import it with the "
      "new one @5\n"
      "flawed 6: its record A is marked Q; known are N, A, L and X @6\n"
      "flawed : the record A names no article @7\n"
      "flawed 7: its price unit is 7; known are 0 to 3 @8\n"
      "update 8 @9\n  GTIN 4000000000016\n"
      "encoding is UTF-8\n");
  EXPECT_EQ(told5("B;L;1;2;20260101;\r\nB;A;3;4;\r\nB;N;5;\r\n"),
            "remove 1 @2\n"
            "flawed 3: its number becomes 4, and a number cannot be changed: remove the product and import it with the "
            "new one @3\n"
            "flawed 5: its record B is marked N; known are A and L @4\n"
            "encoding is UTF-8\n");
}

TEST(Datanorm, PriceUnitsAreCodesInVersion4AndNumbersInVersion5) {
  const auto unit4 = [](const std::string& code) { return told4("A;N;1;00;a;;2;" + code + ";ST;1234; ; ; ;\r\n"); };
  const std::string begin = "put 1 @2\n  PRODUCTDESCRIPTION a\n  UNITCODE ST\n  price 12.34";
  EXPECT_EQ(unit4("0"), begin + "\n" + kAscii);
  EXPECT_EQ(unit4(""), begin + "\n" + kAscii);
  EXPECT_EQ(unit4("1"), begin + " for 10\n" + kAscii);
  EXPECT_EQ(unit4("2"), begin + " for 100\n" + kAscii);
  EXPECT_EQ(unit4("3"), begin + " for 1000\n" + kAscii);
  const auto unit5 = [](const std::string& number) { return told5("A;N;1;a;;ST;2;" + number + ";1234;\r\n"); };
  EXPECT_EQ(unit5("0"), begin + "\n" + kAscii);
  EXPECT_EQ(unit5("1"), begin + "\n" + kAscii);
  EXPECT_EQ(unit5("25"), begin + " for 25\n" + kAscii);
  EXPECT_EQ(told5("A;N;1;a;;ST;2;1;12,34;\r\n"), begin + "\n" + kAscii);
}

TEST(Datanorm, DiscountsApplyToPricesOfTheListAndToNoOthers) {
  const std::string group = "R;;1;1;2500;Off;\r\nR;;2;2;1200;Times;\r\nR;;3;3;1000;On;\r\n";
  const auto price = [&](const std::string& mark, const std::string& of, const ReadingOptions& options = {}) {
    const std::string text = told4(group + "A;N;9;00;a;;" + mark + ";0;ST;1000;" + of + "; ; ;\r\n", options);
    return text.substr(text.find("  price"));
  };
  EXPECT_EQ(price("1", "1"), std::string("  price 10.00 times 0.75\n") + kAscii);
  EXPECT_EQ(price("1", "2"), std::string("  price 10.00 times 1.2\n") + kAscii);
  EXPECT_EQ(price("1", "3"), std::string("  price 10.00 times 1.1\n") + kAscii);
  EXPECT_EQ(price("2", "1"), std::string("  price 10.00\n") + kAscii);
  EXPECT_EQ(price("1", "4"), std::string("  price 10.00\n") + kAscii + "left out 1 discount of group 4\n");
  ReadingOptions list;
  list.price_kind = "list";
  EXPECT_EQ(price("1", "1", list), std::string("  price 10.00\n") + kAscii);
  EXPECT_EQ(told4("R;;5;4;1;Odd;\r\nR;;;1;1;;\r\n"),
            "flawed : the discount group '5' has the kind '4' and the value '1'; known are the kinds 1, 2 and 3, with "
            "whole numbers @2\n"
            "flawed : the discount group '' has the kind '1' and the value '1'; known are the kinds 1, 2 and 3, with "
            "whole numbers @3\n"
            "encoding is UTF-8\n");
}

TEST(Datanorm, PriceChangesOfVersion4ComeThreeToARecord) {
  EXPECT_EQ(
      told4("R;;G1;1;5000;Half;\r\n"
            "P;A;1;1;85700;1;5500;;;;;2;1;10000;1;1000;1;1000;;;3;2;450;;;;;;;\r\n"
            "P;A;4;1;10000;0;G1;1;1000;;;5;1;100;7;1;;;;;6;1;0;;;;;;;\r\n"
            "P;P;7;1;100;;;;;;;\r\n"),
      "flawed 5: its price has a discount of the kind '7' and the value '1'; known are the kinds 1, 2 and 3, with "
      "whole numbers @4\n"
      "update 1 @3\n  price 857.00 times 0.45\n"
      "update 2 @3\n  price 100.00 times 0.81\n"
      "update 3 @3\n  price 4.50\n"
      "update 4 @4\n  price 100.00 times 0.45\n"
      "encoding is UTF-8\n"
      "left out 1 P P\n"
      "left out 1 P without a price\n");
}

TEST(Datanorm, APriceChangeOfVersion5HasItsUnitAndItsDay) {
  EXPECT_EQ(told5("R;G1;1;5000;Half;\r\nP;1;1;100;10000;G1;1;1000;;;;;20261101;\r\nP;2;2;1;5;;;;;;;;;\r\n"),
            "update 1 @3\n  price 100.00 for 100 times 0.45 since 2026-11-01\n"
            "update 2 @4\n  price 0.05\n"
            "encoding is UTF-8\n");
}

// The article says for how many units its prices are, wherever it stands.
TEST(Datanorm, APriceChangeBesideItsArticleTakesThePlaceOfItsPrice) {
  const std::string article = "A;N;1;00;a;;1;2;ST;9900; ; ; ;\r\n";
  const std::string begin = "put 1 @";
  const std::string fields = "\n  PRODUCTDESCRIPTION a\n  UNITCODE ST\n";
  const std::string change = "P;A;1;1;8000;1;1000;;;;;1;2;7000;;;;;;;\r\n";
  const std::string rest =
      std::string(kAscii) + "left out 1 price of A, where P has one\nleft out 1 price of the list\n";
  EXPECT_EQ(told4(change + article), begin + "3" + fields + "  price 70.00 for 100\n" + rest);
  EXPECT_EQ(told4(article + change), begin + "2" + fields + "  price 70.00 for 100\n" + rest);
  EXPECT_EQ(told4(article + "A;L;2;\r\n" + change),
            begin + "2" + fields + "  price 99.00 for 100\nremove 2 @3\nupdate 1 @4\n  price 70.00 for 100\n" + kAscii +
                "left out 1 price of the list\n");
}

TEST(Datanorm, ATextThatComesTooLateIsCounted) {
  EXPECT_EQ(
      told4("A;N;1;00;a;;2;0;ST;0; ; ;T1;\r\nA;L;2;\r\nT;N;T1;;1;;late;2;; ;\r\nD;N;1;1;T;T7;;2;E;T1;$;\r\nT;L;T1;\r\n"
            "C;;1;\r\n"),
      "put 1 @2\n  PRODUCTDESCRIPTION a\n  UNITCODE ST\nremove 2 @3\nencoding is UTF-8\n"
      "left out 1 C\n"
      "left out 1 D E\n"
      "left out 1 D of a text that is not in front of it\n"
      "left out 1 T L\n"
      "left out 1 T that is neither in front of its article nor right behind it\n");
}

TEST(Datanorm, TheCharactersAreThoseOfDosUnlessTheyAreOthers) {
  const std::string article = "A;N;1;00;Gr\x81n;sch\x94n;2;0;ST;0; ; ; ;\r\n\x1A";
  EXPECT_EQ(told4(article), "put 1 @2\n  PRODUCTDESCRIPTION Grün schön\n  UNITCODE ST\nencoding is IBM850\n");
  EXPECT_EQ(told4("A;N;1;00;Grün;;2;0;ST;0; ; ; ;\r\n"),
            "put 1 @2\n  PRODUCTDESCRIPTION Grün\n  UNITCODE ST\nencoding is UTF-8\n");
  ReadingOptions windows;
  windows.encoding = "windows-1252";
  EXPECT_EQ(told4("A;N;1;00;Gr\xFCn;;2;0;ST;0; ; ; ;\r\n", windows),
            "put 1 @2\n  PRODUCTDESCRIPTION Grün\n  UNITCODE ST\nencoding is windows-1252\n");
}

TEST(Datanorm, WhatCannotBeReadIsOneSentence) {
  EXPECT_FALSE(is_datanorm("A;N;1;00;a;;2;0;ST;0;\r\n"));
  EXPECT_FALSE(is_datanorm("Version 04;name\r\n"));
  EXPECT_TRUE(is_datanorm(version4("")));
  EXPECT_TRUE(is_datanorm(version5("")));
  EXPECT_EQ(told("V;049;A;\r\n"), "raised Line 1: Datanorm is read in the versions 4 and 5, this is '049'\n");
  EXPECT_EQ(told4("garbage\r\nA;N;1;00;a;;2;0;ST;0; ; ; ;\r\n"),
            "flawed : this line is no record: it has no letter and semicolon @2\n"
            "put 1 @3\n  PRODUCTDESCRIPTION a\n  UNITCODE ST\nencoding is UTF-8\n");
  const std::string long_line = told4("A;N;1;00;" + std::string(3'000'000, 'a') + "\r\n");
  EXPECT_TRUE(long_line.starts_with("raised ")) << long_line.substr(0, 200);
  Told sink;
  BytesOfText bytes("A;N;1;\r\n");
  try {
    read_datanorm(bytes, {}, sink);
    ADD_FAILURE();
  } catch (const Raised& raised) {
    EXPECT_EQ(raised.error().Description, "This is no Datanorm: it begins without the record V");
  }
}

TEST(Datanorm, TextsAndPricesThatWaitAreBounded) {
  std::string records;
  for (int i = 0; i < 120'000; ++i) records += "P;A;" + std::to_string(i) + ";2;100;;;;;;;\r\n";
  const std::string text = told4(records);
  EXPECT_TRUE(text.starts_with("update 0 @2\n  price 1.00\nupdate 1 @3\n")) << text.substr(0, 200);
  EXPECT_TRUE(text.ends_with("update 119999 @120001\n  price 1.00\nencoding is UTF-8\n"));

  // The first text is the oldest, and no longer there.
  records.clear();
  const std::string line(4000, 'x');
  for (int i = 0; i < 10'000; ++i) records += "T;N;T" + std::to_string(i) + ";;1;;" + line + ";2;;;\r\n";
  const std::string texts = told4(records + "A;N;1;00;a;;2;0;ST;0; ; ;T0;\r\nA;N;2;00;a;;2;0;ST;0; ; ;T9999;\r\n");
  EXPECT_EQ(texts,
            "put 1 @10002\n  PRODUCTDESCRIPTION a\n  UNITCODE ST\nput 2 @10003\n  PRODUCTDESCRIPTION a\n  "
            "UNITCODE ST\n  PRODUCTREMARK " +
                line +
                "\nencoding is UTF-8\n"
                "left out 1 T that is neither in front of its article nor right behind it\n");
}

TEST(Datanorm, RealFilesAreReadToTheEnd) {
  const std::filesystem::path folder = bench::data_folder() / "formats" / "datanorm";
  if (!std::filesystem::exists(folder))
    GTEST_SKIP() << "there is no real data at " << folder << "; MERCATO_DATA names its folder";
  const auto told_file = [&](const char* name) {
    std::ifstream file(folder / name, std::ios::binary);
    return told(std::string(std::istreambuf_iterator<char>(file), {}));
  };
  const auto has = [](const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  };
  EXPECT_EQ(told_file("v4_datpreis.001"),
            "header CURRENCY=EUR\n"
            "catalogue is (C) xxxxxxx KG, xxxxxx\n"
            "update RG6040640U1 @4\n  price 857.00 times 0.45\n"
            "update RG6050840U1 @4\n  price 1073.00 times 0.45\n"
            "update RG6060950U1 @4\n  price 1612.00 times 0.45\n"
            "encoding is UTF-8\nleft out 1 C\nleft out 1 K\n");
  const std::string texts = told_file("v4_with_texts.001");
  EXPECT_TRUE(has(
      texts,
      "  PRODUCTREMARK Der DIS-AM 20/60 Infrarot-Melder kann zur Raum- oder Objektsicherung in geschlossenen Räumen"))
      << texts;
  EXPECT_TRUE(has(texts, "put 100033162 @18\n")) << texts;
  EXPECT_TRUE(has(texts, "encoding is IBM850\n")) << texts;
  const std::string before = told_file("v4_products_before_texts.001");
  EXPECT_TRUE(has(before, "  price 0.88\nput QBMK10208R @28\n")) << before;
  EXPECT_TRUE(has(told_file("v5_first_texts_then_products.001"),
                  "  PRODUCTDESCRIPTION Basisplatine für NF300 bis NF5000 (nicht CPD-Version)\n"));
  const std::string large = told_file("v5_texts_products_services.001");
  EXPECT_TRUE(has(large, "put 020-569 @1631\n")) << large;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string text = told_file(entry.path().filename().c_str());
    EXPECT_FALSE(has(text, "flawed ") || has(text, "raised ")) << entry.path() << "\n" << text;
  }
}

}  // namespace
}  // namespace mercato::exchange
