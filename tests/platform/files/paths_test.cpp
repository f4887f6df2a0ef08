// SPDX-License-Identifier: Apache-2.0
#include "platform/files/paths.h"

#include <gtest/gtest.h>

#include "tests/platform/failure_of.h"

namespace mercato::files {
namespace {

using test::failure_of;

TEST(Paths, BackslashesOfTheInterfaceBecomeSeparatorsOfTheHost) {
  EXPECT_EQ(host_path("/srv/web\\XMLDownload\\"), "/srv/web/XMLDownload/");
  EXPECT_EQ(host_path("\\mercato\\ProductAttachments\\7\\"), "/mercato/ProductAttachments/7/");
}

TEST(Paths, SeparatorsOfTheHostStay) { EXPECT_EQ(host_path("/srv/web/a.xml"), "/srv/web/a.xml"); }

TEST(FileKey, PlainKeysPass) {
  for (const char* key : {"", "run7", "user 3", "a.b", ".hidden", "trailing.", "...", "M\xC3\xBCller", "a..b"}) {
    EXPECT_EQ(failure_of([&] { require_plain_file_key(key); }), RaisedError{}) << key;
  }
}

TEST(FileKey, KeysThatLeaveTheFolderAreRefused) {
  const auto refusal = [](const std::string& text) {
    return RaisedError{error_number::kPathFileAccess, "Mercato", text, {}, 0};
  };
  const struct {
    std::string key;
    std::string description;
  } cases[] = {
      {"a/b", "The file key \"a/b\" contains a path separator"},
      {"/etc/passwd", "The file key \"/etc/passwd\" contains a path separator"},
      {"a\\b", "The file key \"a\\b\" contains a path separator"},
      {"..\\..\\x", "The file key \"..\\..\\x\" contains a path separator"},
      {".", "The file key \".\" names a folder"},
      {"..", "The file key \"..\" names a folder"},
      {std::string("a\0b", 3), "The file key contains a control character"},
      {"a\nb", "The file key contains a control character"},
      {"a\x7F", "The file key contains a control character"},
      {"a/\n", "The file key contains a control character"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(failure_of([&] { require_plain_file_key(row.key); }), refusal(row.description)) << row.key;
  }
}

}  // namespace
}  // namespace mercato::files
