// SPDX-License-Identifier: Apache-2.0
// mercato import: from a supplier's file to rows of the store, with a report that adds up.
#include "bench/support/data_folder.h"
#include "exchange/input/source.h"
#include "tests/tools/command_fixture.h"

namespace mercato::test {
namespace {

class ImportCommand : public CommandTest {
 protected:
  ImportCommand()
      : CommandTest(
            "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each');\n"
            "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR');\n"
            "INSERT INTO BUSINESSPARTNER (BUSINESSID) VALUES ('QUILL');\n") {}

  std::string file(const std::string& name, const std::string& text) {
    write_file(name, text);
    return name;
  }
  static std::string first_lines_of(const std::filesystem::path& path, int count) {
    const auto source = exchange::open_source(path.string());
    std::string text;
    for (std::string_view piece = source->next(); !piece.empty(); piece = source->next())
      for (const char byte : piece) {
        text += byte;
        if (byte == '\n' && --count == 0) return text;
      }
    return text;
  }
  std::string text_of(const std::string& name) const { return read_whole(tool_.folder() / name); }
};

const std::string kParts =
    "part number;description;price;currency;category;colour\n"
    "P1;Nut;1,50;EUR;Small parts > Nuts;red\n"
    "P2;Bolt;2,50;EUR;Small parts > Bolts;\n"
    "P3;Screw;free;EUR;;\n"
    "P4;;3;EUR;;\n";

TEST_F(ImportCommand, UploadsWhatIsGoodAndSaysWhatIsNot) {
  const ToolRun done = run({"import", file("parts.csv", kParts), "--set", "UNITCODE=EA", "--supplier", "QUILL"});
  EXPECT_EQ(done.status, 3);
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(
      done.out,
      file("parts.csv", kParts) +
          ": csv, encoding UTF-8, separator ;, headers line 1, decimal sign ,\n"
          "\n"
          "Refused:\n"
          "REASON   FIELD               VALUES  FIRST LINE  PART NUMBER  VALUE  WHAT IT IS\n"
          "missing  PRODUCTDESCRIPTION  1       5           P4                  a value is missing that a new product "
          "needs. Give it with --set FIELD=VALUE.\n"
          "number   PRICE               1       4           P3           free   it is no number as the file writes "
          "them. "
          "Correct it, or say the decimal sign with --decimal.\n"
          "\n"
          "3 categories and 2 products in them are not loaded: --catalog loads them, --to writes them.\n"
          "\n"
          "read            4  records\n"
          "refused         2  for their values\n"
          "products        2  2 inserted, 0 updated, 0 unchanged, 0 refused, 0 left\n"
          "prices          2  2 added, 0 changed, 0 unchanged, 0 refused, 0 left\n"
          "upload          1  `mercato uploads undo 1` takes it back\n");
  EXPECT_EQ(rows("SELECT BUYFROMPARTNUMBER, PARTNUMBER, PRODUCTDESCRIPTION, UNITCODE, BUSINESSPARTNERID, MULTIPLEBUYER "
                 "FROM PRODUCT;\n"),
            "BUYFROMPARTNUMBER  PARTNUMBER  PRODUCTDESCRIPTION  UNITCODE  BUSINESSPARTNERID  MULTIPLEBUYER\n"
            "P1                 P1          Nut                 EA        1                  0\n"
            "P2                 P2          Bolt                EA        1                  0\n"
            "");
  EXPECT_EQ(rows("SELECT PRODUCTID, PRICE, CURRENCYCODE, QUANTITYTO FROM CATALOGPRODUCTPRICE;\n"),
            "PRODUCTID  PRICE  CURRENCYCODE  QUANTITYTO\n"
            "1          1.5    EUR           999999999\n"
            "2          2.5    EUR           999999999\n"
            "");
}

TEST_F(ImportCommand, TwiceLeavesTheSameRows) {
  const std::string parts = file("parts.csv", kParts);
  EXPECT_EQ(run({"import", parts, "--set", "UNITCODE=EA"}).status, 3);
  const std::string before = whole_store();
  const json report = json::parse(run({"import", parts, "--set", "UNITCODE=EA", "--json"}).out);
  EXPECT_EQ(report["unchanged"], 2);
  EXPECT_EQ(report["unchangedPriceLines"], 2);
  EXPECT_EQ(report["products"],
            json({{"given", 0}, {"inserted", 0}, {"updated", 0}, {"unchanged", 0}, {"refused", 0}, {"left", 0}}));
  EXPECT_EQ(report["priceLines"],
            json({{"given", 0}, {"added", 0}, {"changed", 0}, {"unchanged", 0}, {"refused", 0}, {"left", 0}}));
  EXPECT_EQ(whole_store(), before);
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM PRODUCT;\n"), "N\n2\n");
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM CATALOGPRODUCTPRICE;\n"), "N\n2\n");
}

TEST_F(ImportCommand, TakesAllOfAFileOrNothing) {
  const Words words = {"import", "parts.csv", "--set", "UNITCODE=EA", "--atomic"};
  file("parts.csv", kParts);
  const ToolRun refused = run(words);
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.out.find("products        2  0 inserted, 0 updated, 0 unchanged, 0 refused, 2 left\n"),
            std::string::npos)
      << refused.out;
  EXPECT_NE(refused.out.find("Nothing was written: all of the file or nothing was asked for.\n"), std::string::npos);
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM PRODUCT;\n"), "N\n0\n");
  EXPECT_EQ(answer({"uploads", "diff", "1"}).at("changes"), json::array());

  file("parts.csv", first_lines_of(tool_.folder() / "parts.csv", 3));
  const ToolRun done = run(words);
  EXPECT_EQ(done.status, 0) << done.out << done.err;
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM PRODUCT;\n"), "N\n2\n");
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM CATALOGPRODUCTPRICE;\n"), "N\n2\n");
  const json kept = answer({"uploads", "show", "2"});
  EXPECT_EQ(kept.at("state"), "done");
  EXPECT_EQ(kept.at("inserted"), 4);
  EXPECT_EQ(run({"uploads", "undo", "2"}).status, 0);
  EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM PRODUCT;\n"), "N\n0\n");
}

TEST_F(ImportCommand, TellsAndDisablesWhatTheFileOfASupplierNoLongerNames) {
  const std::string header = "part number;description\n";
  const Words words = {"import", "parts.csv", "--set", "UNITCODE=EA", "--supplier", "QUILL"};
  const auto import = [&](const std::string& records, Words more) {
    file("parts.csv", header + records);
    more.insert(more.begin(), words.begin(), words.end());
    return run(more);
  };
  const std::string disabled = "SELECT BUYFROMPARTNUMBER FROM PRODUCT WHERE DISABLED = 1;\n";
  EXPECT_EQ(import("P1;Nut\nP2;Bolt\nP3;Screw\n", {}).status, 0);
  execute(
      "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES ('O', 'Another''s', 'OTHER');");

  const std::string next = "p1;Nut\nP3;Long screw\n";
  const ToolRun tried = import(next, {"--missing", "disable", "--dry-run"});
  EXPECT_NE(tried.out.find("NOT IN THE FILE  DESCRIPTION\nP2               Bolt\n"), std::string::npos) << tried.out;
  EXPECT_NE(tried.out.find("missing         1  products of the supplier that the file does not name\n"),
            std::string::npos)
      << tried.out;
  EXPECT_EQ(rows(disabled), "0 rows\n");

  const ToolRun done = import(next, {"--missing", "disable", "--json"});
  EXPECT_EQ(done.status, 0) << done.err;
  EXPECT_EQ(json::parse(done.out)["missing"], json({{"known", true}, {"disabled", true}, {"partNumbers", {"P2"}}}));
  EXPECT_EQ(rows(disabled), "BUYFROMPARTNUMBER\nP2\n");
  EXPECT_EQ(answer({"uploads", "show", "2"}).at("firstFindings").at(0).at("outcome"), "missing");
  EXPECT_EQ(run({"uploads", "undo", "2"}).status, 0);
  EXPECT_EQ(rows(disabled), "0 rows\n");

  // A record without a number may be any product's.
  const std::string mapping = file("parts.toml", run({"import", "--propose", "parts.csv"}).out + "\n");
  const ToolRun unnamed = import("P1;Nut\n;Bolt\n", {"--missing", "disable", "--mapping", mapping, "--json"});
  EXPECT_EQ(unnamed.err, "");
  EXPECT_EQ(json::parse(unnamed.out)["missing"]["known"], false);
  EXPECT_EQ(rows(disabled), "0 rows\n");
  const ToolRun wrong = run({"import", "parts.csv", "--missing", "report"});
  EXPECT_EQ(wrong.status, 2);
  EXPECT_EQ(wrong.err,
            "mercato: --missing compares one file with all products of its supplier, so it takes one FILE, and needs "
            "--supplier; --help says more.\n");
}

TEST_F(ImportCommand, DryLeavesTheStoreAsItWas) {
  const std::string before = whole_store();
  const json report =
      json::parse(run({"import", file("parts.csv", kParts), "--set", "UNITCODE=EA", "--dry-run", "--json"}).out);
  EXPECT_EQ(report["read"], 4);
  EXPECT_EQ(report["refused"], 2);
  EXPECT_EQ(report["products"], 2);
  EXPECT_EQ(report["priceLines"], 2);
  EXPECT_EQ(report["foundOut"],
            json({{"encoding", "UTF-8"}, {"separator", ";"}, {"headers", "line 1"}, {"decimal sign", ","}}));
  EXPECT_EQ(whole_store(), before);
}

TEST_F(ImportCommand, WritesTheDocumentsInsteadOfUploadingThem) {
  const std::string before = whole_store();
  const std::string folder = "documents";
  EXPECT_EQ(
      run({"import", file("parts.csv", kParts), "--set", "UNITCODE=EA", "--to", folder, "--findings", "findings.csv"})
          .status,
      3);
  EXPECT_EQ(text_of("documents/products.xml"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<Products>\n"
            "  <Product buyfrompartnumber=\"P1\">\n"
            "    <PRODUCTDESCRIPTION>Nut</PRODUCTDESCRIPTION>\n"
            "    <COLOUR>red</COLOUR>\n"
            "    <UNITCODE>EA</UNITCODE>\n"
            "    <PARTNUMBER>P1</PARTNUMBER>\n"
            "    <MULTIPLEBUYER>0</MULTIPLEBUYER>\n"
            "  </Product>\n"
            "  <Product buyfrompartnumber=\"P2\">\n"
            "    <PRODUCTDESCRIPTION>Bolt</PRODUCTDESCRIPTION>\n"
            "    <UNITCODE>EA</UNITCODE>\n"
            "    <PARTNUMBER>P2</PARTNUMBER>\n"
            "    <MULTIPLEBUYER>0</MULTIPLEBUYER>\n"
            "  </Product>\n"
            "</Products>\n");
  const std::string prices =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<ProductPrices>\n"
      "  <ProductPrice buyfrompartnumber=\"P1\">\n"
      "    <CurrencyCode>EUR</CurrencyCode>\n"
      "    <Price>1.5</Price>\n"
      "    <PriceEffectiveDate>2000-01-01</PriceEffectiveDate>\n"
      "    <PriceExpiryDate>2099-12-31</PriceExpiryDate>\n"
      "    <GROUPBY></GROUPBY>\n"
      "  </ProductPrice>\n"
      "  <ProductPrice buyfrompartnumber=\"P2\">\n";
  EXPECT_EQ(text_of("documents/prices.xml").substr(0, prices.size()), prices);
  EXPECT_EQ(text_of("documents/categories.csv"),
            "id,parent,name\n"
            "Small parts,,Small parts\n"
            "Small parts > Bolts,Small parts,Bolts\n"
            "Small parts > Nuts,Small parts,Nuts\n");
  EXPECT_EQ(text_of("documents/product_categories.csv"),
            "part_number,category\nP1,Small parts > Nuts\nP2,Small parts > Bolts\n");
  EXPECT_EQ(text_of("findings.csv"),
            "line,part_number,field,value,reason,taken,what_to_do\n"
            "4,P3,PRICE,free,number,no,\"Correct it, or say the decimal sign with --decimal.\"\n"
            "5,P4,PRODUCTDESCRIPTION,,missing,no,Give it with --set FIELD=VALUE.\n");
  EXPECT_EQ(whole_store(), before);
  // They are documents like any other.
  EXPECT_EQ(run({"upload", folder + "/products.xml"}).status, 0);
  EXPECT_EQ(run({"prices", "upload", folder + "/prices.xml"}).status, 0);
  EXPECT_EQ(run({"catalog", "load", folder + "/categories.csv", "--name", "Of the supplier"}).status, 0);
}

// A node of the supplier's name is his group; what hangs in it stays.
class ImportedGroups : public ImportCommand {
 protected:
  ImportedGroups() {
    execute(
        "INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('House', 1);\n"
        "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, SEQUENCE, NODETYPE) VALUES (1, 'SMALL PARTS', 4, 0);\n"
        "INSERT INTO PRODUCT (PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTDESCRIPTION, UNITCODE) VALUES ('P2', 'P2', 'Bolt', "
        "'EA');\n");
  }
  std::string groups() {
    return rows("SELECT NODENAME, NODETYPE FROM CATALOGNODE ORDER BY NODENAME;\n") +
           rows(
               "SELECT N.NODENAME, P.NODENAME AS PARENT FROM CATALOGNODE N INNER JOIN CATALOGNODE P ON P.NODEID = "
               "N.PARENTNODEID ORDER BY N.NODENAME;\n") +
           rows(
               "SELECT N.NODENAME, C.CATEGORYNAME FROM CATALOGNODE N INNER JOIN PRODUCTCATEGORY C ON C.CATEGORYID = "
               "N.CATEGORYID ORDER BY N.NODENAME;\n") +
           rows("SELECT CATEGORYNAME FROM PRODUCTCATEGORY ORDER BY CATEGORYNAME;\n") +
           rows(
               "SELECT P.BUYFROMPARTNUMBER, C.CATEGORYNAME, L.SEQUENCE FROM PRODUCTSBYCATEGORY L INNER JOIN PRODUCT P "
               "ON P.PRODUCTID = L.PRODUCTID INNER JOIN PRODUCTCATEGORY C ON C.CATEGORYID = L.CATEGORYID ORDER BY "
               "P.BUYFROMPARTNUMBER;\n");
  }
  json load(const std::string& parts, const Words& more = {}, int status = 3) {
    Words words = {"import", file("parts.csv", parts), "--set", "UNITCODE=EA", "--catalog", "House"};
    words.insert(words.end(), more.begin(), more.end());
    return answer(words, status);
  }
  static json counts(int added, int there) {
    return {{"read", added + there}, {"added", added}, {"there", there}, {"refused", 0}, {"refusals", json::array()}};
  }
};

TEST_F(ImportedGroups, AreLoadedIntoACatalogueAndTakenBack) {
  const std::string before = groups();
  const json tried = load(kParts, {"--dry-run"});
  EXPECT_EQ(tried["groups"], counts(2, 1));
  EXPECT_EQ(tried["members"], counts(2, 0));
  EXPECT_EQ(groups(), before);
  const json loaded = load(kParts);
  EXPECT_EQ(loaded["groups"], tried["groups"]);
  EXPECT_EQ(loaded["members"], tried["members"]);
  EXPECT_EQ(groups(),
            "NODENAME     NODETYPE\n"
            "Bolts        1\n"
            "Nuts         1\n"
            "SMALL PARTS  0\n"
            "NODENAME  PARENT\n"
            "Bolts     SMALL PARTS\n"
            "Nuts      SMALL PARTS\n"
            "NODENAME  CATEGORYNAME\n"
            "Bolts     Bolts\n"
            "Nuts      Nuts\n"
            "CATEGORYNAME\n"
            "Bolts\n"
            "Nuts\n"
            "BUYFROMPARTNUMBER  CATEGORYNAME  SEQUENCE\n"
            "P1                 Nuts          1\n"
            "P2                 Bolts         1\n");
  const std::string after = groups();
  // A group that is there gets a category when products come to be in it.
  const json again = load(kParts + "P5;Nail;4;EUR;Small parts;\n");
  EXPECT_EQ(again["groups"], counts(0, 3));
  EXPECT_EQ(again["members"], counts(1, 2));
  EXPECT_EQ(rows("SELECT N.NODETYPE, C.CATEGORYNAME FROM CATALOGNODE N INNER JOIN PRODUCTCATEGORY C ON C.CATEGORYID = "
                 "N.CATEGORYID WHERE N.NODEID = 1;\n"),
            "NODETYPE  CATEGORYNAME\n1         Small parts\n");
  EXPECT_EQ(run({"uploads", "undo", "2"}).status, 0);
  EXPECT_EQ(groups(), after);
  EXPECT_EQ(run({"uploads", "undo", "1"}).status, 0);
  EXPECT_EQ(groups(), before);
}

TEST_F(ImportedGroups, ThatCannotBeLoadedAreRefusedWithTheirProducts) {
  const std::string long_name(300, 'x');
  const std::string parts = "part number;description;category\nP1;Nut;" + long_name + " > Nuts\nP2;Bolt;Bolts\n";
  const std::string before = groups();
  const json taken_back = load(parts, {"--atomic"}, 1);
  EXPECT_EQ(taken_back["takenBack"], true);
  EXPECT_EQ(taken_back["groups"]["refused"], 3);
  EXPECT_EQ(taken_back["members"]["refused"], 2);
  EXPECT_EQ(groups(), before);
  const ToolRun done = run({"import", file("parts.csv", parts), "--set", "UNITCODE=EA", "--catalog", "House"});
  EXPECT_EQ(done.status, 3);
  EXPECT_EQ(
      done.out,
      "parts.csv: csv, encoding UTF-8, separator ;, headers line 1\n"
      "\n"
      "Groups and products in them that were refused:\n"
      "GROUPS   VALUES  FIRST                           REASON\n"
      "group    1       xxxxxxxxxxxxxxxxxxxxxxxxxxxxx…  It is above itself, or what is above it was refused\n"
      "group    1       xxxxxxxxxxxxxxxxxxxxxxxxxxxxx…  The name of a node takes at most 255 characters, not 300\n"
      "product  1       P1                              Its group was refused\n"
      "\n"
      "read            2  records\n"
      "refused         0  for their values\n"
      "unchanged       1  and 0 price lines, which the store has just so\n"
      "products        1  1 inserted, 0 updated, 0 unchanged, 0 refused, 0 left\n"
      "prices          0  0 added, 0 changed, 0 unchanged, 0 refused, 0 left\n"
      "groups          3  1 added, 0 there already, 2 refused\n"
      "in them         2  1 added, 0 there already, 1 refused\n"
      "upload          2  `mercato uploads undo 2` takes it back\n");
  expect_wrong_usage({"import", "parts.csv", "--catalog", "House", "--to", "documents"},
                     "--to writes documents and uploads nothing, so there is nothing to load into a catalogue; leave "
                     "out --to or --catalog");
  expect_refused({"import", "parts.csv", "--catalog", "Garden"}, "mercato: There is no catalogue Garden.\n");
}

TEST_F(ImportCommand, ReadsStandardInputAndTakesWhatIsAccepted) {
  const ToolRun done =
      run({"import", "-", "--set", "UNITCODE=EA", "--accept", "number", "--accept", "missing", "--json"}, kParts);
  EXPECT_EQ(done.status, 3);
  const json report = json::parse(done.out);
  EXPECT_EQ(report["refused"], 1);
  EXPECT_EQ(report["products"]["inserted"], 3);
  EXPECT_EQ(report["priceLines"]["added"], 2);
  EXPECT_EQ(report["findings"][1]["reason"], "number");
  EXPECT_EQ(report["findings"][1]["taken"], true);
}

TEST_F(ImportCommand, HandsBackWhatWasRefusedAsADocumentToBeCorrected) {
  const std::string parts = file("parts.csv", kParts + "P5;Nail;4;EUR;;it's\n");
  const ToolRun done = run({"import", parts, "--set", "UNITCODE=EA", "--rest", "rest.xml"});
  EXPECT_EQ(done.status, 3) << done.err;
  EXPECT_EQ(text_of("rest.xml"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Records>\n"
            "  <!-- line 4\n"
            "       PRICE \"free\": it is no number as the file writes them. Correct it, or say the decimal sign with "
            "- -decimal. -->\n"
            "  <Product buyfrompartnumber=\"P3\">\n"
            "    <PRODUCTDESCRIPTION>Screw</PRODUCTDESCRIPTION>\n"
            "    <UNITCODE>EA</UNITCODE>\n"
            "    <PARTNUMBER>P3</PARTNUMBER>\n"
            "    <MULTIPLEBUYER>0</MULTIPLEBUYER>\n"
            "  </Product>\n"
            "  <!-- line 5\n"
            "       PRODUCTDESCRIPTION \"\": a value is missing that a new product needs. Give it with - -set "
            "FIELD=VALUE. -->\n"
            "  <Product buyfrompartnumber=\"P4\">\n"
            "    <UNITCODE>EA</UNITCODE>\n"
            "    <PARTNUMBER>P4</PARTNUMBER>\n"
            "    <MULTIPLEBUYER>0</MULTIPLEBUYER>\n"
            "  </Product>\n"
            "  <ProductPrice buyfrompartnumber=\"P4\">\n"
            "    <CurrencyCode>EUR</CurrencyCode>\n"
            "    <Price>3</Price>\n"
            "    <PriceEffectiveDate>2000-01-01</PriceEffectiveDate>\n"
            "    <PriceExpiryDate>2099-12-31</PriceExpiryDate>\n"
            "    <GROUPBY></GROUPBY>\n"
            "  </ProductPrice>\n"
            "  <!-- line 6\n"
            "       COLOUR \"it's\": the library does not take a typewriter apostrophe here. Accept it to have it "
            "replaced by a typographic one. -->\n"
            "  <Product buyfrompartnumber=\"P5\">\n"
            "    <PRODUCTDESCRIPTION>Nail</PRODUCTDESCRIPTION>\n"
            "    <UNITCODE>EA</UNITCODE>\n"
            "    <PARTNUMBER>P5</PARTNUMBER>\n"
            "    <MULTIPLEBUYER>0</MULTIPLEBUYER>\n"
            "    <COLOUR>it's</COLOUR>\n"
            "  </Product>\n"
            "  <ProductPrice buyfrompartnumber=\"P5\">\n"
            "    <CurrencyCode>EUR</CurrencyCode>\n"
            "    <Price>4</Price>\n"
            "    <PriceEffectiveDate>2000-01-01</PriceEffectiveDate>\n"
            "    <PriceExpiryDate>2099-12-31</PriceExpiryDate>\n"
            "    <GROUPBY></GROUPBY>\n"
            "  </ProductPrice>\n"
            "</Records>\n");
  const std::string rest = text_of("rest.xml");
  const std::string empty_rest = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Records>\n</Records>\n";
  EXPECT_EQ(run({"import", parts, "--set", "UNITCODE=EA", "--dry-run", "--rest", "judged.xml"}).status, 3);
  EXPECT_EQ(text_of("judged.xml"), rest);
  // Of several files it is one.
  EXPECT_EQ(run({"import", parts, parts, "--set", "UNITCODE=EA", "--dry-run", "--rest", "judged.xml"}).status, 3);
  EXPECT_EQ(text_of("judged.xml").size(), 2 * rest.size() - empty_rest.size());
  // Each command takes its own records of it.
  EXPECT_EQ(run({"upload", "rest.xml", "--accept", "apostrophe"}).status, 3);
  EXPECT_EQ(run({"prices", "upload", "rest.xml"}).status, 3);
  EXPECT_EQ(rows("SELECT BUYFROMPARTNUMBER FROM PRODUCT;\n"), "BUYFROMPARTNUMBER\nP1\nP2\nP3\nP5\n");
}

TEST_F(ImportCommand, TakesRealFilesWithCountsThatAddUpAndChangeNothingWhenTheyComeAgain) {
  execute("INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('USD');");
  struct RealFile {
    const char* name;
    int refused, inserted, updated, prices;
  };
  int stored = 0;
  // A part of a toy has the number of a book.
  for (const RealFile& real : {RealFile{"books-10k.csv.gz", 15, 85, 0, 0}, RealFile{"toy-parts.csv.gz", 0, 99, 1, 0},
                               RealFile{"food.csv", 68, 32, 0, 0}, RealFile{"components-1k.csv", 7, 93, 0, 552}}) {
    SCOPED_TRACE(real.name);
    const std::filesystem::path path = bench::data_folder() / "products" / real.name;
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "there is no real data at " << path;
    constexpr int kRecords = 100;
    const std::string table = file("slice.csv", first_lines_of(path, kRecords + 1));
    const Words import = {"import", table, "--set", "UNITCODE=EA", "--set", "CURRENCY=USD"};
    const int given = real.inserted + real.updated;
    const int status = real.refused > 0 ? 3 : 0;
    EXPECT_EQ(real.refused + given, kRecords);
    const json report = answer(import, status);
    EXPECT_EQ(report["read"], kRecords);
    EXPECT_EQ(report["refused"], real.refused);
    EXPECT_EQ(report["products"], json({{"given", given},
                                        {"inserted", real.inserted},
                                        {"updated", real.updated},
                                        {"unchanged", 0},
                                        {"refused", 0},
                                        {"left", 0}}));
    EXPECT_EQ(report["priceLines"], json({{"given", real.prices},
                                          {"added", real.prices},
                                          {"changed", 0},
                                          {"unchanged", 0},
                                          {"refused", 0},
                                          {"left", 0}}));
    stored += real.inserted;
    EXPECT_EQ(rows("SELECT COUNT(*) AS N FROM PRODUCT;\n"), "N\n" + std::to_string(stored) + "\n");

    const ToolRun repeated = run([&] {
      Words words = import;
      words.insert(words.end(), {"--no-journal", "--json"});
      return words;
    }());
    EXPECT_EQ(repeated.status, status);
    const json again = json::parse(repeated.out);
    EXPECT_EQ(again["read"], kRecords);
    EXPECT_EQ(again["refused"], real.refused);
    EXPECT_EQ(again["unchanged"], given);
    EXPECT_EQ(again["unchangedPriceLines"], real.prices);
    EXPECT_EQ(again["products"]["given"], 0);
    EXPECT_EQ(again["priceLines"]["given"], 0);
  }
}

TEST_F(ImportCommand, ProposesAMappingThatItThenTakes) {
  const ToolRun proposed = run({"import", "--propose", file("parts.csv", kParts)});
  EXPECT_EQ(proposed.status, 0);
  const std::string mapping = file("parts.toml", proposed.out + "\n");
  const ToolRun done =
      run({"import", file("parts.csv", kParts), "--mapping", mapping, "--set", "UNITCODE=EA", "--json"});
  EXPECT_EQ(json::parse(done.out)["products"]["inserted"], 2);
  EXPECT_EQ(run({"import", file("parts.csv", kParts), "--mapping", file("bad.toml", "number=")}).err,
            "mercato: " + file("bad.toml", "number=") +
                ", line 1: Error while parsing key-value pair: encountered end-of-file.\n");
}

TEST_F(ImportCommand, SaysWhatCannotBe) {
  const std::string parts = file("parts.csv", kParts);
  EXPECT_EQ(run({"import", parts, "--supplier", "NOBODY"}).err, "mercato: There is no business partner \"NOBODY\".\n");
  EXPECT_EQ(run({"import", file("odd", "nothing that is known")}).err,
            "mercato: The file \"" + file("odd", "nothing that is known") +
                "\" is of no format that is known. Name its format with --format.\n");
  std::string broken = "part number,price\nP\xC3,1\n";
  for (int line = 3; line < 30; ++line) broken += "M\xC3\x9Ctter \xE2\x82\xAC,2\n";
  EXPECT_EQ(run({"import", file("broken.csv", broken)}).err,
            "mercato: Line 2 is no text in the encoding UTF-8. Name the encoding of the file with --encoding.\n");
  EXPECT_EQ(run({"import", file("ids.csv", "id,name\n1,Nut\n")}).err,
            "mercato: It is not certain which column holds the supplier's part number. Write a first mapping with "
            "`mercato import --propose FILE > mapping.toml`, mend it, and import with --mapping mapping.toml.\n");
  EXPECT_EQ(run({"import", parts, "--accept", "everything"}).status, 2);
}

TEST_F(ImportCommand, ListsUnitsThatTheStoreDoesNotKnowOnce) {
  std::string parts = "part number,description,unit\n";
  for (int number = 0; number < 100; ++number) parts += "P" + std::to_string(number) + ",Nut,Stk\n";
  const std::string path = file("units.csv", parts);
  const json report = json::parse(run({"import", path, "--json"}).out);
  EXPECT_EQ(report["refused"], 100);
  EXPECT_EQ(report["unknownUnits"],
            json({{"Stk", {{"count", 100}, {"proposal", "--unit 'Stk=EA' takes it for that unit."}}}}));
  EXPECT_EQ(json::parse(run({"import", path, "--unit", "Stk=EA", "--json"}).out)["products"]["inserted"], 100);
}

}  // namespace
}  // namespace mercato::test
