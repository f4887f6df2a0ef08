// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/ubl.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/exchange/told.h"

namespace mercato::exchange {
namespace {

constexpr char kBegin[] =
    "<Catalogue xmlns=\"urn:oasis:names:specification:ubl:schema:xsd:Catalogue-2\" xmlns:cac=\"a\" xmlns:cbc=\"b\">";

std::string ubl_catalogue(const std::string& content) { return kBegin + content + "</Catalogue>"; }
std::string line(const std::string& content, const std::string& item = {}) {
  return ubl_catalogue("<cac:CatalogueLine><cbc:ID>1</cbc:ID>" + content +
                       "<cac:Item><cac:SellersItemIdentification><cbc:ID>A1</cbc:ID></cac:SellersItemIdentification>" +
                       item + "</cac:Item></cac:CatalogueLine>");
}
std::string price(const std::string& content, const std::string& beside = {}) {
  return "<cac:RequiredItemLocationQuantity>" + beside + "<cac:Price>" + content +
         "</cac:Price></cac:RequiredItemLocationQuantity>";
}
std::string amount(const std::string& text) {
  return "<cbc:PriceAmount currencyID=\"EUR\">" + text + "</cbc:PriceAmount>";
}

constexpr char kCatalogue[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<Catalogue xmlns:cac="urn:oasis:names:specification:ubl:schema:xsd:CommonAggregateComponents-2"
  xmlns:cbc="urn:oasis:names:specification:ubl:schema:xsd:CommonBasicComponents-2"
  xmlns="urn:oasis:names:specification:ubl:schema:xsd:Catalogue-2">
 <cbc:CustomizationID>urn:fdc:peppol.eu:poacc:trns:catalogue:3</cbc:CustomizationID>
 <cbc:ID>C7</cbc:ID>
 <cbc:ActionCode>Update</cbc:ActionCode>
 <cbc:VersionID>2</cbc:VersionID>
 <cac:ValidityPeriod><cbc:StartDate>2026-01-01</cbc:StartDate><cbc:EndDate>2026-12-31</cbc:EndDate></cac:ValidityPeriod>
 <cac:ReferencedContract><cbc:ID>K1</cbc:ID></cac:ReferencedContract>
 <cac:ProviderParty><cbc:EndpointID schemeID="0192">1</cbc:EndpointID></cac:ProviderParty>
 <cac:SellerSupplierParty><cac:Party><cbc:EndpointID schemeID="0192">938752655</cbc:EndpointID>
  <cac:PartyIdentification><cbc:ID schemeID="0088">5790000435951</cbc:ID></cac:PartyIdentification></cac:Party></cac:SellerSupplierParty>
 <cac:ContractorCustomerParty><cac:Party><cac:PartyName><cbc:Name>Town works</cbc:Name></cac:PartyName></cac:Party></cac:ContractorCustomerParty>
 <cac:TradingTerms><cbc:Information>30 days</cbc:Information></cac:TradingTerms>
 <cac:CatalogueLine>
  <cbc:ID>1</cbc:ID>
  <cbc:ActionCode>Add</cbc:ActionCode>
  <cbc:OrderableIndicator>true</cbc:OrderableIndicator>
  <cbc:OrderableUnit>BX</cbc:OrderableUnit>
  <cbc:ContentUnitQuantity unitCode="RM">5</cbc:ContentUnitQuantity>
  <cbc:OrderQuantityIncrementNumeric>2</cbc:OrderQuantityIncrementNumeric>
  <cbc:MinimumOrderQuantity unitCode="BX">4</cbc:MinimumOrderQuantity>
  <cbc:MaximumOrderQuantity unitCode="BX">100</cbc:MaximumOrderQuantity>
  <cbc:PackLevelCode>TU</cbc:PackLevelCode>
  <cac:LineValidityPeriod><cbc:StartDate>2026-02-01</cbc:StartDate><cbc:EndDate>2026-11-30</cbc:EndDate></cac:LineValidityPeriod>
  <cac:AccessoryRelatedItem><cbc:ID>9</cbc:ID></cac:AccessoryRelatedItem>
  <cac:RequiredItemLocationQuantity>
   <cbc:LeadTimeMeasure unitCode="DAY">2</cbc:LeadTimeMeasure>
   <cbc:MinimumQuantity unitCode="BX">1</cbc:MinimumQuantity>
   <cac:ApplicableTerritoryAddress><cac:Country><cbc:IdentificationCode>NO</cbc:IdentificationCode></cac:Country></cac:ApplicableTerritoryAddress>
   <cac:Price><cbc:PriceAmount currencyID="NOK">10.00</cbc:PriceAmount><cbc:BaseQuantity unitCode="RM">1</cbc:BaseQuantity>
    <cbc:PriceType>AAA</cbc:PriceType><cbc:OrderableUnitFactorRate>5</cbc:OrderableUnitFactorRate>
    <cac:ValidityPeriod><cbc:StartDate>2026-03-01</cbc:StartDate><cbc:EndDate>2026-03-31</cbc:EndDate></cac:ValidityPeriod></cac:Price>
  </cac:RequiredItemLocationQuantity>
  <cac:RequiredItemLocationQuantity>
   <cbc:LeadTimeMeasure unitCode="WEE">1</cbc:LeadTimeMeasure>
   <cbc:MinimumQuantity unitCode="BX">50</cbc:MinimumQuantity>
   <cac:Price><cbc:PriceAmount currencyID="NOK">45</cbc:PriceAmount><cbc:BaseQuantity unitCode="BX">1</cbc:BaseQuantity><cbc:PriceType>AAA</cbc:PriceType></cac:Price>
  </cac:RequiredItemLocationQuantity>
  <cac:Item>
   <cbc:Description languageID="en">White, 80 g</cbc:Description>
   <cbc:Description languageID="de">Weiss</cbc:Description>
   <cbc:PackQuantity unitCode="BX">1</cbc:PackQuantity>
   <cbc:PackSizeNumeric>5</cbc:PackSizeNumeric>
   <cbc:Name>Copy paper</cbc:Name>
   <cbc:Keyword>paper</cbc:Keyword>
   <cbc:BrandName>Snow</cbc:BrandName>
   <cac:BuyersItemIdentification><cbc:ID>M-100007</cbc:ID></cac:BuyersItemIdentification>
   <cac:SellersItemIdentification><cbc:ID>QM-1</cbc:ID></cac:SellersItemIdentification>
   <cac:ManufacturersItemIdentification><cbc:ID>PAP81322</cbc:ID></cac:ManufacturersItemIdentification>
   <cac:StandardItemIdentification><cbc:ID schemeID="0160">2000071000112</cbc:ID></cac:StandardItemIdentification>
   <cac:ItemSpecificationDocumentReference><cbc:ID>1</cbc:ID><cac:Attachment><cac:ExternalReference>
    <cbc:URI>https://q.example/1.PNG</cbc:URI></cac:ExternalReference></cac:Attachment></cac:ItemSpecificationDocumentReference>
   <cac:ItemSpecificationDocumentReference><cbc:ID>2</cbc:ID><cac:Attachment><cac:ExternalReference>
    <cbc:URI>https://q.example/1</cbc:URI></cac:ExternalReference></cac:Attachment></cac:ItemSpecificationDocumentReference>
   <cac:ItemSpecificationDocumentReference><cbc:ID>3</cbc:ID></cac:ItemSpecificationDocumentReference>
   <cac:OriginCountry><cbc:IdentificationCode>NO</cbc:IdentificationCode></cac:OriginCountry>
   <cac:CommodityClassification><cbc:ItemClassificationCode listID="TST" listVersionID="19">14111507</cbc:ItemClassificationCode></cac:CommodityClassification>
   <cac:CommodityClassification><cbc:ItemClassificationCode listID="MP">P1</cbc:ItemClassificationCode></cac:CommodityClassification>
   <cac:TransactionConditions><cbc:ActionCode>CT</cbc:ActionCode></cac:TransactionConditions>
   <cac:HazardousItem><cbc:UNDGCode>ADR</cbc:UNDGCode><cbc:HazardClassID>3</cbc:HazardClassID></cac:HazardousItem>
   <cac:ClassifiedTaxCategory><cbc:ID>S</cbc:ID><cbc:Percent>25</cbc:Percent></cac:ClassifiedTaxCategory>
   <cac:AdditionalItemProperty><cbc:Name>Weight</cbc:Name><cbc:Value>80</cbc:Value><cbc:ValueQuantity unitCode="GRM">80</cbc:ValueQuantity></cac:AdditionalItemProperty>
   <cac:AdditionalItemProperty><cbc:Name>Colour</cbc:Name><cbc:Value>white</cbc:Value></cac:AdditionalItemProperty>
   <cac:ManufacturerParty><cac:PartyName><cbc:Name>Mill</cbc:Name></cac:PartyName></cac:ManufacturerParty>
   <cac:Certificate><cbc:ID>1</cbc:ID></cac:Certificate>
   <cac:Dimension><cbc:AttributeID>LN</cbc:AttributeID><cbc:Measure unitCode="MTR">0.3</cbc:Measure></cac:Dimension>
  </cac:Item>
 </cac:CatalogueLine>
</Catalogue>)";

TEST(Ubl, ACatalogueOfPeppolIsToldWhole) {
  EXPECT_EQ(told(kCatalogue),
            "header FROM=2026-01-01 SUPPLIER=5790000435951 TO=2026-12-31\n"
            "catalogue is C7\n"
            "action is Update\n"
            "version is 2\n"
            "buyer is Town works\n"
            "put QM-1 @16\n"
            "  UNITCODE BX\n"
            "  (CONTENTUNITQUANTITY) 5 RM\n"
            "  MULTIPLEOF 2\n"
            "  MINORDERQTY 4\n"
            "  PRODUCTEFFECTIVITYDATE 2026-02-01\n"
            "  PRODUCTEXPIRYDATE 2026-11-30\n"
            "  DELIVERYLEADTIME 2\n"
            "  PRODUCTDESCRIPTION Copy paper\n"
            "  PRODUCTREMARK White, 80 g\n"
            "  (PACKQUANTITY) 1 BX\n"
            "  (PACKSIZENUMERIC) 5\n"
            "  (BRANDNAME) Snow\n"
            "  PARTNUMBER M-100007\n"
            "  MFRPARTNUMBER PAP81322\n"
            "  GTIN 2000071000112\n"
            "  IMAGEFILENAME https://q.example/1.PNG\n"
            "  URL https://q.example/1\n"
            "  (COUNTRY_OF_ORIGIN) NO\n"
            "  UNSPSCCODE 14111507\n"
            "  (MP) P1\n"
            "  (UNDGCODE) ADR\n"
            "  (HAZARDCLASSID) 3\n"
            "  (WEIGHT) 80 GRM\n"
            "  (COLOUR) white\n"
            "  (MANUFACTURER) Mill\n"
            "  (DIMENSION_LN) 0.3 MTR\n"
            "  price 10.00 for 1 times 5 in NOK from 1 since 2026-03-01 until 2026-03-31 group NO tax 25\n"
            "  price 45 for 1 in NOK from 50 tax 25\n"
            "left out 1 AccessoryRelatedItem\n"
            "left out 1 Certificate\n"
            "left out 1 Description de\n"
            "left out 1 ItemSpecificationDocumentReference\n"
            "left out 1 Keyword\n"
            "left out 1 LeadTimeMeasure WEE\n"
            "left out 1 MaximumOrderQuantity\n"
            "left out 1 PackLevelCode\n"
            "left out 1 ReferencedContract\n"
            "left out 1 TradingTerms\n"
            "left out 1 TransactionConditions\n");
}

TEST(Ubl, AnotherLanguageIsReadWhenItIsAskedFor) {
  ReadingOptions german;
  german.language = "de";
  EXPECT_NE(told(kCatalogue, german).find("  PRODUCTREMARK Weiss\n"), std::string::npos);
}

TEST(Ubl, ALineSaysWhatBecomesOfItsProduct) {
  EXPECT_EQ(told(line("<cbc:ActionCode>Delete</cbc:ActionCode>")), "header\nremove A1 @1\n");
  EXPECT_EQ(told(line("<cbc:ActionCode>Update</cbc:ActionCode>")), "header\nupdate A1 @1\n");
  EXPECT_EQ(told(line("")), "header\nput A1 @1\n");
  EXPECT_EQ(told(line("<cbc:ActionCode>Swap</cbc:ActionCode>")),
            "header\nflawed A1: its action is Swap; known are Add, Update and Delete @1\n");
  EXPECT_EQ(told(line("<cbc:OrderableIndicator>false</cbc:OrderableIndicator>")),
            "header\nleft out 1 CatalogueLine that is not orderable\n");
}

TEST(Ubl, AProductWithoutANumberOfTheSellerGoesByTheStandardOne) {
  EXPECT_EQ(told(ubl_catalogue("<cac:CatalogueLine><cac:Item><cac:StandardItemIdentification><cbc:ID "
                               "schemeID=\"0160\">4000000000016</cbc:ID></cac:StandardItemIdentification></cac:Item>"
                               "</cac:CatalogueLine>\n<cac:CatalogueLine><cac:Item/></cac:CatalogueLine>\n"
                               "<cac:CatalogueLine/>")),
            "header\nput 4000000000016 @1\n  GTIN 4000000000016\n"
            "flawed : CatalogueLine has an item without a number of the seller or a standard @2\n"
            "flawed : CatalogueLine has an item without a number of the seller or a standard @3\n");
}

TEST(Ubl, PricesOfATerritoryOrAKindAreTakenWhenTheyAreAskedFor) {
  const auto in = [](const std::string& country) {
    return "<cac:ApplicableTerritoryAddress><cac:Country><cbc:IdentificationCode>" + country +
           "</cbc:IdentificationCode></cac:Country></cac:ApplicableTerritoryAddress>";
  };
  const std::string all = line(price(amount("1"), in("NO")) + price(amount("2"), in("SE")) + price(amount("3")) +
                               price(amount("4") + "<cbc:PriceType>AAB</cbc:PriceType>"));
  EXPECT_EQ(
      told(all),
      "header\nput A1 @1\n  price 1 in EUR group NO\n  price 2 in EUR group SE\n  price 3 in EUR\nleft out 1 Price "
      "AAB\n");
  ReadingOptions sweden;
  sweden.territory = "se";
  EXPECT_EQ(told(all, sweden),
            "header\nput A1 @1\n  price 2 in EUR\n  price 3 in EUR\nleft out 1 Price AAB\nleft out 1 Price NO\n");
  ReadingOptions kind;
  kind.price_kind = "AAB";
  EXPECT_EQ(told(all, kind), "header\nput A1 @1\n  price 4 in EUR\nleft out 3 Price\n");
}

TEST(Ubl, APriceForAnotherUnitNeedsItsFactor) {
  const std::string unit = "<cbc:OrderableUnit>BX</cbc:OrderableUnit>";
  const std::string base = "<cbc:BaseQuantity unitCode=\"KGM\">2</cbc:BaseQuantity>";
  EXPECT_EQ(told(line(unit + price(amount("1") + base))),
            "header\nput A1 @1\n  UNITCODE BX\nleft out 1 Price for KGM without OrderableUnitFactorRate\n");
  EXPECT_EQ(
      told(line(unit + price(amount("1") + base + "<cbc:OrderableUnitFactorRate>25</cbc:OrderableUnitFactorRate>"))),
      "header\nput A1 @1\n  UNITCODE BX\n  price 1 for 2 times 25 in EUR\n");
  EXPECT_EQ(told(line(price("<cbc:PriceAmount currencyID=\"EUR\"/>"))),
            "header\nput A1 @1\nleft out 1 Price without PriceAmount\n");
}

TEST(Ubl, WhatIsNoCatalogueIsNotTakenForOne) {
  EXPECT_TRUE(is_ubl(kCatalogue));
  EXPECT_FALSE(is_ubl("<Catalogue><Book/></Catalogue>"));
  EXPECT_FALSE(is_ubl("<Invoice xmlns=\"urn:oasis:names:specification:ubl:schema:xsd:Invoice-2\"/>"));
  Told sink;
  BytesOfText bytes("<Invoice/>");
  try {
    read_ubl(bytes, {}, sink);
    ADD_FAILURE();
  } catch (const Raised& raised) {
    EXPECT_EQ(raised.error().Description, "This is no UBL catalogue: its root is Invoice");
  }
}

}  // namespace
}  // namespace mercato::exchange
