// SPDX-License-Identifier: Apache-2.0
#include "platform/files/files.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>

#include "tests/platform/failure_of.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::files {
namespace {

using test::failure_of;
using test::TemporaryFolder;

RaisedError failure(std::int32_t number, const std::string& description) {
  return {number, "Mercato", description, {}, 0};
}

TEST(Folders, AFolderIsThereOnceItWasCreated) {
  const TemporaryFolder root;
  const std::string folder = root / "XMLDownload";
  EXPECT_FALSE(folder_exists(folder));
  create_folder(folder);
  EXPECT_TRUE(folder_exists(folder));
  EXPECT_FALSE(file_exists(folder));
}

TEST(Folders, CreatingAFolderThatIsThereIsNoFailure) {
  const TemporaryFolder root;
  create_folder(root.path());
  EXPECT_TRUE(folder_exists(root.path()));
}

TEST(Folders, OnlyOneLevelIsCreated) {
  const TemporaryFolder root;
  const std::string folder = root / "missing/XMLDownload";
  EXPECT_EQ(failure_of([&] { create_folder(folder); }),
            failure(76, "Cannot create the folder \"" + folder + "\": No such file or directory"));
  EXPECT_FALSE(folder_exists(root / "missing"));
}

TEST(Folders, AFileInThePlaceOfTheFolderIsAnAccessError) {
  const TemporaryFolder root;
  const std::string path = root / "taken";
  write_file_atomically(path, "x");
  EXPECT_EQ(failure_of([&] { create_folder(path); }),
            failure(75, "Cannot create the folder \"" + path + "\": File exists"));
}

TEST(Folders, ADeletedFolderIsGoneWithEverythingInIt) {
  const TemporaryFolder root;
  const std::string folder = root / "5";
  create_folder(folder);
  create_folder(folder + "/inner");
  write_file_atomically(folder + "/inner/manual.pdf", "x");
  write_file_atomically(folder + "/manual.pdf", "x");
  delete_folder(folder);
  EXPECT_FALSE(folder_exists(folder));
  EXPECT_TRUE(folder_exists(root.path()));
}

TEST(Folders, WhatALinkInADeletedFolderLeadsToStays) {
  const TemporaryFolder root;
  const std::string folder = root / "5";
  create_folder(folder);
  create_folder(root / "elsewhere");
  write_file_atomically(root / "elsewhere/manual.pdf", "x");
  ASSERT_EQ(::symlink((root / "elsewhere").c_str(), (folder + "/link").c_str()), 0);
  delete_folder(folder);
  EXPECT_FALSE(folder_exists(folder));
  EXPECT_TRUE(file_exists(root / "elsewhere/manual.pdf"));
}

TEST(Folders, AFolderThatIsMissingOrNoneCannotBeDeleted) {
  const TemporaryFolder root;
  const std::string missing = root / "5";
  EXPECT_EQ(failure_of([&] { delete_folder(missing); }),
            failure(76, "Cannot delete the folder \"" + missing + "\": No such file or directory"));
  const std::string file = root / "file";
  write_file_atomically(file, "x");
  EXPECT_EQ(failure_of([&] { delete_folder(file); }).Number, 76);
  EXPECT_TRUE(file_exists(file));
}

TEST(Folders, AFolderThatMayNotBeDeletedIsAPermissionFailure) {
  // The kernel lets nobody delete here, whoever runs the test.
  EXPECT_EQ(failure_of([] { delete_folder("/proc/self/fdinfo"); }).Number, 70);
  EXPECT_TRUE(folder_exists("/proc/self/fdinfo"));
}

TEST(Folders, AFolderWithSomethingReadOnlyInItStaysWhole) {
  const TemporaryFolder root;
  const std::string folder = root / "5";
  create_folder(folder);
  create_folder(folder + "/inner");
  write_file_atomically(folder + "/first.pdf", "x");
  write_file_atomically(folder + "/inner/manual.pdf", "x");
  for (const std::string& kept : {folder + "/inner/manual.pdf", folder + "/inner", folder}) {
    SCOPED_TRACE(kept);
    ASSERT_EQ(::chmod(kept.c_str(), 0555), 0);
    EXPECT_EQ(failure_of([&] { delete_folder(folder); }),
              failure(70, "Cannot delete \"" + kept + "\": It is read-only"));
    EXPECT_TRUE(file_exists(folder + "/first.pdf"));
    EXPECT_TRUE(file_exists(folder + "/inner/manual.pdf"));
    ASSERT_EQ(::chmod(kept.c_str(), 0755), 0);
  }
  delete_folder(folder);
  EXPECT_FALSE(folder_exists(folder));
}

TEST(Folders, WhatALinkInADeletedFolderLeadsToMayBeReadOnly) {
  const TemporaryFolder root;
  const std::string folder = root / "5";
  create_folder(folder);
  write_file_atomically(root / "manual.pdf", "x");
  ASSERT_EQ(::chmod((root / "manual.pdf").c_str(), 0444), 0);
  ASSERT_EQ(::symlink((root / "manual.pdf").c_str(), (folder + "/link").c_str()), 0);
  delete_folder(folder);
  EXPECT_FALSE(folder_exists(folder));
  EXPECT_TRUE(file_exists(root / "manual.pdf"));
}

TEST(Files, AReadOnlyFileIsNotDeleted) {
  const TemporaryFolder root;
  const std::string path = root / "old.xml";
  write_file_atomically(path, "x");
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  EXPECT_EQ(failure_of([&] { delete_file(path); }), failure(70, "Cannot delete \"" + path + "\": It is read-only"));
  EXPECT_TRUE(file_exists(path));
  ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
  delete_file(path);
  EXPECT_FALSE(file_exists(path));
}

TEST(Files, AFileThatIsMissingCannotBeDeletedOrRead) {
  const TemporaryFolder root;
  const std::string path = root / "none.xml";
  EXPECT_FALSE(file_exists(path));
  EXPECT_EQ(failure_of([&] { delete_file(path); }),
            failure(53, "Cannot delete the file \"" + path + "\": No such file or directory"));
  EXPECT_EQ(failure_of([&] { read_file(path); }),
            failure(53, "Cannot read the file \"" + path + "\": No such file or directory"));
}

TEST(Files, AFolderIsNeitherDeletedNorReadAsAFile) {
  const TemporaryFolder root;
  EXPECT_EQ(failure_of([&] { delete_file(root.path()); }),
            failure(75, "Cannot delete the file \"" + root.path() + "\": Is a directory"));
  EXPECT_EQ(failure_of([&] { read_file(root.path()); }),
            failure(75, "Cannot read the file \"" + root.path() + "\": Is a directory"));
  EXPECT_TRUE(folder_exists(root.path()));
}

TEST(Files, AFileThatMayNotBeDeletedIsAPermissionFailure) {
  // The kernel lets nobody delete here, whoever runs the test.
  EXPECT_EQ(failure_of([] { delete_file("/proc/self/oom_score_adj"); }),
            failure(70, "Cannot delete the file \"/proc/self/oom_score_adj\": Operation not permitted"));
  EXPECT_TRUE(file_exists("/proc/self/oom_score_adj"));
}

TEST(Files, ADeletedFileIsGone) {
  const TemporaryFolder root;
  const std::string path = root / "old.xml";
  write_file_atomically(path, "x");
  EXPECT_TRUE(file_exists(path));
  delete_file(path);
  EXPECT_FALSE(file_exists(path));
}

TEST(Files, WhatWasWrittenIsRead) {
  const TemporaryFolder root;
  const std::string path = root / "content";
  for (const std::string& content : {std::string(), std::string("a\0b\r\n", 5), std::string(3'000'000, 'x')}) {
    write_file_atomically(path, content);
    EXPECT_TRUE(read_file(path) == content) << content.size();
  }
}

TEST(Files, AFileOfExactlyTheLimitIsReadAndALargerOneRefused) {
  const TemporaryFolder root;
  const std::string path = root / "large";
  write_file_atomically(path, "12345");
  EXPECT_EQ(read_file(path, 5), "12345");
  EXPECT_EQ(failure_of([&] { read_file(path, 4); }),
            failure(75, "Cannot read the file \"" + path + "\": it has more than 4 bytes"));
}

TEST(Files, APipeIsRefusedAndNotWaitedFor) {
  const TemporaryFolder root;
  const std::string path = root / "pipe";
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(failure_of([&] { read_file(path); }),
            failure(75, "Cannot read the file \"" + path + "\": Invalid argument"));
}

TEST(AtomicFiles, TheOldContentStaysUntilTheCommitAndNothingElseRemains) {
  const TemporaryFolder root;
  const std::string path = root / "remaining_products_7.xml";
  write_file_atomically(path, "old");
  {
    AtomicFile file(path);
    file.write("ne");
    file.write("w");
    EXPECT_EQ(read_file(path), "old");
    file.commit();
    EXPECT_EQ(read_file(path), "new");
  }
  EXPECT_EQ(root.entries(), 1u);
}

TEST(AtomicFiles, WithoutCommitNothingChangesAndNothingRemains) {
  const TemporaryFolder root;
  {
    AtomicFile file(root / "given-up.xml");
    file.write("half");
  }
  EXPECT_EQ(root.entries(), 0u);
}

// A process that was killed while it wrote used to leave its half of a file for good.
TEST(AtomicFiles, WhatAKilledWriterHasLeftIsDeletedAndWhatIsBeingWrittenStays) {
  const TemporaryFolder root;
  const std::string path = root / "remaining_products_7.xml";
  const pid_t child = ::fork();
  if (child == 0) {
    AtomicFile file(path);
    file.write("half");
    ::kill(::getpid(), SIGKILL);
  }
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  EXPECT_EQ(root.entries(), 1u);
  AtomicFile file(path);
  file.write("whole");
  std::ofstream(root / ".mercato.tmp") << "somebody's own";
  EXPECT_EQ(root.entries(), 3u);
  delete_abandoned_files(root.path());
  EXPECT_EQ(root.entries(), 2u);
  file.commit();
  EXPECT_EQ(read_file(path), "whole");
  EXPECT_TRUE(file_exists(root / ".mercato.tmp"));
  delete_abandoned_files(root / "missing");
}

TEST(AtomicFiles, AMissingFolderIsPathNotFound) {
  const TemporaryFolder root;
  const std::string path = root / "missing/a.xml";
  EXPECT_EQ(failure_of([&] { write_file_atomically(path, "x"); }),
            failure(76, "Cannot write the file \"" + path + "\": No such file or directory"));
}

TEST(AtomicFiles, AFolderInThePlaceOfTheFileIsAnAccessError) {
  const TemporaryFolder root;
  const std::string path = root / "folder";
  create_folder(path);
  EXPECT_EQ(failure_of([&] { write_file_atomically(path, "x"); }),
            failure(75, "Cannot write the file \"" + path + "\": Is a directory"));
  EXPECT_EQ(root.entries(), 1u);
}

TEST(AtomicFiles, TwoWritersOfOnePathLeaveOneWholeContent) {
  const TemporaryFolder root;
  const std::string path = root / "shared.xml";
  const std::string first(200'000, 'a');
  const std::string second(200'000, 'b');
  const auto write_often = [&](const std::string& content) {
    for (int i = 0; i < 20; ++i) write_file_atomically(path, content);
  };
  std::thread other(write_often, first);
  write_often(second);
  other.join();
  const std::string content = read_file(path);
  EXPECT_TRUE(content == first || content == second);
  EXPECT_EQ(root.entries(), 1u);
}

}  // namespace
}  // namespace mercato::files
