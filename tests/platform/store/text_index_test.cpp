// SPDX-License-Identifier: Apache-2.0
// Text indexes: their definition, what they propose, and that no table of theirs is seen.
#include <gtest/gtest.h>

#include <numeric>

#include "mercato/raised_error.h"
#include "platform/store/known_drivers.h"
#include "tests/platform/store/store_files.h"

namespace mercato::store::test {
namespace {

using Keys = std::vector<std::int64_t>;

class TextIndexes : public testing::Test {
 protected:
  void SetUp() override {
    session_ = driver_for(connection_string()).open(connection_string());
    if (!session_->has_text_indexes()) GTEST_SKIP() << "this store has no text indexes";
    execute(
        "CREATE TABLE PART (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, NO nvarchar(50) NULL, N int NULL, NAME ntext)");
  }
  const std::string& connection_string() { return stores_.store().connection_string(); }
  void execute(std::string text) { run(*session_, std::move(text)); }
  std::string refusal(const std::string& text) {
    return failure_of([&] { execute(text); }).Description;
  }
  void add(const std::string& number, const std::string& name) {
    execute("INSERT INTO PART (NO, NAME) VALUES ('" + number + "', '" + name + "')");
  }
  Keys proposals(std::vector<std::string> words, std::size_t most = 100) {
    return session_->proposals(*session_->table("PART"), words, most).value_or(Keys{-1});
  }

  Stores stores_;
  std::unique_ptr<Session> session_;
};

constexpr const char* kIndex = "CREATE FULLTEXT INDEX ON PART (NO, NAME)";

TEST_F(TextIndexes, AreOfTextColumnsAndOneForATable) {
  EXPECT_EQ(refusal("CREATE FULLTEXT INDEX ON PART (NO, N)"),
            "Column 'N' cannot be in a full-text index: it holds no texts");
  EXPECT_EQ(refusal("CREATE FULLTEXT INDEX ON PART (NO, no)"),
            "Column 'NO' is given more than once in the full-text index");
  EXPECT_EQ(refusal("CREATE FULLTEXT INDEX ON PART (COLOUR)"),
            "Column name 'COLOUR' does not exist in the target table");
  EXPECT_EQ(refusal("CREATE FULLTEXT INDEX ON PARTS (NO)"), "Invalid object name 'PARTS'");
  EXPECT_EQ(refusal("DROP FULLTEXT INDEX ON PART"), "There is no full-text index on table 'PART'");
  execute(kIndex);
  EXPECT_EQ(refusal(kIndex), "There is already a full-text index on table 'PART'");
  const TableInfo* part = session_->table("PART");
  EXPECT_TRUE(part->has_text_index());
  EXPECT_TRUE(part->columns[1].in_text_index);
  EXPECT_FALSE(part->columns[2].in_text_index);
  EXPECT_TRUE(part->columns[3].in_text_index);
  execute("DROP FULLTEXT INDEX ON PART");
  EXPECT_FALSE(session_->table("PART")->has_text_index());
  add("KT-INS 114", "pipe");
  execute(kIndex);
  EXPECT_EQ(proposals({"ins"}), Keys{1});
}

TEST_F(TextIndexes, GoWithTheirTableAndAreNoTablesThemselves) {
  execute(kIndex);
  add("KT-INS 114", "pipe");
  EXPECT_EQ(driver_for(connection_string()).describe(connection_string()).tables, std::vector<std::string>{"PART"});
  EXPECT_EQ(session_->table("text index of PART"), nullptr);
  execute("DROP TABLE PART");
  execute("CREATE TABLE PART (ID int NOT NULL IDENTITY(1,1) PRIMARY KEY, NO nvarchar(50) NULL)");
  EXPECT_FALSE(session_->table("PART")->has_text_index());
  execute("CREATE FULLTEXT INDEX ON PART (NO)");
  EXPECT_EQ(proposals({"ins"}), Keys{});
}

TEST_F(TextIndexes, ProposeRowsThatHoldAllWordsHoweverTheyAreWritten) {
  execute(kIndex);
  add("KT-INS 114.DRE", "steel pipe");
  add("KTINS115", "Stahlrohr, \xC3\x84rmel");
  add("x", "A\xCC\x88rmel");
  EXPECT_EQ(proposals({"ktins11"}), (Keys{1, 2}));
  EXPECT_EQ(proposals({"KT/INS.11"}), (Keys{1, 2}));
  EXPECT_EQ(proposals({"KTINS", "PIPE"}), Keys{1});
  EXPECT_EQ(proposals({"114dre"}), Keys{1});
  EXPECT_EQ(proposals({"\xC3\xA4rm"}), (Keys{2, 3}));
  EXPECT_EQ(proposals({"arm"}), Keys{});
  EXPECT_EQ(proposals({"ktins", "x"}), (Keys{1, 2}));
  EXPECT_EQ(proposals({"ktins"}, 1), Keys{1});
  EXPECT_EQ(proposals({"pipe\""}), Keys{1});
}

// Of words that many rows hold, a store may read as far as it has enough of them.
TEST_F(TextIndexes, ProposeTheLeastRowsThatHoldCommonWords) {
  for (int i = 0; i < 100; ++i) {
    add("other", "part");
    add("KT-\xC4\xB0NS " + std::to_string(i), "A\xCC\x88RMEL, schwarz");
    add("\xE2\x84\xAAt/i\xCC\x87ns" + std::to_string(i), "\xC3\xA4rmel");
    add("KTINS" + std::to_string(i), "arm");
  }
  execute(kIndex);
  EXPECT_EQ(proposals({"\xC3\xA4rmel"}, 3), (Keys{2, 3, 6}));
  EXPECT_EQ(proposals({"kti"}, 4), (Keys{2, 3, 4, 6}));
  EXPECT_EQ(proposals({"KT.i", "rmelschwarz"}, 2), (Keys{2, 6}));
  EXPECT_EQ(proposals({"ns", "SCHWARZ"}, 2), (Keys{2, 6}));
  EXPECT_EQ(proposals({"arm", "ns9"}, 1), Keys{40});
  EXPECT_EQ(proposals({"schwarz", "other"}, 1), Keys{});
  EXPECT_EQ(proposals({"zz", "nowhere"}, 1), Keys{});
}

TEST_F(TextIndexes, ProposeNothingWithoutThreeCharactersWithoutAnIndexAndWithoutAnAssignedKey) {
  add("KT-INS 114", "pipe");
  EXPECT_EQ(proposals({"ins"}), Keys{-1});
  execute(kIndex);
  EXPECT_EQ(proposals({}), Keys{-1});
  EXPECT_EQ(proposals({"", "i-n", ". . ."}), Keys{-1});
  execute("CREATE TABLE PLAIN (NO nvarchar(50) NULL)");
  execute("CREATE FULLTEXT INDEX ON PLAIN (NO)");
  EXPECT_EQ(session_->proposals(*session_->table("PLAIN"), std::vector<std::string>{"ins"}, 9), std::nullopt);
}

TEST_F(TextIndexes, FollowEveryWriteInItsTransaction) {
  execute(kIndex);
  add("one", "alpha");
  const TableInfo part = *session_->table("PART");
  const std::size_t columns[] = {1};
  const Variant values[] = {"two"};
  RowIdentity row = session_->insert_row(part, columns, values);
  const Variant changed[] = {"three"};
  EXPECT_EQ(proposals({"two"}), Keys{2});
  session_->update_row(part, row, columns, changed);
  EXPECT_EQ(proposals({"three"}), Keys{2});
  session_->copy_rows(part, std::vector<std::vector<Variant>>{{7, "seven", 1, "alpha"}});
  EXPECT_EQ(proposals({"alpha", "seven"}), Keys{7});
  session_->start_transaction();
  execute("UPDATE PART SET NAME = 'gamma' WHERE ID = 1");
  EXPECT_EQ(proposals({"gamma"}), Keys{1});
  session_->rollback();
  EXPECT_EQ(proposals({"one", "alpha"}), Keys{1});
}

}  // namespace
}  // namespace mercato::store::test
