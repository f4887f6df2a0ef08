// SPDX-License-Identifier: Apache-2.0
#include "platform/files/turning_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "tests/platform/temporary_folder.h"

namespace mercato::files {
namespace {

using test::TemporaryFolder;

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(TurningFiles, ARecordThatDoesNotFitTurnsTheFileOver) {
  const TemporaryFolder root;
  const TurningFile file{root / "my.log", 10, 2};
  for (const char* record : {"one\n", "two\n", "three\n", "four\n", "five\n", "a long record\n", "seven\n"})
    EXPECT_TRUE(append_record(file, record));
  EXPECT_EQ(contents(root / "my.log"), "seven\n");
  EXPECT_EQ(contents(root / "my.1.log"), "a long record\n");
  EXPECT_EQ(contents(root / "my.2.log"), "four\nfive\n");
  EXPECT_EQ(root.entries(), 3u);
}

TEST(TurningFiles, AFileWithoutAnEndingAndAMissingFolderAreTaken) {
  const TemporaryFolder root;
  const TurningFile file{root / "a/b.c/log", 4, 1};
  EXPECT_TRUE(append_record(file, "one\n"));
  EXPECT_TRUE(append_record(file, "two\n"));
  EXPECT_EQ(contents(root / "a/b.c/log"), "two\n");
  EXPECT_EQ(contents(root / "a/b.c/log.1"), "one\n");
}

TEST(TurningFiles, AFileThatSomebodyTookAwayBeginsAnew) {
  const TemporaryFolder root;
  const TurningFile file{root / "my.log", 100, 1};
  EXPECT_TRUE(append_record(file, "one\n"));
  std::filesystem::remove(file.path);
  EXPECT_TRUE(append_record(file, "two\n"));
  EXPECT_EQ(contents(file.path), "two\n");
}

TEST(TurningFiles, WhatCannotBeWrittenIsSaidAndNothingIsRaised) {
  const TemporaryFolder root;
  EXPECT_FALSE(append_record({root.path(), 100, 1}, "x"));
  std::ofstream(root / "plain") << "a file, not a folder";
  EXPECT_FALSE(append_record({root / "plain/my.log", 100, 1}, "x"));
  EXPECT_FALSE(append_record({"", 100, 1}, "x"));
  ASSERT_EQ(::mkfifo((root / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(append_record({root / "pipe", 100, 1}, "x"));  // nobody reads from it
}

TEST(TurningFiles, SomebodyWhoStandsStillWithTheLockStopsNobody) {
  const TemporaryFolder root;
  const TurningFile file{root / "my.log", 4, 1};
  EXPECT_TRUE(append_record(file, "one\n"));
  const int holder = ::open(file.path.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(holder, LOCK_EX), 0);
  EXPECT_TRUE(append_record(file, "two\n"));
  ::close(holder);
  EXPECT_EQ(contents(file.path), "one\ntwo\n");
  EXPECT_TRUE(append_record(file, "three\n"));
  EXPECT_EQ(contents(file.path), "three\n");
}

TEST(TurningFiles, ProcessesShareAFileWithoutLosingARecordOrItsSize) {
  const TemporaryFolder root;
  const TurningFile file{root / "my.log", 1000, 20};
  constexpr int kProcesses = 4;
  constexpr int kRecords = 300;
  std::vector<pid_t> children;
  for (int process = 0; process < kProcesses; ++process) {
    children.push_back(::fork());
    if (children.back() != 0) continue;
    const std::string record = std::string(9, static_cast<char>('a' + process)) + "\n";
    for (int written = 0; written < kRecords; ++written) append_record(file, record);
    ::_exit(0);
  }
  for (const pid_t child : children) ::waitpid(child, nullptr, 0);
  std::map<std::string, int> records;
  for (const auto& entry : std::filesystem::directory_iterator(root.path())) {
    EXPECT_LE(entry.file_size(), file.largest) << entry.path();
    std::ifstream lines(entry.path());
    for (std::string line; std::getline(lines, line);) ++records[line];
  }
  EXPECT_EQ(records, (std::map<std::string, int>{{std::string(9, 'a'), kRecords},
                                                 {std::string(9, 'b'), kRecords},
                                                 {std::string(9, 'c'), kRecords},
                                                 {std::string(9, 'd'), kRecords}}));
}

}  // namespace
}  // namespace mercato::files
