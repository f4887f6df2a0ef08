// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/cxml.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/exchange/told.h"

namespace mercato::exchange {
namespace {

std::string index(const std::string& entries) {
  return "<Index><SupplierID domain=\"DUNS\">7</SupplierID><IndexItem>" + entries + "</IndexItem></Index>";
}
std::string added(const std::string& detail) {
  return index("<IndexItemAdd><ItemID><SupplierPartID>1</SupplierPartID></ItemID><ItemDetail>" + detail +
               "</ItemDetail></IndexItemAdd>");
}
// What comes behind the header.
std::string told_items(const std::string& text, const ReadingOptions& options = {}) {
  const std::string all = told(text, options);
  EXPECT_TRUE(all.starts_with("header SUPPLIER=7\n")) << all;
  return all.substr(all.find('\n') + 1);
}

constexpr char kIndex[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE cXML SYSTEM "http://xml.cxml.org/schemas/cXML/1.2.014/cXML.dtd">
<cXML payloadID="1@quillmarch.example" timestamp="2026-10-01T12:00:00+00:00" xml:lang="en-US">
 <Header><From><Credential domain="DUNS"><Identity>7</Identity></Credential></From></Header>
 <Message>
  <Index loadmode="Incremental">
   <SupplierID domain="DUNS">942888711</SupplierID>
   <SupplierID domain="internal">QM</SupplierID>
   <Comments>Autumn</Comments>
   <SearchGroup><Name>paper</Name><SearchAttribute name="colour"/></SearchGroup>
   <IndexItem>
    <IndexItemAdd>
     <ItemID><SupplierPartID>QM-1</SupplierPartID><SupplierPartAuxiliaryID>box</SupplierPartAuxiliaryID></ItemID>
     <ItemDetail>
      <UnitPrice><Money currency="USD">3.22</Money></UnitPrice>
      <Description xml:lang="de"><ShortName>Papier</ShortName>Weiss</Description>
      <Description xml:lang="en"><ShortName>Copy paper</ShortName>
        White,
        80 g
      </Description>
      <UnitOfMeasure>BX</UnitOfMeasure>
      <PriceBasisQuantity quantity="100" conversionFactor="1"><UnitOfMeasure>BX</UnitOfMeasure></PriceBasisQuantity>
      <Classification domain="UNSPSC">14111507</Classification>
      <Classification domain="UNSPSC">14111500</Classification>
      <Classification domain="house">P1</Classification>
      <ManufacturerPartID>PAP81322</ManufacturerPartID>
      <ManufacturerName>Mill</ManufacturerName>
      <URL>https://quillmarch.example/1</URL>
      <LeadTime>3</LeadTime>
      <Extrinsic name="ImageURL">https://quillmarch.example/1.jpg</Extrinsic>
      <Extrinsic name="Number">5</Extrinsic>
      <Extrinsic name="Tree"><Leaf>x</Leaf></Extrinsic>
     </ItemDetail>
     <IndexItemDetail>
      <LeadTime>4</LeadTime>
      <ExpirationDate>2027-01-01T00:00:00-08:00</ExpirationDate>
      <EffectiveDate>2026-10-01</EffectiveDate>
      <SearchGroupData><Name>paper</Name><SearchDataElement name="colour" value="white"/></SearchGroupData>
      <TerritoryAvailable>US</TerritoryAvailable>
     </IndexItemDetail>
    </IndexItemAdd>
   </IndexItem>
   <IndexItem>
    <IndexItemDelete><ItemID><SupplierPartID>QM-2</SupplierPartID></ItemID></IndexItemDelete>
    <IndexItemDelete><ItemID><SupplierPartID>QM-3</SupplierPartID></ItemID></IndexItemDelete>
   </IndexItem>
   <IndexItem>
    <IndexItemPunchout><ItemID><SupplierPartID>QM-4</SupplierPartID></ItemID><PunchoutDetail/></IndexItemPunchout>
   </IndexItem>
  </Index>
 </Message>
</cXML>)";

TEST(Cxml, AnIndexIsToldWhole) {
  EXPECT_EQ(told(kIndex),
            "header LANGUAGE=en-US SUPPLIER=942888711\n"
            "load mode is Incremental\n"
            "put QM-1 @12\n"
            "  (SUPPLIERPARTAUXILIARYID) box\n"
            "  PRODUCTDESCRIPTION Copy paper\n"
            "  PRODUCTREMARK White,\n        80 g\n"
            "  UNITCODE BX\n"
            "  UNSPSCCODE 14111507\n"
            "  (HOUSE) P1\n"
            "  MFRPARTNUMBER PAP81322\n"
            "  (MANUFACTURER) Mill\n"
            "  URL https://quillmarch.example/1\n"
            "  DELIVERYLEADTIME 3\n"
            "  IMAGEFILENAME https://quillmarch.example/1.jpg\n"
            "  (NUMBER) 5\n"
            "  PRODUCTEXPIRYDATE 2027-01-01\n"
            "  PRODUCTEFFECTIVITYDATE 2026-10-01\n"
            "  (COLOUR) white\n"
            "  price 3.22 for 100 in USD\n"
            "remove QM-2 @44\n"
            "remove QM-3 @45\n"
            "left out 1 Classification UNSPSC\n"
            "left out 1 Comments\n"
            "left out 1 Description de\n"
            "left out 1 Extrinsic Tree\n"
            "left out 1 IndexItemPunchout\n"
            "left out 1 LeadTime\n"
            "left out 1 SearchGroup\n"
            "left out 1 TerritoryAvailable\n");
}

TEST(Cxml, ADescriptionWithoutAShortNameIsTheNameItself) {
  EXPECT_EQ(told_items(added("<Description xml:lang=\"en\">Pen, blue</Description>")),
            "put 1 @1\n  PRODUCTDESCRIPTION Pen, blue\n");
}

TEST(Cxml, TheFirstDescriptionSaysTheLanguageUnlessAnotherIsAskedFor) {
  const std::string both =
      added("<Description xml:lang=\"de\">Stift</Description><Description xml:lang=\"en\">Pen</Description>");
  EXPECT_EQ(told_items(both), "put 1 @1\n  PRODUCTDESCRIPTION Stift\nleft out 1 Description en\n");
  ReadingOptions english;
  english.language = "eng";
  EXPECT_EQ(told_items(both, english), "put 1 @1\n  PRODUCTDESCRIPTION Pen\nleft out 1 Description de\n");
}

TEST(Cxml, APriceForAnotherUnitThanThatOfTheOrderIsLeftOut) {
  EXPECT_EQ(
      told_items(added("<UnitPrice><Money currency=\"EUR\">5</Money></UnitPrice><UnitOfMeasure>BX</UnitOfMeasure>"
                       "<PriceBasisQuantity quantity=\"2\"><UnitOfMeasure>KGM</UnitOfMeasure></PriceBasisQuantity>")),
      "put 1 @1\n  UNITCODE BX\nleft out 1 UnitPrice with PriceBasisQuantity in KGM\n");
  EXPECT_EQ(told_items(added("<UnitPrice/>")), "put 1 @1\nleft out 1 UnitPrice without Money\n");
}

TEST(Cxml, AnItemWithoutANumberIsTold) {
  EXPECT_EQ(told_items(index("<IndexItemAdd><ItemID/></IndexItemAdd>\n<IndexItemDelete/>")),
            "flawed : IndexItemAdd has no SupplierPartID @1\nflawed : IndexItemDelete has no SupplierPartID @2\n");
}

TEST(Cxml, OtherDocumentsOfCxmlAreNoCatalogues) {
  EXPECT_TRUE(is_cxml("<Index><SupplierID>"));
  EXPECT_TRUE(is_cxml(kIndex));
  EXPECT_FALSE(is_cxml("<cXML><Request><OrderRequest>"));
  EXPECT_FALSE(is_cxml("<html>"));
  Told sink;
  BytesOfText bytes("<Products/>");
  try {
    read_cxml(bytes, {}, sink);
    ADD_FAILURE();
  } catch (const Raised& raised) {
    EXPECT_EQ(raised.error().Description, "This is no cXML: its root is Products");
  }
}

}  // namespace
}  // namespace mercato::exchange
