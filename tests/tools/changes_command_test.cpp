// SPDX-License-Identifier: Apache-2.0
// mercato preview --changes, in the test's own process.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/platform/whole_files.h"
#include "tests/support/store_fixture.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"

namespace mercato::test {
namespace {

class ChangesCommand : public StoreTest {
 protected:
  static std::string product(const std::string& key, const std::string& lot_size) {
    return "<Product buyfrompartnumber=\"" + key + "\"><PARTNUMBER>M</PARTNUMBER><PRODUCTDESCRIPTION>About " + key +
           "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER><LOTSIZE>" + lot_size + "</LOTSIZE></Product>\n";
  }
  int run(cli::PreviewOptions options, const std::string& records, bool json = false) {
    write_whole(folder() / "records.xml", "<Products>\n" + records + "</Products>");
    options.document = (folder() / "records.xml").string();
    options.changes = true;
    testing::internal::CaptureStdout();
    const int status = cli::preview(options, {.json = json});
    said_ = testing::internal::GetCapturedStdout();
    return status;
  }

  std::string said_;
};

TEST_F(ChangesCommand, ListsWhatAnUploadWouldDoAndCountsIt) {
  execute(
      {"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, LOTSIZE, MULTIPLEBUYER) VALUES "
       "('M', 'About A', 'A', 5, 0), ('M', 'About B', 'B', 5, 0)"});
  EXPECT_EQ(run({}, product("A", "6") + product("B", "5") + product("C", "1") + product("D", "many")),
            cli::kDoneInPart);
  EXPECT_EQ(said_,
            "LINE  PART NUMBER  CHANGE    FIELD    OLD   NEW\n"
            "2     A            changed   LOTSIZE  5     6\n"
            "4     C            inserted                 \n"
            "5     D            refused   LOTSIZE  many  not a number\n"
            "\n"
            "4 records: 1 inserted, 1 changed, 1 unchanged, 1 refused. Nothing was written.\n");
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCT"), Variant(2));
}

TEST_F(ChangesCommand, WritesALineOfJsonForEachRecordAndOneOfCounts) {
  execute(
      {"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, LOTSIZE, MULTIPLEBUYER) VALUES "
       "('M', 'About A', 'A', 5, 0), ('M', 'About B', 'B', 5, 0)"});
  cli::PreviewOptions options;
  options.all = true;
  options.write_on_errors = true;
  EXPECT_EQ(run(options, product("A", "6") + product("B", "5") + product("C", "many"), true), cli::kDone);
  EXPECT_EQ(said_,
            R"({"line":2,"partNumber":"A","change":"changed","fields":[{"field":"LOTSIZE","old":"5","new":"6"}]})"
            "\n"
            R"({"line":3,"partNumber":"B","change":"unchanged"})"
            "\n"
            R"({"line":4,"partNumber":"C","change":"inserted","dropped":[{"field":"LOTSIZE","value":"many",)"
            R"("reason":"not a number"}]})"
            "\n"
            R"({"read":3,"inserted":1,"changed":1,"unchanged":1,"refused":0})"
            "\n");
}

}  // namespace
}  // namespace mercato::test
