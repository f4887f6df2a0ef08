// SPDX-License-Identifier: Apache-2.0
// mercato reference and mercato schema.
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

class ReferenceCommands : public CommandTest {
 protected:
  ReferenceCommands()
      : CommandTest(
            "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each');\n"
            "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('BX', 'box');\n"
            "INSERT INTO CURRENCY (CURRENCYCODE, DESCRIPTION) VALUES ('EUR', 'Euro');\n"
            "INSERT INTO CURRENCY (CURRENCYCODE, DESCRIPTION) VALUES ('USD', 'US dollar');\n"
            "INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME) VALUES ('QUILL', 'Quill & Co');\n"
            "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNITCODE, BUSINESSPARTNERID) VALUES ('P1', 'Pen', "
            "'EA', 1);\n") {}

  // The tables that whole_store does not have.
  std::string others() {
    return rows(
        "SELECT * FROM CURRENCY;\nSELECT * FROM EXCHANGERATE;\nSELECT * FROM BUSINESSPARTNER;\n"
        "SELECT * FROM USERS;\nSELECT * FROM FAQISSUE;\nSELECT * FROM TAXCODES;\n");
  }
};

TEST_F(ReferenceCommands, ListTheTablesWithTheirCounts) {
  const json tables = answer({"reference", "list"})["tables"];
  std::string all;
  for (const json& table : tables) all += table["name"].get<std::string>() + " " + table["rows"].dump() + "\n";
  EXPECT_EQ(
      all,
      "units 2\nhazardous-classes 0\ncommodities 0\nmanufacturers 0\ntax-codes 0\ncurrencies 2\nrates 0\nusers 0\n"
      "partners 1\ncontract-lines 0\nquestions 0\nquestion-categories 0\nvisibilities 0\n");
  EXPECT_EQ(tables[6]["key"], json({"SOURCECODE", "TARGETCODE", "EFFECTIVEDATE"}));
  expect_done({"reference", "list", "UNIT"},
              "UNITCODE  UNITDESCRIPTION\n"
              "BX        box\n"
              "EA        each\n");
}

TEST_F(ReferenceCommands, InsertAndChangeARowByItsKey) {
  expect_done({"reference", "set", "units", "UNITCODE=PK", "UNITDESCRIPTION=pack"},
              "UNIT: 1 inserted, 0 changed, 0 unchanged.\n");
  expect_done({"reference", "set", "units", "unitcode=pk", "unitdescription="},
              "UNIT: 0 inserted, 1 changed, 0 unchanged.\n");
  expect_done({"reference", "set", "units", "UNITCODE=EA", "UNITDESCRIPTION=each"},
              "UNIT: 0 inserted, 0 changed, 1 unchanged.\n");
  expect_done(
      {"reference", "set", "rates", "SOURCECODE=EUR", "TARGETCODE=USD", "EFFECTIVEDATE=2026-07-01", "RATE=1.11"},
      "EXCHANGERATE: 1 inserted, 0 changed, 0 unchanged.\n");
  expect_done(
      {"reference", "set", "rates", "SOURCECODE=EUR", "TARGETCODE=USD", "EFFECTIVEDATE=2026-07-01", "RATE=1.12"},
      "EXCHANGERATE: 0 inserted, 1 changed, 0 unchanged.\n");
  expect_done({"reference", "set", "partners", "BUSINESSID=QUILL", "PARTNERNAME=Quill"},
              "BUSINESSPARTNER: 0 inserted, 1 changed, 0 unchanged.\n");
  expect_done({"reference", "set", "questions", "QUESTION=Why?", "PRODUCTID=1"},
              "FAQISSUE: 1 inserted, 0 changed, 0 unchanged.\n");
  expect_done({"reference", "set", "questions", "FAQISSUEID=1", "ANSWER=So."},
              "FAQISSUE: 0 inserted, 1 changed, 0 unchanged.\n");
  EXPECT_EQ(rows("SELECT UNITCODE, UNITDESCRIPTION FROM UNIT ORDER BY UNITCODE;\n"
                 "SELECT RATE FROM EXCHANGERATE;\nSELECT BUSINESSPARTNERID, PARTNERNAME FROM BUSINESSPARTNER;\n"
                 "SELECT QUESTION, ANSWER FROM FAQISSUE;\n"),
            "UNITCODE  UNITDESCRIPTION\n"
            "BX        box\n"
            "EA        each\n"
            "pk        -\n"
            "RATE\n"
            "1.12\n"
            "BUSINESSPARTNERID  PARTNERNAME\n"
            "1                  Quill\n"
            "QUESTION  ANSWER\n"
            "Why?      So.\n"
            "4 statements run, 0 rows changed.\n");
}

TEST_F(ReferenceCommands, LoadAllRowsOfAFileOrNone) {
  write_file("units.csv", "UNITCODE,UNITDESCRIPTION\nBX,carton\nEA,each\nRM,\"ream, of 500\"\n");
  const std::string before = whole_store();
  expect_done({"reference", "load", "units", "units.csv", "--dry-run"},
              "UNIT: 1 would be inserted, 1 changed, 1 unchanged.\n");
  EXPECT_EQ(whole_store(), before);
  EXPECT_EQ(answer({"reference", "load", "units", "units.csv"}),
            json({{"inserted", 1}, {"changed", 1}, {"unchanged", 1}, {"dryRun", false}}));
  EXPECT_EQ(rows("SELECT * FROM UNIT ORDER BY UNITCODE;\n"),
            "UNITCODE  UNITDESCRIPTION\nBX        carton\nEA        each\nRM        ream, of 500\n");
}

TEST_F(ReferenceCommands, NameEachFaultOfAFileWithItsLine) {
  write_file("rates.csv",
             "SOURCECODE,TARGETCODE,EFFECTIVEDATE,RATE,NOTE\n"
             "EUR,USD,2026-07-01,1.11,\n"
             "EUR,XXX,1/7/2026,\"1,11\",\n"
             "eur,usd,2026-07-01,1.2,\n"
             ",USD,2026-07-02,1,\n");
  const std::string before = others();
  expect_refused({"reference", "load", "rates", "rates.csv"},
                 "refused: line 2: there is no column NOTE in EXCHANGERATE\n"
                 "refused: line 3: TARGETCODE names XXX, and CURRENCY has no such row\n"
                 "refused: line 3: EFFECTIVEDATE takes a date such as 2026-07-01, not '1/7/2026'\n"
                 "refused: line 3: RATE takes a number such as 12.5, not '1,11'\n"
                 "refused: line 3: there is no column NOTE in EXCHANGERATE\n"
                 "refused: line 3: EFFECTIVEDATE is missing, by which a row is known\n"
                 "refused: line 4: there is no column NOTE in EXCHANGERATE\n"
                 "refused: line 4: line 2 has the same key\n"
                 "refused: line 5: there is no column NOTE in EXCHANGERATE\n"
                 "refused: line 5: SOURCECODE is missing, by which a row is known\n"
                 "mercato: rates.csv has 10 faults; nothing of it was written.\n");
  expect_refused({"reference", "set", "partners", "BUSINESSID=NEW", "BUSINESSPARTNERID=7"},
                 "refused: the store gives out BUSINESSPARTNERID itself: leave it out\n"
                 "mercato: The row has 1 fault; nothing of it was written.\n");
  expect_refused({"reference", "set", "questions", "FAQISSUEID=7", "ANSWER=x"},
                 "refused: there is no row 7; the store gives out FAQISSUEID itself: leave it empty for a new one\n"
                 "mercato: The row has 1 fault; nothing of it was written.\n");
  expect_refused({"reference", "set", "units", "UNITDESCRIPTION=box"},
                 "refused: UNITCODE is missing, by which a row is known\n"
                 "mercato: The row has 1 fault; nothing of it was written.\n");
  EXPECT_EQ(others(), before);
}

TEST_F(ReferenceCommands, DeleteWhatNobodyRefersTo) {
  expect_refused({"reference", "delete", "units", "BX"}, "mercato: UNIT BX will be deleted: --yes confirms it.\n");
  expect_refused({"reference", "delete", "units", "EA", "--yes"},
                 "refused: 1 row of PRODUCT refers to it in UNITCODE\nmercato: UNIT EA stays.\n");
  expect_refused(
      {"reference", "delete", "partners", "QUILL", "--yes"},
      "refused: 1 row of PRODUCT refers to it in BUSINESSPARTNERID\nmercato: BUSINESSPARTNER QUILL stays.\n");
  expect_refused({"reference", "delete", "units", "QQ", "--yes"}, "mercato: There is no UNIT QQ.\n");
  expect_refused({"reference", "delete", "rates", "EUR", "--yes"},
                 "mercato: A row of rates is named by SOURCECODE TARGETCODE EFFECTIVEDATE.\n");
  expect_done({"reference", "delete", "units", "BX", "--yes"}, "UNIT BX deleted.\n");
  expect_done({"reference", "delete", "currencies", "USD", "--yes"}, "CURRENCY USD deleted.\n");
  EXPECT_EQ(rows("SELECT UNITCODE FROM UNIT;\nSELECT CURRENCYCODE FROM CURRENCY;\n"),
            "UNITCODE\nEA\nCURRENCYCODE\nEUR\n2 statements run, 0 rows changed.\n");
}

TEST_F(ReferenceCommands, ShowARowWhole) {
  expect_done({"reference", "show", "currencies", "eur"},
              "COLUMN        VALUE\n"
              "CURRENCYCODE  EUR\n"
              "DESCRIPTION   Euro\n");
  expect_refused({"reference", "list", "colours"},
                 "mercato: There is no reference table colours; there are units, hazardous-classes, commodities, "
                 "manufacturers, tax-codes, currencies, rates, users, partners, contract-lines, questions, "
                 "question-categories, visibilities.\n");
}

TEST_F(ReferenceCommands, SchemaPrintsTypesKeysAndReferences) {
  expect_done({"schema", "commodity"},
              "TABLE      COLUMN           TYPE           EMPTY  KEY  REFERS TO\n"
              "COMMODITY  COMMODITYCODE    nvarchar(50)   no     1    \n"
              "COMMODITY  DESCRIPTION      nvarchar(500)  yes         \n"
              "COMMODITY  USERID           nvarchar(60)   yes         \n"
              "COMMODITY  CHARGETYPECODE   nvarchar(50)   yes         \n"
              "COMMODITY  TAXCODE          nvarchar(50)   yes         TAXCODES.TAXCODE\n"
              "COMMODITY  PROPERTYGROUPID  int            yes         PROPERTYGROUP.PROPERTYGROUPID\n"
              "COMMODITY  BISITEMCODE      nvarchar(50)   yes         \n");
  const json columns = answer({"schema", "CATALOGPRODUCTPRICE"})["tables"][0]["columns"];
  EXPECT_EQ(columns[0], json({{"name", "PRODUCTID"},
                              {"type", "int"},
                              {"width", 0},
                              {"nullable", false},
                              {"assigned", false},
                              {"key", 0},
                              {"refersTo", "PRODUCT.PRODUCTID"}}));
  EXPECT_EQ(columns[6]["type"], "money");
  expect_refused({"schema", "NOTHING"}, "mercato: There is no table NOTHING.\n");
}

}  // namespace
}  // namespace mercato::test
