// SPDX-License-Identifier: Apache-2.0
#include <random>

#include "frame/upload_run.h"
#include "platform/store/unit_of_work.h"
#include "tests/platform/store/integrity.h"
#include "tests/support/another_process.h"
#include "tests/support/length_of_run.h"
#include "tests/support/refusing_recorder.h"
#include "tests/upload/upload_fixture.h"

namespace mercato::test {
namespace {

constexpr int kRecords = 200;

class UploadCrash : public UploadTest {
 protected:
  // In memory most runs would be over before they are killed.
  UploadCrash() { work_on_disk(); }

  static std::string part_number(int index) { return "P-" + std::to_string(index); }

  static std::string many_records() {
    std::string records;
    for (int index = 0; index < kRecords; ++index)
      records +=
          record(part_number(index), kRequired + "<BUYERID>ann</BUYERID><MULTIPLEBUYER>1</MULTIPLEBUYER><COLOUR>c" +
                                         std::to_string(index) + "</COLOUR><WEIGHT>1</WEIGHT>");
    return document(records);
  }
  static Array all_part_numbers() {
    Array part_numbers;
    for (int index = 0; index < kRecords; ++index) part_numbers.items.emplace_back(part_number(index));
    return part_numbers;
  }
  static void upload_all() {
    ProductXML upload;
    Array part_numbers = all_part_numbers();
    upload.insertProductsFromXML("k/\\" + many_records(), false, part_numbers, false);
  }

  // Each row is whole, and whatever refers to a product has one.
  void expect_whole_statements() const {
    if (store().file()) {
      EXPECT_EQ(store::test::integrity_of(store_path()), "ok");
    }
    const auto count = [&](const std::string& condition) {
      return value_of("SELECT COUNT(*) FROM " + condition).to_long();
    };
    EXPECT_EQ(count("PRODUCT WHERE PARTNUMBER <> 'A1' OR USERID <> 'ann' OR DATEUPDATED IS NULL"), 0);
    EXPECT_EQ(count("PRODUCTPROPVALUE WHERE PRODUCTID NOT IN (SELECT PRODUCTID FROM PRODUCT)"), 0);
    EXPECT_EQ(count("PRODUCTBUYER WHERE PRODUCTID NOT IN (SELECT PRODUCTID FROM PRODUCT)"), 0);
  }
  void expect_a_new_run_to_finish_the_job() const {
    upload_all();
    EXPECT_EQ(products(), kRecords);
    EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCTPROPVALUE").to_long(), 2 * kRecords);
    EXPECT_EQ(buyers().size(), static_cast<std::size_t>(kRecords));
    for (const int index : {0, kRecords / 2, kRecords - 1})
      EXPECT_EQ(property("COLOUR", part_number(index)).to_text(), "c" + std::to_string(index));
  }
};

TEST_F(UploadCrash, UploadThatDiesAtAnyStatementLeavesWholeOnesAndANewRunFinishesTheJob) {
  std::mt19937 random(20260701);
  std::int32_t last = 0;
  for (int round = 0; round < 8; ++round) {
    const unsigned statement = 1 + static_cast<unsigned>(random() % 2000);
    SCOPED_TRACE("dies at statement " + std::to_string(statement));
    const int status = in_another_process([&] {
      DeathAtAStatement death(statement);
      store::set_statement_observer(&death);
      upload_all();
    });
    EXPECT_TRUE(WIFSIGNALED(status)) << "the upload has fewer statements";
    expect_whole_statements();
    EXPECT_GE(products(), last) << "what was in the store stays";
    last = products();
  }
  expect_a_new_run_to_finish_the_job();
}

TEST_F(UploadCrash, UploadThatIsKilledFromOutsideLeavesWholeStatementsAndANewRunFinishesTheJob) {
  std::mt19937 random(seed_of_run(20260702));
  const auto end = std::chrono::steady_clock::now() + length_of_run(0);
  for (int round = 0; round < 4 || std::chrono::steady_clock::now() < end; ++round) {
    in_another_process([] { upload_all(); }, std::chrono::milliseconds(20 + static_cast<int>(random() % 200)));
    expect_whole_statements();
  }
  expect_a_new_run_to_finish_the_job();
}

// The remaining file used to be deleted before the new one was written. A document that is uploaded under its own key
// is that file: whoever was killed in between had neither.
TEST_F(UploadCrash, RemainingFileIsThereAtEveryMomentOfARunUnderItsOwnKeyAndAfterItsDeath) {
  constexpr int kRest = 3000;
  constexpr unsigned kSeed = 20260703;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  std::string records = record(part_number(0), kRequired);
  for (int index = 1; index <= kRest; ++index) records += record(part_number(index), kRequired);
  const std::filesystem::path path = remaining_file("k");
  std::filesystem::create_directory(path.parent_path());
  std::ofstream(path) << document(records);
  const auto upload_first = [&] {
    ProductXML upload;
    Array part_numbers{part_number(0)};
    upload.insertProductsFromXML("k/\\" + path.string(), true, part_numbers, false);
  };

  using Clock = std::chrono::steady_clock;
  std::mt19937 random(kSeed);
  Clock::duration whole_run{};
  for (int round = 0; round < 12; ++round) {
    store::close_idle_sessions();
    const auto begin = Clock::now();
    const auto deadline = begin + whole_run * (random() % 100) / 100;
    const pid_t child = ::fork();
    if (child == 0) {
      upload_first();
      ::_exit(0);
    }
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
      ASSERT_TRUE(std::filesystem::exists(path)) << "round " << round;
      if (round > 0 && Clock::now() >= deadline) ::kill(child, SIGKILL);
    }
    if (round == 0) {
      EXPECT_EQ(status, 0);
      whole_run = Clock::now() - begin;
    }
    const std::vector<std::string> left = part_numbers_in(path);
    EXPECT_EQ(left.size(), static_cast<std::size_t>(kRest) + (left.front() == part_number(0) ? 1 : 0));
    if (left.front() != part_number(0)) {
      EXPECT_EQ(products(), 1);
      std::ofstream(path) << document(records);
    }
  }
  upload_first();
  const auto files = std::filesystem::directory_iterator(path.parent_path());
  EXPECT_EQ(std::distance(begin(files), end(files)), 1) << "what the killed runs have left half done is gone";
}

TEST_F(UploadCrash, WhatAFailedCallHasWrittenSurvivesTheDeathOfTheProcess) {
  const int status = in_another_process([] {
    ProductXML upload;
    Array part_numbers{"A-1", "Z-9"};
    try {
      upload.insertProductsFromXML("k/\\" + document(record("A-1", kRequired)), false, part_numbers, false);
    } catch (const Raised&) {
      ::kill(::getpid(), SIGKILL);
    }
  });
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(products(), 1);
}

TEST_F(UploadCrash, RunIsOverForTheThreadWhenTheCallReturns) {
  upload_all();
  EXPECT_EQ(store::UnitOfWork::current(), nullptr);
  ProductXML upload;
  raised_by([&] { upload.updateProductFromXML(document(record("none", kRequired)), false, "none", false); });
  EXPECT_EQ(store::UnitOfWork::current(), nullptr);
}

TEST_F(UploadCrash, RunInsideATransactionLeavesItsFateToTheTransaction) {
  {
    store::UnitOfWork transaction(store::UnitOfWork::Kind::transaction);
    {
      store::UnitOfWork::Current current(&transaction);
      upload_all();
      EXPECT_EQ(store::UnitOfWork::current(), &transaction);
    }
    transaction.rollback();
  }
  EXPECT_EQ(products(), 0);
}

}  // namespace
}  // namespace mercato::test
