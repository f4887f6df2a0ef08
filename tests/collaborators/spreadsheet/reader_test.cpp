// SPDX-License-Identifier: Apache-2.0
#include "collaborators/spreadsheet/reader.h"

#include <gtest/gtest.h>

#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/server.h"
#include "tests/platform/failure_of.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/workbook_files.h"

namespace mercato::test {
namespace {

class SpreadsheetReaderTest : public testing::Test {
 protected:
  void SetUp() override {
    DllRegisterServer();
    reader_ = create_plain("Spreadsheet.Reader");
  }
  Variant call(std::string_view method, std::initializer_list<Variant> arguments = {}) {
    return invoke(reader_, method, arguments);
  }
  RaisedError failure(std::string_view method, std::initializer_list<Variant> arguments = {}) {
    return failure_of([&] { call(method, arguments); });
  }
  std::string written(const std::string& rows) const {
    const std::string path = folder_ / "book.xlsx";
    write_workbook(path, {rows});
    return path;
  }

  TemporaryFolder folder_;
  ComponentPtr reader_;
};

TEST_F(SpreadsheetReaderTest, RowsOfAWorkbookAreReadByName) {
  call("Open", {written(row(3, text_cell("B3", "Code") + text_cell("C3", "Title")) + row(9, number_cell("C9", "5")))});
  EXPECT_EQ(call("UsedArea"), Variant(Array{3, 2, 9, 3}));
  EXPECT_EQ(call("ReadRow", {3}), Variant(Array{"Code", "Title", ""}));
  EXPECT_EQ(call("ReadRow", {1}), Variant(Array{""}));
  EXPECT_TRUE(call("ReadRow", {1}).is_null());
  EXPECT_TRUE(call("ReadRow", {1}).is_null());
  call("Close");
  call("Close");
  EXPECT_EQ(failure("ReadRow", {1}).Number, error_number::kObjectNotSet);
}

TEST_F(SpreadsheetReaderTest, WhatIsNoReadableWorkbookFailsWithTheReason) {
  const std::string path = folder_ / "missing.xlsx";
  const RaisedError failed = failure("Open", {path});
  EXPECT_EQ(failed.Number, error_number::kPathFileAccess);
  EXPECT_EQ(failed.Description, "The workbook \"" + path + "\" cannot be loaded: No such file or directory.");
}

TEST_F(SpreadsheetReaderTest, SheetWithoutContentHasNoAreaAndNoRows) {
  call("Open", {written("")});
  EXPECT_EQ(failure("UsedArea").Number, error_number::kObjectNotSet);
  EXPECT_TRUE(call("ReadRow", {1}).is_null());
}

TEST_F(SpreadsheetReaderTest, NothingIsReadBeforeAWorkbookIsOpenOrInNegativeNumbers) {
  EXPECT_EQ(failure("UsedArea").Number, error_number::kObjectNotSet);
  EXPECT_EQ(failure("ReadRow", {1}).Number, error_number::kObjectNotSet);
  EXPECT_EQ(failure("ReadRow", {-1}).Number, error_number::kInvalidArgument);
}

}  // namespace
}  // namespace mercato::test
