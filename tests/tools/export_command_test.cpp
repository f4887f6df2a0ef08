// SPDX-License-Identifier: Apache-2.0
// mercato export: what it writes, and that an import of it changes nothing.
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

// What products refer to.
constexpr const char* kReferences =
    "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each');\n"
    "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('BX', 'box');\n"
    "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR');\n"
    "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('USD');\n"
    "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('QUILL');\n"
    "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('Müller & Söhne');\n"
    "INSERT INTO USERS (USERID, ISBUYER, ISACTIVE) VALUES ('anna', 1, 1);\n"
    "INSERT INTO USERS (USERID, ISBUYER, ISACTIVE) VALUES ('bert', 1, 1);\n";

// Values that get lost or changed where a form is written or read without care.
constexpr const char* kHostile =
    "INSERT INTO PRODUCT (PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, PRODUCTREMARK, UNITCODE, "
    "BUSINESSPARTNERID, DISABLED, MULTIPLEBUYER) VALUES (N'=1+1', N'0007', N'=SUM(A1:A9)', N'he said \"no\", twice', "
    "'EA', 1, 0, 0);\n"
    "INSERT INTO PRODUCT (PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, PRODUCTREMARK, UNITCODE, "
    "BUSINESSPARTNERID, MINORDERQTY, MULTIPLEOF, LOTSIZE, PRODUCTEFFECTIVITYDATE, MULTIPLEBUYER, GTIN) VALUES "
    "(N'00012', N'1,234', N'Grüße;\ttab, line\nand another', N'O''Brien''s <b>&amp;</b>', 'BX', 2, 12, 1.5, 0.25, "
    "'2026-03-04', 0, '04006381333931');\n"
    "INSERT INTO PRODUCT (PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, USERID, MULTIPLEBUYER, DISABLED, "
    "URL, DATEUPDATED) VALUES (N'P3', N'+49', N'@cmd', 'anna', 1, 1, '', '2020-02-03');\n"
    "INSERT INTO PRODUCT (PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, DISABLED) VALUES "
    "(N'P4', N'3/4', N'日本語 – no unit', 0);\n"
    "INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (3, 'anna');\n"
    "INSERT INTO PRODUCTBUYER (PRODUCTID, USERID) VALUES (3, 'bert');\n"
    "INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) VALUES (N'COLOUR', 1);\n"
    "INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) VALUES (N'Max. load (kg)', 1);\n"
    "INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) VALUES (N'NOTE', 1);\n"
    "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 1, N'007');\n"
    "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 2, N'');\n"
    "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 3, NULL);\n"
    "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (2, 1, N'12,5');\n"
    "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES "
    "(3, 1, N'more than the thirty characters that a document may have');\n"
    "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICE, CURRENCYCODE, QUANTITYTO, PRICEEFFECTIVEDATE, PRICEEXPIRYDATE, "
    "GROUPBY) VALUES (1, 1.2345, 'EUR', 9, '2026-01-01', '2026-12-31', '');\n"
    "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICE, CURRENCYCODE, QUANTITYTO, PRICEEFFECTIVEDATE, PRICEEXPIRYDATE, "
    "GROUPBY, PRICETAXPERCENTAGE) VALUES (1, 1, 'EUR', 999999999, '2026-01-01', '2026-12-31', '', 19);\n"
    "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICE, CURRENCYCODE, QUANTITYTO, PRICEEFFECTIVEDATE, GROUPBY, "
    "DISCOUNTPERC, DISCOUNTAMOUNT, FREIGHTCOST) VALUES (2, 1234.5, 'USD', 2.5, '2026-02-03', NULL, 5, 0.5, 12);\n"
    "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICE, CURRENCYCODE, QUANTITYTO, PRICEEFFECTIVEDATE, PRICEEXPIRYDATE, "
    "GROUPBY) VALUES (3, 0, 'EUR', 999999999, '2026-02-03', '2027-01-01', N'Großkunden');\n"
    "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME, UNSPSCCODE) VALUES (N'Pens > \"ink\"', N'4412');\n"
    "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES (N'Loads, heavy');\n"
    "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1, 1, 1);\n"
    "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (1, 2, 1);\n";

class ExportCommand : public CommandTest {
 protected:
  ExportCommand() : CommandTest(kReferences) {}

  // Row by row, with the day on which each product was last written.
  std::string catalogue_rows() {
    return rows(
        "SELECT * FROM PRODUCT ORDER BY PRODUCTID;\n"
        "SELECT * FROM PRODUCTBUYER ORDER BY PRODUCTID, USERID;\n"
        "SELECT * FROM PROPERTY ORDER BY PROPERTYID;\n"
        "SELECT * FROM PRODUCTPROPVALUE ORDER BY PRODUCTID, PROPERTYID;\n"
        "SELECT * FROM CATALOGPRODUCTPRICE ORDER BY PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY;\n"
        "SELECT * FROM PRODUCTSBYCATEGORY ORDER BY PRODUCTID, CATEGORYID;\n");
  }
  // The same without that day, which an upload of documents writes anew, and without ids that a store gives out.
  std::string said_of_products() {
    return rows(
        "SELECT PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, PRODUCTREMARK, UNITCODE, BUSINESSPARTNERID, USERID, "
        "MINORDERQTY, MULTIPLEOF, LOTSIZE, PRODUCTEFFECTIVITYDATE, GTIN, MULTIPLEBUYER, DISABLED FROM PRODUCT ORDER BY "
        "PARTNUMBER;\n"
        "SELECT B.USERID, P.PARTNUMBER FROM PRODUCTBUYER B INNER JOIN PRODUCT P ON B.PRODUCTID = P.PRODUCTID ORDER BY "
        "B.USERID, P.PARTNUMBER;\n"
        "SELECT P.PARTNUMBER, D.PROPERTYNAME, V.VALUE FROM PRODUCTPROPVALUE V INNER JOIN PROPERTY D ON V.PROPERTYID = "
        "D.PROPERTYID INNER JOIN PRODUCT P ON V.PRODUCTID = P.PRODUCTID ORDER BY P.PARTNUMBER, D.PROPERTYNAME;\n"
        "SELECT P.PARTNUMBER, V.PRICE, V.CURRENCYCODE, V.QUANTITYTO, V.PRICEEFFECTIVEDATE, V.PRICEEXPIRYDATE, "
        "V.GROUPBY, V.PRICETAXPERCENTAGE, V.DISCOUNTPERC, V.DISCOUNTAMOUNT, V.FREIGHTCOST FROM CATALOGPRODUCTPRICE V "
        "INNER JOIN PRODUCT P ON V.PRODUCTID = P.PRODUCTID ORDER BY P.PARTNUMBER, V.PRICEEFFECTIVEDATE, "
        "V.QUANTITYTO;\n");
  }
  std::string text_of(const std::string& name) const { return read_whole(tool_.folder() / name); }
  void expect_exported(const Words& what, const std::string& err) {
    Words words = {"export"};
    words.insert(words.end(), what.begin(), what.end());
    const ToolRun done = run(words);
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_EQ(done.err, err);
  }
};

TEST_F(ExportCommand, ImportOfATableThatWasExportedChangesNothing) {
  execute(kHostile);
  const std::string before = catalogue_rows();
  for (const std::string form : {"csv", "xlsx"}) {
    expect_exported({"products", "--as", form, "-o", "p." + form}, "4 records in p." + form + ".\n");
    const json products = answer({"import", "p." + form});
    EXPECT_EQ(products["read"], 4) << form;
    EXPECT_EQ(products["unchanged"], 4) << form;
    EXPECT_EQ(products["leftOut"], json::object()) << form;
    expect_exported({"prices", "--as", form, "-o", "v." + form}, "4 records in v." + form + ".\n");
    const json prices = answer({"import", "v." + form});
    EXPECT_EQ(prices["unchangedPriceLines"], 4) << form;
    EXPECT_EQ(prices["priceLines"]["given"], 0) << form;
    EXPECT_EQ(catalogue_rows(), before) << form;
  }
}

TEST_F(ExportCommand, ImportOfABmecatThatWasExportedChangesNothing) {
  execute(kHostile);
  const std::string before = catalogue_rows();
  expect_exported({"products", "--as", "bmecat", "-o", "p.xml"},
                  "4 records in p.xml.\n"
                  "left out: BUSINESSID, 2 times\n"
                  "left out: BUYERID, 1 time\n"
                  "left out: DISABLED, 1 time\n"
                  "left out: LOTSIZE, 1 time\n"
                  "left out: MULTIPLEBUYER, 1 time\n"
                  "left out: PRODUCTEFFECTIVITYDATE, 1 time\n"
                  "left out: price line, 2 times\n"
                  "left out: property Max. load (kg), 1 time\n");
  const json report = answer({"import", "p.xml"});
  EXPECT_EQ(report["format"], "bmecat");
  EXPECT_EQ(report["read"], 4);
  EXPECT_EQ(report["unchanged"], 4);
  EXPECT_EQ(report["unchangedPriceLines"], 2);
  EXPECT_EQ(report["categories"], 3);
  EXPECT_EQ(report["links"], 2);
  EXPECT_EQ(catalogue_rows(), before);
}

TEST_F(ExportCommand, UploadOfDocumentsThatWereExportedChangesNothingButTheDayOfTheUpdate) {
  execute(kHostile);
  // A document has no room for these: the library cuts the value, and doubles no line without a group. An upload takes
  // no remark with an apostrophe.
  execute(
      "UPDATE PRODUCT SET PRODUCTREMARK = N'<b>&amp;</b>' WHERE PRODUCTID = 2;\n"
      "DELETE FROM PRODUCTPROPVALUE WHERE PROPERTYID = 3;\n"
      "DELETE FROM CATALOGPRODUCTPRICE WHERE PRODUCTID > 1;\n");
  const std::string before = said_of_products();
  expect_exported({"products", "--as", "documents", "-o", "p.xml"},
                  "4 records in p.xml.\nleft out: property Max. load (kg), 1 time\n");
  EXPECT_NE(text_of("p.xml").find("<PRODUCTEFFECTIVITYDATE>2026-03-04</PRODUCTEFFECTIVITYDATE>"), std::string::npos);
  EXPECT_EQ(answer({"upload", "p.xml"})["unchanged"], 4);
  expect_exported({"prices", "--as", "documents", "-o", "v.xml"}, "2 records in v.xml.\n");
  EXPECT_EQ(run({"prices", "upload", "v.xml"}).status, 0);
  EXPECT_EQ(said_of_products(), before);
}

TEST_F(ExportCommand, ImportOfAChangedTableChangesThatAlone) {
  execute(kHostile);
  expect_exported({"products", "-o", "p.csv"}, "4 records in p.csv.\n");
  std::string table = text_of("p.csv");
  const std::string old = "=SUM(A1:A9)";
  table.replace(table.find(old), old.size(), "=SUM(A1:A8)");
  write_file("p.csv", table);
  std::string expected = catalogue_rows();
  expected.replace(expected.find(old), old.size(), "=SUM(A1:A8)");
  const json report = answer({"import", "p.csv"});
  EXPECT_EQ(report["unchanged"], 3);
  EXPECT_EQ(report["products"]["updated"], 1);
  execute("UPDATE PRODUCT SET DATEUPDATED = NULL WHERE PRODUCTID = 1;\n");
  EXPECT_EQ(catalogue_rows(), expected);
}

TEST_F(ExportCommand, ImportIntoAnotherStoreGivesTheSameProducts) {
  execute(kHostile);
  // What an import refuses for a new product, and what it fills in, says nothing of the way.
  execute(
      "UPDATE PRODUCT SET UNITCODE = 'EA', MULTIPLEBUYER = 0, USERID = NULL, MINORDERQTY = 1, MULTIPLEOF = 1, DISABLED "
      "= 0;\n"
      "UPDATE PRODUCT SET PRODUCTREMARK = N'<b>&amp;</b>' WHERE PRODUCTID = 2;\n"
      "UPDATE PRODUCT SET URL = NULL;\n"
      "DELETE FROM PRODUCTBUYER;\n"
      "DELETE FROM PRODUCTPROPVALUE WHERE PROPERTYID > 1 OR PRODUCTID > 1;\n"
      "UPDATE CATALOGPRODUCTPRICE SET GROUPBY = '', PRICE = 2, PRICEEXPIRYDATE = '2027-02-28' WHERE PRODUCTID > 1;\n");
  const std::string before = said_of_products();
  for (const std::string form : {"csv", "xlsx"}) {
    expect_exported({"products", "--as", form, "-o", "p." + form}, "4 records in p." + form + ".\n");
    expect_exported({"prices", "--as", form, "-o", "v." + form}, "4 records in v." + form + ".\n");
    execute(
        "DELETE FROM CATALOGPRODUCTPRICE;\nDELETE FROM PRODUCTPROPVALUE;\nDELETE FROM PROPERTY;\n"
        "DELETE FROM PRODUCTSBYCATEGORY;\nDELETE FROM PRODUCT;\n");
    EXPECT_EQ(answer({"import", "p." + form})["products"]["inserted"], 4) << form;
    EXPECT_EQ(answer({"import", "v." + form})["priceLines"]["added"], 4) << form;
    EXPECT_EQ(said_of_products(), before) << form;
  }
}

TEST_F(ExportCommand, WritesTablesThatPeopleCanRead) {
  execute(kHostile);
  const ToolRun prices = run({"export", "prices"});
  EXPECT_EQ(prices.status, 0);
  EXPECT_EQ(prices.err, "4 records written.\n");
  EXPECT_EQ(prices.out,
            "BUYFROMPARTNUMBER,PRICE,CURRENCYCODE,QUANTITYTO,PRICEEFFECTIVEDATE,PRICEEXPIRYDATE,GROUPBY,"
            "PRICETAXPERCENTAGE,DISCOUNTPERC,DISCOUNTAMOUNT,FREIGHTCOST\n"
            "0007,1.2345,EUR,9,2026-01-01,2026-12-31,,,,,\n"
            "0007,1,EUR,999999999,2026-01-01,2026-12-31,,19,,,\n"
            "\"1,234\",1234.5,USD,2.5,2026-02-03,,,,5,0.5,12\n"
            "+49,0,EUR,999999999,2026-02-03,2027-01-01,Großkunden,,,,\n");
  const ToolRun products = run({"export", "products", "--part-number", "=1*"});
  EXPECT_EQ(products.err, "1 record written.\n");
  EXPECT_EQ(products.out,
            "BUYFROMPARTNUMBER,PARTNUMBER,PRODUCTDESCRIPTION,PRODUCTREMARK,UNITCODE,BUSINESSID,MFRPARTNUMBER,GTIN,"
            "COMMODITYCODE,UNSPSCCODE,CLASSCODE,CLASSIFICATION,MINORDERQTY,MULTIPLEOF,LOTSIZE,DELIVERYLEADTIME,"
            "PRODUCTEFFECTIVITYDATE,PRODUCTEXPIRYDATE,IMAGEFILENAME,TECHNICALIMAGE,URL,PRODUCTXML,"
            "BUYFROMCONTACTEMAIL,BUYFROMCONTACTINFO,CONTRACTCODE,NUMBER,BUYERID,MULTIPLEBUYER,SERVICEITEM,DISABLED,"
            "CATEGORIES,PROPERTY:COLOUR,PROPERTY:Max. load (kg),PROPERTY:NOTE\n"
            "0007,=1+1,=SUM(A1:A9),\"he said \"\"no\"\", twice\",EA,QUILL,,,,,,,,,,,,,,,,,,,,,,0,0,0,"
            "\"Pens > \"\"ink\"\"; Loads, heavy\",007,\"12,5\","
            "more than the thirty characters that a document may have\n");
  const ToolRun categories = run({"export", "categories", "--json"});
  EXPECT_EQ(categories.err, "{\"written\":2,\"withoutSupplierNumber\":0,\"leftOut\":{}}\n");
  EXPECT_EQ(categories.out,
            "CATEGORYID,CATEGORYNAME,UNSPSCCODE\n"
            "1,\"Pens > \"\"ink\"\"\",4412\n"
            "2,\"Loads, heavy\",\n");
}

TEST_F(ExportCommand, WritesALineOfJsonForEachRecord) {
  execute(kHostile);
  const ToolRun done = run({"export", "products", "--as", "json", "--supplier", "QUILL"});
  EXPECT_EQ(done.status, 0);
  const json product = json::parse(done.out);
  EXPECT_EQ(product["PRODUCTID"], 1);
  EXPECT_EQ(product["BUYFROMPARTNUMBER"], "0007");
  EXPECT_EQ(product["GTIN"], nullptr);
  EXPECT_EQ(product["MULTIPLEBUYER"], 0);
  EXPECT_EQ(product["properties"],
            json::parse(R"json([{"name": "COLOUR", "value": "007"}, {"name": "Max. load (kg)", "value": "12,5"
},
                            {"name": "NOTE", "value": "more than the thirty characters that a document may have"}])json"));
  EXPECT_EQ(product["categories"],
            json::parse(R"([{"id": 1, "name": "Pens > \"ink\""}, {"id": 2, "name": "Loads, heavy"}])"));
  EXPECT_EQ(product["prices"][0]["PRICE"], 1.2345);
  EXPECT_EQ(product["prices"][0]["PRICEEXPIRYDATE"], "2026-12-31");
  EXPECT_EQ(product["prices"][1]["QUANTITYTO"], 999999999);
}

TEST_F(ExportCommand, ChoosesProducts) {
  execute(kHostile);
  execute(
      "INSERT INTO CATALOG (CATALOGNAME) VALUES (N'Office');\n"
      "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, CATEGORYID) VALUES (1, N'Pens', 1);\n");
  const auto numbers = [this](Words filter) {
    filter.insert(filter.begin(), {"export", "products", "--as", "json"});
    const ToolRun done = run(filter);
    std::string all;
    for (std::size_t at = 0, end = 0; (end = done.out.find('\n', at)) != std::string::npos; at = end + 1)
      all += json::parse(done.out.substr(at, end - at))["BUYFROMPARTNUMBER"].get<std::string>() + " ";
    return all + std::to_string(done.status);
  };
  EXPECT_EQ(numbers({}), "0007 1,234 +49 3/4 0");
  EXPECT_EQ(numbers({"--supplier", "2"}), "1,234 0");
  EXPECT_EQ(numbers({"--category", "Loads, heavy"}), "0007 0");
  EXPECT_EQ(numbers({"--catalog", "Office"}), "0007 0");
  EXPECT_EQ(numbers({"--part-number", "p?"}), "+49 3/4 0");
  EXPECT_EQ(numbers({"--part-number", "0*"}), "0007 1,234 0");
  EXPECT_EQ(numbers({"--part-number", "%"}), "1");
}

TEST_F(ExportCommand, WritesATreeAndCodesThatCanBeLoadedAgain) {
  execute(
      "INSERT INTO CATALOG (CATALOGNAME) VALUES (N'Office');\n"
      "INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (1, N'House, \"old\"');\n"
      "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME) VALUES (1, 1, N'Pens');\n"
      "INSERT INTO UNSPSCCODES (PARENTCODE, UNSPSCCODE, LEVELNUMBER, DESCRIPTION) VALUES ('', '44', 1, N'Office & "
      "more');\n"
      "INSERT INTO UNSPSCCODES (PARENTCODE, UNSPSCCODE, LEVELNUMBER, DESCRIPTION) VALUES ('44', '12', 2, "
      "N'Supplies');\n");
  expect_exported({"catalog", "--catalog", "Office", "-o", "tree.csv"}, "2 records in tree.csv.\n");
  EXPECT_EQ(text_of("tree.csv"), "id,parent,name,category\n1,,\"House, \"\"old\"\"\",\n2,1,Pens,\n");
  EXPECT_EQ(run({"catalog", "load", "tree.csv", "--name", "Copy"}).out, "catalogue 2 created with 2 nodes, 1 root.\n");
  expect_exported({"unspsc", "--as", "documents", "-o", "codes.xml"}, "2 records in codes.xml.\n");
  EXPECT_EQ(text_of("codes.xml"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<UNSPSC_ITEMS>\n"
            "  <UNSPSC_ITEM><CODE>44000000</CODE><DESCRIPTION>Office &amp; more</DESCRIPTION></UNSPSC_ITEM>\n"
            "  <UNSPSC_ITEM><CODE>44120000</CODE><DESCRIPTION>Supplies</DESCRIPTION></UNSPSC_ITEM>\n"
            "</UNSPSC_ITEMS>\n");
  expect_exported({"unspsc", "--as", "xlsx", "-o", "codes.xlsx"}, "2 records in codes.xlsx.\n");
  for (const char* file : {"codes.xml", "codes.xlsx"}) {
    execute("DELETE FROM UNSPSCCODES;\n");
    EXPECT_EQ(run({"unspsc", "load", file}).status, 0) << file;
    EXPECT_EQ(rows("SELECT PARENTCODE, UNSPSCCODE, DESCRIPTION FROM UNSPSCCODES ORDER BY PARENTCODE;\n"),
              "PARENTCODE  UNSPSCCODE  DESCRIPTION\n"
              "            44          Office & more\n"
              "44          12          Supplies\n")
        << file;
  }
}

TEST_F(ExportCommand, SaysWhatCannotBeDone) {
  expect_wrong_usage({"export", "prices", "--as", "bmecat"},
                     "There is no bmecat of prices; there are csv, xlsx, json, documents");
  expect_wrong_usage({"export", "catalog"}, "Say which catalogue is to be exported: --catalog NAME");
  expect_wrong_usage({"export", "unspsc", "--supplier", "QUILL"},
                     "--supplier, --category and --part-number choose products, and none are exported here");
  expect_wrong_usage({"export", "categories", "--catalog", "Office"},
                     "--catalog chooses products, and none are exported here");
  expect_refused({"export", "products", "--supplier", "NOBODY"}, "mercato: There is no business partner NOBODY.\n");
  expect_refused({"export", "products", "-o", "no/such/folder.csv"},
                 "mercato: The file \"no/such/folder.csv\" cannot be written.\n");
  const ToolRun none = run({"export", "prices", "-o", "none.csv"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "0 records in none.csv.\n");
}

}  // namespace
}  // namespace mercato::test
