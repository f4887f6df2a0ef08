// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/tools/run_tool.h"

namespace mercato::test {
namespace {

using nlohmann::json;

const std::string kSamples = std::string(MERCATO_SOURCE_DIR) + "/samples/";

// A store with all tables in a folder of its own.
class Tool : public testing::Test {
 protected:
  ToolRun run(const std::vector<std::string>& arguments, const std::string& input = {}) {
    return tool_.run(arguments, input);
  }
  std::string path(const std::string& name) const { return tool_.folder() / name; }
  // Writes a document of these records and names it.
  std::string document(const std::string& records) {
    write_whole(path("records.xml"), "<Products>" + records + "</Products>");
    return "records.xml";
  }
  json upload(std::vector<std::string> arguments, int status) {
    arguments.insert(arguments.begin(), {"upload", "--json", "--key", "test"});
    const ToolRun done = run(arguments);
    EXPECT_EQ(done.status, status) << done.err;
    return json::parse(done.out);
  }
  // The three places in which a record can end up.
  static void expect_counts(const json& report, int applied, int refused, int remaining) {
    EXPECT_EQ(report.at("applied"), applied);
    EXPECT_EQ(report.at("refused"), refused);
    EXPECT_EQ(report.at("remaining"), remaining);
    EXPECT_EQ(report.at("read"), applied + refused + remaining);
    // A store that cannot be written has no journal that tells.
    const auto count = [&](const char* name) { return report.at(name).is_null() ? 0 : report.at(name).get<int>(); };
    EXPECT_EQ(count("inserted") + count("updated") + count("unchanged"), applied);
  }
  std::string remaining_file() const {
    const std::string file = path("web/XMLDownload/remaining_products_test.xml");
    return std::filesystem::exists(file) ? read_whole(file) : std::string();
  }

  ToolFolder tool_;
};

std::string record(const std::string& key, const std::string& fields) {
  return "<Product buyfrompartnumber=\"" + key + "\">" + fields + "</Product>";
}

std::string sound_record(const std::string& key, const std::string& more = {}) {
  return record(key, "<PARTNUMBER>M-" + key + "</PARTNUMBER><PRODUCTDESCRIPTION>About " + key +
                         "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER>" + more);
}

TEST_F(Tool, InitCreatesWhatIsMissingAndLeavesWhatIsThere) {
  EXPECT_EQ(run({"execute", "-"}, "INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each');").status, 0);
  const ToolRun again = run({"init"});
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.out.substr(0, 22), "Nothing to create: all");
  EXPECT_EQ(run({"execute", "-"}, "DROP TABLE TAXCODES;").status, 0);
  EXPECT_EQ(run({"init", "--json"}).out.substr(0, 35), "{\"tables\":[\"TAXCODES\"],\"indexes\":[]");
  EXPECT_EQ(run({"call", "Mercato.Unit", "GetAllUnits"}).out,
            "{\"value\":{\"$\":\"dictionary\",\"items\":[[\"EA\",\"EA\"]]},\"args\":[],\"vote\":\"none\",\"outcome\":"
            "\"none\","
            "\"log\":[]}\n");
}

TEST_F(Tool, CallPrintsItsResultOrItsError) {
  const ToolRun found = run({"call", "mercato.product", "getproductidfromsupplierpartnum", "X-1"});
  EXPECT_EQ(found.status, 0);
  EXPECT_EQ(found.out, "{\"value\":-1,\"args\":[\"X-1\"],\"vote\":\"commit\",\"outcome\":\"committed\",\"log\":[]}\n");
  const ToolRun failed = run({"call", "Mercato.Product", "GetProductEx", "-7"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.out, "");
  EXPECT_EQ(
      failed.err,
      "{\"code\":-32000,\"message\":\"Product not present\",\"data\":{\"number\":-2147221304,\"source\":"
      "\"Mercato.Product.GetProductEx\",\"description\":\"Product not present\",\"helpFile\":\"\",\"helpContext\":0,"
      "\"args\":[-7],\"vote\":\"none\",\"outcome\":\"open\",\"log\":[]}}\n");
  EXPECT_EQ(run({"call", "Mercato.Product", "NoSuchMethod"}).status, 1);
  EXPECT_EQ(run({"call", "Mercato.Product"}).status, 2);
  EXPECT_EQ(run({"call", "Mercato.Product", "GetGTIN", "--text"}).status, 2);
}

TEST_F(Tool, DescribeNamesClassesMethodsAndArguments) {
  const json all = json::parse(run({"describe"}).out);
  EXPECT_GE(all.at("classes").size(), 6u);
  const json one = json::parse(run({"describe", "mercato.product"}).out).at("classes").at(0);
  EXPECT_EQ(one.at("progId"), "Mercato.Product");
  EXPECT_EQ(one.at("defaultInterface"), "_Product");
  EXPECT_EQ(one.at("transaction"), "required");
  json search;
  for (const json& method : one.at("methods"))
    if (method.at("name") == "GetCatalogProductsByPartNumber") search = method;
  EXPECT_EQ(
      search.dump(),
      R"({"arguments":[{"byReference":false,"default":null,"name":"i_sPartNumber","optional":false,"type":"string"},)"
      R"({"byReference":false,"default":null,"name":"i_lMaxNumberOfRows","optional":false,"type":"long"},)"
      R"({"byReference":true,"default":null,"name":"o_bMoreRowsAvailable","optional":false,"type":"boolean"},)"
      R"({"byReference":false,"default":"-1","name":"i_sCatalogString","optional":true,"type":"string"}],)"
      R"("deprecated":false,"name":"GetCatalogProductsByPartNumber","result":"Dictionary"})");
  EXPECT_EQ(run({"describe", "Mercato.Nobody"}).status, 1);
}

TEST_F(Tool, ExecuteKeepsAllOfAScriptOrNothing) {
  const ToolRun refused = run({"execute", "-"},
                              "INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each');\n-- a comment;\n"
                              "INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'again');\n");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err.substr(0, 31), "mercato: Statement 2, line 3: T");
  EXPECT_EQ(run({"execute", "-"}, "SELECT UNITCODE FROM UNIT;").out, "0 rows\n1 statement run, 0 rows changed.\n");
  EXPECT_EQ(run({"execute", "-"},
                "INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each');"
                "SELECT UNITCODE, UNITDESCRIPTION FROM UNIT")
                .out,
            "UNITCODE  UNITDESCRIPTION\nEA        each\n2 statements run, 1 row changed.\n");
  EXPECT_EQ(run({"execute", "nowhere.sql"}).status, 1);
}

// No limit ended a script.
TEST_F(Tool, EachStatementOfAScriptKeepsToTheCallLimit) {
  tool_.write_settings("[limits]\ncall_seconds = 1\n");
  std::string script = "CREATE TABLE DIGIT (N int NOT NULL);\n";
  for (int i = 0; i < 10; ++i) script += "INSERT DIGIT (N) VALUES (" + std::to_string(i) + ");\n";
  ASSERT_EQ(run({"execute", "-"}, script).status, 0);
  const std::string million = "SELECT COUNT(*) FROM DIGIT A, DIGIT B, DIGIT C, DIGIT D, DIGIT E, DIGIT F";
  const ToolRun ended = run({"execute", "-"}, "DELETE DIGIT WHERE N = 1;\n" + million + ", DIGIT G, DIGIT H, DIGIT I;");
  EXPECT_EQ(ended.status, 1);
  EXPECT_EQ(
      ended.err,
      "mercato: Statement 2, line 2: Timeout expired: the call ran longer than its limit of 1 seconds. Nothing of "
      "the script was kept.\n");
  // All statements together take longer than the limit.
  std::string many;
  for (int i = 0; i < 100; ++i) many += million + ";";
  const ToolRun done = run({"execute", "--json", "-"}, many);
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(json::parse(done.out).at("results").size(), 100u);
}

TEST_F(Tool, TellsWrongUsageFromRefusal) {
  EXPECT_EQ(run({}).status, 2);
  EXPECT_EQ(run({"destroy"}).status, 2);
  EXPECT_EQ(run({"find"}).status, 2);
  EXPECT_EQ(run({"show", ""}).status, 2);
  EXPECT_EQ(run({"init", "--scripted"}).status, 2);
  EXPECT_EQ(run({"upload", "--on-errors", "perhaps", "x.xml"}).status, 2);
  EXPECT_EQ(run({"init", "--config", "nowhere.toml"}).status, 2);
  EXPECT_EQ(run({"--help"}).status, 0);
  EXPECT_EQ(run({"version"}).status, 0);
  for (const char* command :
       {"init", "rpc", "call", "describe", "preview", "upload", "find", "show", "execute", "version"}) {
    const ToolRun help = run({command, "--help"});
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_NE(help.out.find("Examples:\n  "), std::string::npos) << command;
  }
}

TEST_F(Tool, SaysWhatToDoWithoutAStoreOrWithoutTables) {
  const ToolRun nowhere = run({"find", "x", "--store", "Data Source=nowhere.db"});
  EXPECT_EQ(nowhere.status, 4);
  EXPECT_EQ(nowhere.err,
            "mercato: There is no store at 'nowhere.db'. Create it with `mercato init`, or correct Data Source.\n");
  EXPECT_EQ(run({"execute", "-"}, "DROP TABLE PRODUCT;").status, 0);
  const ToolRun empty = run({"find", "x"});
  EXPECT_EQ(empty.status, 4);
  EXPECT_EQ(empty.err,
            "mercato: The store has no table PRODUCT: `mercato init` creates the tables that are missing.\n");
}

TEST_F(Tool, ReadsTheSettingsFileUnlessTheCommandLineNamesAStore) {
  write_whole(path("mercato.toml"), "[connections]\nMercato = \"Data Source=other.db\"\n");
  EXPECT_EQ(run({"init"}).status, 0);
  EXPECT_TRUE(std::filesystem::exists(path("other.db")));
  write_whole(path("named.toml"), "[connections]\nMercato = \"Data Source=named.db\"\n");
  EXPECT_EQ(run({"--config", "named.toml", "init"}).status, 0);
  EXPECT_TRUE(std::filesystem::exists(path("named.db")));
  EXPECT_EQ(run({"init", "--config", "named.toml", "--store", "Data Source=stronger.db"}).status, 0);
  EXPECT_TRUE(std::filesystem::exists(path("stronger.db")));
}

TEST_F(Tool, AConnectionThatIsNotConfiguredIsTheFailureOfTheCallThatNeedsIt) {
  write_whole(path("mercato.toml"), "[connections]\nOther = \"Data Source=other.db\"\n");
  EXPECT_EQ(run({"describe", "Mercato.Unit"}).status, 0);
  const ToolRun retired = run({"call", "Mercato.Contract", "GetAllContracts"});
  EXPECT_EQ(retired.status, 1);
  EXPECT_EQ(json::parse(retired.err).at("data").at("number"), -1);
  const ToolRun session =
      run({"rpc"}, "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"create\",\"params\":{\"progId\":\"Mercato.Unit\"}}\n");
  EXPECT_EQ(session.out, "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":{\"object\":1}}\n");
  const ToolRun missing = run({"call", "Mercato.Unit", "GetAllUnits"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(json::parse(missing.err).at("data").at("source"), "Grundwerk.Configuration");
  EXPECT_EQ(run({"find", "x"}).err, "mercato: No connection is configured for the application 'Mercato'.\n");
}

TEST_F(Tool, OutputThatIsLostIsAFailureUnlessTheReaderHasHadEnough) {
  const ToolRun full = tool_.run_line("mercato describe >/dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.err, "mercato: The output cannot be written; some of it is lost.\n");
  EXPECT_EQ(tool_.run_line("mercato find x --json >/dev/full").status, 1);
  const ToolRun enough = tool_.run_line("{ mercato describe; echo status $? >&2; } | true");
  EXPECT_EQ(enough.err, "status 0\n");
}

TEST_F(Tool, ExecutePrintsTheRowsOfQueriesAsJson) {
  const ToolRun done =
      run({"execute", "--json", "-"},
          "\xEF\xBB\xBFINSERT UNIT (UNITCODE) VALUES ('EA');\nSELECT UNITCODE, UNITDESCRIPTION FROM UNIT;");
  EXPECT_EQ(done.out,
            "{\"statements\":2,\"affected\":1,\"results\":[{\"fields\":[\"UNITCODE\",\"UNITDESCRIPTION\"],"
            "\"rows\":[[\"EA\",null]]}]}\n");
}

TEST_F(Tool, SaysWhatIsWrongWithACommandLine) {
  EXPECT_EQ(run({"destroy"}).err, "mercato: There is no command `mercato destroy`; --help says more.\n");
  EXPECT_EQ(run({"product", "destroy"}).err,
            "mercato: There is no command `mercato product destroy`; --help says more.\n");
  EXPECT_EQ(run({"product"}).status, 2);
  EXPECT_NE(run({"find", "caf\xE9"}).err.find("Argument 2: is not UTF-8"), std::string::npos);
  EXPECT_EQ(run({"find", "x", "--store", ""}).status, 2);
  std::filesystem::create_directory(path("folder"));
  EXPECT_EQ(run({"find", "x", "--config", "folder"}).err, "mercato: The settings file 'folder' cannot be read.\n");
  EXPECT_NE(run({"price", "for", "1", "--quantity", "0", "--currency", "EUR"}).err.find("'0' is no number above 0"),
            std::string::npos);
  // Behind -- nothing is an option.
  EXPECT_EQ(run({"find", "--", "-x"}).err, "No product has '-x'.\n");
}

TEST_F(Tool, ADocumentWithoutARecordOfItsKindIsAFailure) {
  const std::string prices = kSamples + "prices.xml";
  const std::string products = kSamples + "products.xml";
  EXPECT_EQ(run({"preview", prices}).err,
            "mercato: \"" + prices + "\" has no element Product, so there is nothing to check.\n");
  EXPECT_EQ(run({"prices", "preview", products}).err,
            "mercato: \"" + products + "\" has no element ProductPrice, so there is nothing to check.\n");
  for (const ToolRun& uploaded : {run({"upload", prices}), run({"prices", "upload", products})}) {
    EXPECT_EQ(uploaded.status, 1);
    EXPECT_NE(uploaded.out.find("\nThe document has no record of this kind.\n"), std::string::npos);
  }
}

TEST_F(Tool, AStoreInMemoryHasItsTables) {
  EXPECT_EQ(run({"call", "Mercato.Unit", "GetAllUnits", "--store", "Provider=SQLite;Data Source=:memory:"}).status, 0);
}

TEST_F(Tool, PreviewListsTheBadFields) {
  ASSERT_EQ(run({"execute", kSamples + "reference.sql"}).status, 0);
  const ToolRun shown = run({"preview", kSamples + "products.xml"});
  EXPECT_EQ(shown.status, 3);
  EXPECT_NE(shown.out.find("277 records: 263 valid, 14 invalid.\n"), std::string::npos) << shown.out;
  EXPECT_NE(shown.out.find("QM-BAD-003"), std::string::npos);
  const json report = json::parse(run({"preview", "--json", kSamples + "products.xml"}).out);
  EXPECT_EQ(report.at("invalid"), 14);
  for (const json& one : report.at("records"))
    if (one.at("partNumber") == "QM-BAD-010") {
      EXPECT_EQ(one.at("errors").dump(), R"({"CONTRACTCODE":"FRAME-1999-OFF","NUMBER":"9"})");
    }
}

TEST_F(Tool, UploadsTheSamplesWhole) {
  ASSERT_EQ(run({"execute", kSamples + "reference.sql"}).status, 0);
  const json report = upload({"--on-errors", "write", kSamples + "products.xml"}, 0);
  expect_counts(report, 277, 0, 0);
  EXPECT_EQ(report.at("inserted"), 277);
  EXPECT_EQ(report.at("stoppedBy"), "");
  const json again = upload({kSamples + "products.xml"}, 3);
  EXPECT_EQ(again.at("inserted"), 0);
  EXPECT_EQ(again.at("updated"), 0);
  EXPECT_EQ(again.at("unchanged").get<int>() + again.at("refused").get<int>(), 277);
  EXPECT_EQ(remaining_file(), "");
}

TEST_F(Tool, UploadCountsEveryRecordOnce) {
  // Records that stand twice, are empty, have no key, or have a key that no run can find.
  const json report = upload({document(sound_record("A") + sound_record("A") + record("B", "") +
                                       "<Product><PARTNUMBER>lost</PARTNUMBER></Product>" + sound_record("O'NEIL") +
                                       sound_record(" C ") + sound_record("D"))},
                             3);
  expect_counts(report, 3, 1, 3);
  EXPECT_EQ(report.at("inserted"), 2);
  EXPECT_EQ(report.at("updated"), 0);
  EXPECT_EQ(report.at("unchanged"), 1);
  EXPECT_EQ(
      report.at("refusals"),
      json::parse(R"([{"partNumber":"B","fileLine":1,"field":"","value":"","reason":"The record has no fields."}])"));
  EXPECT_EQ(report.at("unreachable").size(), 3u);
  const std::string rest = remaining_file();
  EXPECT_NE(rest.find("lost"), std::string::npos);
  EXPECT_NE(rest.find("O'NEIL"), std::string::npos);
  EXPECT_NE(rest.find("\" C \""), std::string::npos);
  EXPECT_EQ(rest.find("\"D\""), std::string::npos);
}

TEST_F(Tool, UploadGoesOnBehindARecordThatFails) {
  // B has no description, so that it cannot be saved and the library's run stops there. A stands before and behind it.
  const json report =
      upload({document(sound_record("A", "<COLOUR>red</COLOUR>") + record("B", "<PARTNUMBER>M-B</PARTNUMBER>") +
                       sound_record("A", "<COLOUR>blue</COLOUR>") + sound_record("C"))},
             3);
  expect_counts(report, 3, 1, 0);
  EXPECT_EQ(report.at("refusals").at(0).at("partNumber"), "B");
  EXPECT_EQ(remaining_file(), "");
  EXPECT_EQ(
      run({"execute", "-"},
          "SELECT VALUE FROM PRODUCTPROPVALUE INNER JOIN PROPERTY ON PROPERTY.PROPERTYID = PRODUCTPROPVALUE.PROPERTYID "
          "WHERE PROPERTYNAME = 'COLOUR'")
          .out,
      "VALUE\nblue\n1 statement run, 0 rows changed.\n");
}

TEST_F(Tool, UploadGoesOnBehindEveryRecordThatFails) {
  std::string records = sound_record("FIRST");
  for (int number = 1; number <= 103; ++number)
    records += record("B-" + std::to_string(number), "<PARTNUMBER>no description</PARTNUMBER>");
  const json report = upload({document(records + sound_record("LAST"))}, 3);
  expect_counts(report, 2, 103, 0);
  EXPECT_EQ(report.at("refusals").size(), 103u);
  EXPECT_EQ(report.at("refusals").at(99).at("partNumber"), "B-100");
  EXPECT_EQ(report.at("refusals").at(99).at("reason"), "PRODUCT.PRODUCTDESCRIPTION may not be Null.");
  EXPECT_EQ(report.at("stoppedBy"), "");
  EXPECT_EQ(remaining_file(), "");
}

// The writes of the last moment are lost with the failure: those records used to count as applied, and were nowhere.
TEST_F(Tool, UploadStopsWhenTheDiskIsFullAndTheRestCanBeUploadedLater) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), "what is full is the disk of the process, which a server's files do not use");
  constexpr int kRecords = 1500;  // more than the disk has room for
  std::string records;
  for (int number = 1; number <= kRecords; ++number)
    records += sound_record("P-" + std::to_string(number), "<COLOUR>c" + std::to_string(number) + "</COLOUR>");
  const auto count = [&](const std::string& condition) {
    const std::string out = run({"execute", "-"}, "SELECT COUNT(*) AS N FROM " + condition + ";").out;
    return std::stoi(out.substr(out.find('\n')));
  };
  // Without a journal, which would fill the disk before the first record. There is room for the remaining file always.
  const ToolRun full =
      tool_.run({"upload", "--no-journal", "--json", "--key", "test", document(records)}, {}, full_disk_after(1600));
  EXPECT_EQ(full.status, 1) << full.err;
  const json report = json::parse(full.out);
  EXPECT_EQ(report.at("stoppedBy").get<std::string>().substr(0, 18), "The disk is full: ");
  const int applied = report.at("applied");
  expect_counts(report, applied, 0, kRecords - applied);
  EXPECT_EQ(report.at("inserted"), applied);
  const std::string remaining = remaining_file();
  for (int number = 1; number <= kRecords; ++number) {
    const std::string attribute = "\"P-" + std::to_string(number) + "\"";
    EXPECT_EQ(remaining.find(attribute) == std::string::npos, number <= applied) << attribute;
  }
  EXPECT_GE(count("PRODUCT"), applied);
  EXPECT_GE(count("PRODUCTPROPVALUE"), applied);

  const json rest = upload({"web/XMLDownload/remaining_products_test.xml"}, 0);
  expect_counts(rest, kRecords - applied, 0, 0);
  EXPECT_EQ(count("PRODUCT"), kRecords);
  EXPECT_EQ(count("PRODUCT INNER JOIN PRODUCTPROPVALUE ON PRODUCT.PRODUCTID = PRODUCTPROPVALUE.PRODUCTID WHERE "
                  "BUYFROMPARTNUMBER = 'P-' + SUBSTRING(VALUE, 2, 10)"),
            kRecords);
  EXPECT_EQ(remaining_file(), "");
}

TEST_F(Tool, UploadSkipsOrWritesARecordWithABadField) {
  const std::string file = document(sound_record("A", "<MINORDERQTY>ten</MINORDERQTY>") + sound_record("B"));
  const json skipped = upload({file}, 3);
  expect_counts(skipped, 1, 1, 0);
  EXPECT_EQ(skipped.at("refusals").at(0).at("field"), "MINORDERQTY");
  EXPECT_EQ(skipped.at("refusals").at(0).at("value"), "ten");
  const json written = upload({"--on-errors", "write", file}, 0);
  expect_counts(written, 2, 0, 0);
  EXPECT_EQ(written.at("repaired"), 1);
  EXPECT_EQ(written.at("dropped").at(0).at("field"), "MINORDERQTY");
}

// An insert would double it.
TEST_F(Tool, UploadRefusesARemarkWithAnApostropheUnlessItIsReplaced) {
  const std::string remark = "it's";
  const std::string file =
      document(sound_record("A", "<PRODUCTREMARK>" + remark + "</PRODUCTREMARK>") + sound_record("B"));
  const json report = upload({file}, 3);
  expect_counts(report, 1, 1, 0);
  EXPECT_EQ(report.at("refusals").at(0),
            json({{"partNumber", "A"},
                  {"fileLine", 1},
                  {"field", "PRODUCTREMARK"},
                  {"value", remark},
                  {"reason",
                   "the library does not take a typewriter apostrophe here. Accept it to have it replaced by a "
                   "typographic one."}}));
  expect_counts(upload({"--accept", "apostrophe", file}, 0), 2, 0, 0);
  EXPECT_EQ(run({"execute", "-"}, "SELECT PRODUCTREMARK FROM PRODUCT WHERE BUYFROMPARTNUMBER = 'A';").out,
            "PRODUCTREMARK\nit’s\n1 statement run, 0 rows changed.\n");
}

TEST_F(Tool, UpdateOnlyNeverCreatesAProduct) {
  expect_counts(upload({document(sound_record("A"))}, 0), 1, 0, 0);
  const json report = upload({"--update-only", document(sound_record("A") + sound_record("NEW") + sound_record("A") +
                                                        "<Product><PARTNUMBER>lost</PARTNUMBER></Product>")},
                             3);
  expect_counts(report, 1, 2, 1);
  EXPECT_EQ(report.at("updated"), 0);
  EXPECT_EQ(report.at("unchanged"), 1);
  EXPECT_NE(remaining_file().find("lost"), std::string::npos);
  EXPECT_EQ(remaining_file().find("NEW"), std::string::npos);
  EXPECT_EQ(run({"call", "Mercato.Product", "GetProductIDFromSupplierPartNum", "NEW"}).out.substr(0, 11),
            "{\"value\":-1");
}

TEST_F(Tool, UploadOfWhatIsNoDocumentSaysSo) {
  write_whole(path("broken.xml"), "<Products><Product>");
  const ToolRun broken = run({"upload", "broken.xml"});
  EXPECT_EQ(broken.status, 1);
  EXPECT_EQ(broken.err,
            "mercato: The document \"broken.xml\" cannot be loaded: Line 1, column 20: the element <Product> is never "
            "closed.\n");
  EXPECT_EQ(run({"preview", "broken.xml"}).err, broken.err);
  EXPECT_EQ(run({"upload", "nowhere.xml"}).status, 1);
  EXPECT_EQ(run({"upload", "--key", "../up", document("")}).status, 1);
}

TEST_F(Tool, FindsProductsByNumberAndDescription) {
  ASSERT_EQ(run({"execute", kSamples + "reference.sql"}).status, 0);
  ASSERT_EQ(run({"upload", "--on-errors", "write", kSamples + "products.xml"}).status, 0);
  ASSERT_EQ(run({"execute", kSamples + "house_catalog.sql"}).status, 0);
  const json by_number = json::parse(run({"find", "--json", "m100007"}).out);
  ASSERT_EQ(by_number.at("products").size(), 1u);
  const json& paper = by_number.at("products").at(0);
  EXPECT_EQ(paper.at("partNumber"), "M-100007");
  EXPECT_EQ(paper.at("supplierPartNumber"), "QM-PAP-001");
  EXPECT_EQ(paper.at("foundBy"), "partNumber");
  EXPECT_EQ(paper.at("matches"), json::parse(R"([{"field": "partNumber", "begin": 0, "length": 8}])"));
  EXPECT_EQ(by_number.at("total"), 1);
  EXPECT_EQ(by_number.at("more"), false);
  EXPECT_EQ(by_number.at("suggestions"), json::array());
  const json by_supplier = json::parse(run({"find", "--json", "QM-PAP-001"}).out);
  EXPECT_EQ(by_supplier.at("products").at(0).at("partNumber"), "M-100007");
  const json by_words = json::parse(run({"find", "--json", "--limit", "4", "paper", "a4"}).out);
  EXPECT_EQ(by_words.at("total"), 5);
  EXPECT_EQ(by_words.at("products").size(), 4u);
  EXPECT_EQ(by_words.at("more"), true);

  const std::string id = std::to_string(by_number.at("products").at(0).at("id").get<int>());
  const json whole = json::parse(run({"show", "--json", id}).out);
  EXPECT_EQ(whole.at("fields").at("PARTNUMBER"), "M-100007");
  EXPECT_EQ(whole.at("fields").at("GTIN"), "02000071000112");
  EXPECT_EQ(whole.at("properties").at(0), json({{"name", "COLOUR"}, {"value", "white"}}));
  const ToolRun unknown = run({"show", "99999"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.err, "mercato: There is no product 99999.\n");
}

TEST_F(Tool, FindTellsWhatItKnowsBesideTheListOnStandardError) {
  write_whole(path("some.sql"),
              "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, MFRPARTNUMBER, DISABLED) VALUES ('P-1', 'red "
              "pencil', 'X-77', 1);\n"
              "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('P-2', 'a very long name with very many "
              "words in it, then a pencil at its end');\n");
  ASSERT_EQ(run({"execute", "some.sql"}).status, 0);
  const ToolRun all = run({"--color", "always", "find", "PENCIL"});
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(all.out,
            "\x1b[1mID  PART NUMBER  SUPPLIER'S NUMBER  DESCRIPTION                   FOUND BY\x1b[0m\n"
            "1   P-1                             red \x1b[1mpencil\x1b[0m (disabled)         words\n"
            "2   P-2                             …t, then a \x1b[1mpencil\x1b[0m at its end  words\n");
  EXPECT_EQ(all.err, "2 products\n");
  const ToolRun first = run({"find", "pencil", "--limit", "1"});
  EXPECT_EQ(first.err, "2 products; --offset 1 shows what follows\n");
  EXPECT_EQ(run({"find", "pencil", "--offset", "2"}).err, "2 products; --offset passes over all of them\n");
  EXPECT_EQ(run({"find", "pencil", "--offset", "2"}).status, 1);
  EXPECT_EQ(run({"find", "x77"}).out,
            "ID  PART NUMBER  SUPPLIER'S NUMBER  DESCRIPTION            FOUND BY\n"
            "1   P-1                             red pencil (disabled)  other number, manufacturer's number X-77\n");
  const ToolRun misspelt = run({"find", "pensil"});
  EXPECT_EQ(misspelt.status, 1);
  EXPECT_EQ(misspelt.out, "");
  EXPECT_EQ(misspelt.err, "No product has 'pensil'.\nDid you mean 'pencil'?\n");
  EXPECT_EQ(json::parse(run({"find", "--json", "pensil"}).out),
            json::parse(R"({"products": [], "more": false, "total": 0, "suggestions": ["pencil"]})"));
  EXPECT_EQ(run({"find", "pencil", "--user", "ANN"}).err, "No product has 'pencil'.\n");
}

}  // namespace
}  // namespace mercato::test
