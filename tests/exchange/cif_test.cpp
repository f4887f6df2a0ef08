// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/cif.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/exchange/told.h"

namespace mercato::exchange {
namespace {

std::string cif(const std::string& header, const std::string& rows) {
  return "CIF_I_V3.0\n" + header + "DATA\n" + rows + "ENDOFDATA\n";
}
constexpr char kShort[] = "FIELDNAMES: Supplier ID,Supplier Part ID,Item Description,Unit Price,Unit of Measure,";

TEST(Cif, ACatalogueIsToldWhole) {
  const std::string text =
      "CIF_I_V3.0\r\n"
      "CHARSET: UTF-8\r\n"
      "LOADMODE: I\r\n"
      "CODEFORMAT: UNSPSC\r\n"
      "CURRENCY: USD\r\n"
      "SUPPLIERID_DOMAIN: DUNS\r\n"
      "ITEMCOUNT: 3\r\n"
      "UNUOM: TRUE\r\n"
      "COMMENTS: made by hand, for tests\r\n"
      "FIELDNAMES: Supplier ID,Supplier Part ID,Manufacturer Part ID,Item Description,SPSC Code,Unit Price,Unit of "
      "Measure,Lead Time,Manufacturer Name,Supplier URL,Manufacturer URL,Market Price,Currency,Short Name,Delete,"
      "Parametric Name,Parametric Data,Classification Codes,Effective Date,Expiration Date,Image,Supplier Part "
      "Auxiliary ID,green,colours,Price Unit Quantity\r\n"
      "DATA\r\n"
      "7,QM-1,PAP1,\"Paper, \"\"white\"\"\r\n80 "
      "g\",14111507,3.22,BX,3,Mill,https://q.example/1,https://m.example/1,4,CAD,"
      "Copy paper,,paper,\"{size=A4;weight=80 g}\",\"{UNSPSC=14111500;house=P1}\",2026-10-01T00:00:00,2027-01-01,1.jpg,"
      "box,yes,\"{white;cream}\",100\r\n"
      "7,QM-2,,,,,,,,,,,,,True,,,,,,,,,,\r\n"
      "7,QM-3,,Pen,44121701,0.5,EA,,,,,,,,F\r\n"
      "ENDOFDATA\r\n";
  const std::string expected =
      "header CURRENCY=USD SUPPLIER=7\n"
      "load mode is I\n"
      "put QM-1 @12\n"
      "  PRODUCTDESCRIPTION Copy paper\n"
      "  PRODUCTREMARK Paper, \"white\"\r\n80 g\n"
      "  MFRPARTNUMBER PAP1\n"
      "  UNSPSCCODE 14111507\n"
      "  UNITCODE BX\n"
      "  DELIVERYLEADTIME 3\n"
      "  (MANUFACTURER) Mill\n"
      "  URL https://q.example/1\n"
      "  (SIZE) A4\n"
      "  (WEIGHT) 80 g\n"
      "  (HOUSE) P1\n"
      "  PRODUCTEFFECTIVITYDATE 2026-10-01\n"
      "  PRODUCTEXPIRYDATE 2027-01-01\n"
      "  IMAGEFILENAME 1.jpg\n"
      "  (SUPPLIER_PART_AUXILIARY_ID) box\n"
      "  (GREEN) yes\n"
      "  (COLOURS) white; cream\n"
      "  price 3.22 for 100 in CAD\n"
      "remove QM-2 @14\n"
      "put QM-3 @15\n"
      "  PRODUCTDESCRIPTION Pen\n"
      "  UNSPSCCODE 44121701\n"
      "  UNITCODE EA\n"
      "  price 0.5\n"
      "encoding is UTF-8\n"
      "left out 1 Classification UNSPSC\n"
      "left out 1 Manufacturer URL\n"
      "left out 1 Market Price\n"
      "left out 1 Parametric Name\n";
  EXPECT_EQ(told(text), expected);
  EXPECT_EQ(told(text, {}, 5), expected);
}

TEST(Cif, WithoutNamesOfFieldsTheyAreTheUsualTwelve) {
  EXPECT_EQ(told(cif("", "7,1,M1,Pen,44121701,0.5,EA,2,Mill,u,v,1\n")),
            "header SUPPLIER=7\n"
            "put 1 @3\n"
            "  PRODUCTDESCRIPTION Pen\n"
            "  MFRPARTNUMBER M1\n"
            "  UNSPSCCODE 44121701\n"
            "  UNITCODE EA\n"
            "  DELIVERYLEADTIME 2\n"
            "  (MANUFACTURER) Mill\n"
            "  URL u\n"
            "  price 0.5\n"
            "encoding is UTF-8\n"
            "left out 1 Manufacturer URL\n"
            "left out 1 Market Price\n");
}

TEST(Cif, AHeaderThatASpreadsheetSavedIsReadAlike) {
  EXPECT_EQ(told("CIF_I_V3.0,,,,\nCURRENCY:,EUR,,,\nCODEFORMAT:\tHOUSE,,,,\n"
                 "FIELDNAMES:,Supplier ID,Supplier Part ID,SPSC Code,\nDATA,,,,\n7,1,P1,,\nENDOFDATA,,,,\n"),
            "header CURRENCY=EUR SUPPLIER=7\nput 1 @6\n  (HOUSE) P1\nencoding is UTF-8\n");
}

TEST(Cif, InAFullCatalogueNothingIsDeleted) {
  const std::string rows = "7,1,Pen,1,EA,T\n";
  const std::string fields = std::string(kShort) + "Delete\n";
  EXPECT_EQ(
      told(cif("LOADMODE: F\n" + fields, rows)),
      "header SUPPLIER=7\nload mode is F\nput 1 @5\n  PRODUCTDESCRIPTION Pen\n  UNITCODE EA\n  price 1\nencoding is "
      "UTF-8\nleft out 1 Delete in a full catalogue\n");
  EXPECT_EQ(told(cif("LOADMODE: I\n" + fields, rows)),
            "header SUPPLIER=7\nload mode is I\nremove 1 @5\nencoding is UTF-8\n");
}

TEST(Cif, ItemsThatCannotBeReadAreToldAndTheNextOneIsRead) {
  EXPECT_EQ(told(cif(std::string("ITEMCOUNT: 9\n") + kShort + "PunchOut Enabled\n",
                     "7,1,Pen,1,EA,\n7,,Pen,1,EA,\n8,2,Pen,1,EA,\n7,3,Pen,1,EA,,,x\n7,4,Pen,1,EA,TRUE\n7,5,,,,\n")),
            "header SUPPLIER=7\n"
            "put 1 @5\n  PRODUCTDESCRIPTION Pen\n  UNITCODE EA\n  price 1\n"
            "flawed : it has no Supplier Part ID @6\n"
            "flawed 2: it is of the supplier '8', and the file is one of '7' @7\n"
            "flawed 3: it has 8 values, and there are 6 fields @8\n"
            "put 5 @10\n"
            "flawed : the header counts 9 items, and there are 6 @11\n"
            "encoding is UTF-8\n"
            "left out 1 PunchOut Enabled\n");
}

TEST(Cif, APriceForAnotherUnitThanThatOfTheOrderIsLeftOut) {
  EXPECT_EQ(
      told(cif(std::string(kShort) + "Price Unit,Unit Conversion\n", "7,1,Oil,1,BX,LTR,4\n7,2,Oil,1,BX,BX,1\n")),
      "header SUPPLIER=7\nput 1 @4\n  PRODUCTDESCRIPTION Oil\n  UNITCODE BX\nput 2 @5\n  PRODUCTDESCRIPTION Oil\n  "
      "UNITCODE BX\n  price 1\nencoding is UTF-8\nleft out 1 Unit Price for LTR\n");
}

TEST(Cif, OnlyItemsInTheLanguageThatWasAskedForAreRead) {
  ReadingOptions german;
  german.language = "de";
  EXPECT_EQ(
      told(cif(std::string(kShort) + "Language\n", "7,1,Pen,1,EA,en\n7,1,Stift,1,EA,de_DE\n7,2,Ink,1,EA,\n"), german),
      "header SUPPLIER=7\nput 1 @5\n  PRODUCTDESCRIPTION Stift\n  UNITCODE EA\n  price 1\nput 2 @6\n  "
      "PRODUCTDESCRIPTION Ink\n  UNITCODE EA\n  price 1\nencoding is UTF-8\nleft out 1 Language en\n");
}

TEST(Cif, TheCharactersAreThoseThatTheHeaderNames) {
  const std::string fields = std::string(kShort) + "\n";
  EXPECT_EQ(told(cif("CHARSET: 8859_1\n" + fields, "7,1,M\xFCller,1,EA\n")),
            "header SUPPLIER=7\nput 1 @5\n  PRODUCTDESCRIPTION Müller\n  UNITCODE EA\n  price 1\nencoding is "
            "8859_1\n");
  ReadingOptions dos;
  dos.encoding = "IBM850";
  EXPECT_EQ(told(cif("CHARSET: 8859_1\n" + fields, "7,1,M\x81ller,1,EA\n"), dos),
            "header SUPPLIER=7\nput 1 @5\n  PRODUCTDESCRIPTION Müller\n  UNITCODE EA\n  price 1\nencoding is IBM850\n");
  EXPECT_EQ(told("\xEF\xBB\xBF" + cif("CHARSET: 8859_1\n" + fields, "7,1,Müller,1,EA\n")),
            "header SUPPLIER=7\nput 1 @5\n  PRODUCTDESCRIPTION Müller\n  UNITCODE EA\n  price 1\nencoding is UTF-8\n");
}

TEST(Cif, AFileThatIsCutOffOrNoneIsOneSentence) {
  EXPECT_EQ(told("CIF_I_V3.0\nDATA\n7,1,M1,Pen\n"),
            "header SUPPLIER=7\nput 1 @3\n  PRODUCTDESCRIPTION Pen\n  MFRPARTNUMBER M1\nraised The file ends without "
            "ENDOFDATA; it was cut off\n");
  EXPECT_EQ(told("CIF_I_V3.0\nCURRENCY: EUR\n"), "raised The file has a header and no DATA\n");
  EXPECT_EQ(told(cif("nonsense\n", "")),
            "flawed : the header has a line without a name and a colon @2\nheader\nencoding is UTF-8\n");
  EXPECT_FALSE(is_cif("CIF_C_V3.0\n"));
  EXPECT_FALSE(is_cif("a,b\n"));
  Told sink;
  BytesOfText bytes("a,b\n");
  try {
    read_cif(bytes, {}, sink);
    ADD_FAILURE();
  } catch (const Raised& raised) {
    EXPECT_EQ(raised.error().Description, "This is no CIF: it does not begin with CIF_I_V3.0");
  }
}

}  // namespace
}  // namespace mercato::exchange
