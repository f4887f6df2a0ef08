// SPDX-License-Identifier: Apache-2.0
#include "mercato/settings.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/platform/failure_of.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::collaborators {
namespace {

class SettingsFileTest : public ::testing::Test {
 protected:
  std::string file(const std::string& text) const {
    std::ofstream(path_) << text;
    return path_;
  }
  Settings read(const std::string& text) const { return read_settings(file(text)); }
  // What the reader says about a file, its path left out.
  std::string refusal_of(const std::string& text) const {
    file(text);
    const RaisedError error = test::failure_of([&] { read_settings(path_); });
    EXPECT_EQ(error.Number, error_number::kInvalidArgument);
    EXPECT_EQ(error.Description.substr(0, path_.size()), path_);
    return error.Description.substr(std::min(error.Description.size(), path_.size()));
  }

 private:
  test::TemporaryFolder folder_;
  std::string path_ = folder_ / "mercato.toml";
};

TEST_F(SettingsFileTest, EveryKeyIsRead) {
  const Settings settings = read(R"([connections]
Mercato = "Provider=SQLite;Data Source=/data/one.db"
Archive = "Provider=SQLite;Data Source=/data/two.db"
[folders]
web_root = "/srv/web/"
install_dir = 'C:\mercato\'
[parameters.COMMONPARAMETERS]
UNSPSCIMPLEMENTED = "Yes"
LEVELS = 4
SHARE = 0.5
STRICT = true
[parameters.OTHER]
LARGE = 5000000000
[log]
file = "mercato.log"
[limits]
call_seconds = 12.5
)");
  EXPECT_EQ(settings.connections, (ByName<std::string>{{"Mercato", "Provider=SQLite;Data Source=/data/one.db"},
                                                       {"Archive", "Provider=SQLite;Data Source=/data/two.db"}}));
  EXPECT_EQ(settings.web_root, "/srv/web");
  EXPECT_EQ(settings.install_dir, "C:\\mercato");
  EXPECT_EQ(settings.parameters, (ByName<ByName<Variant>>{{"COMMONPARAMETERS",
                                                           {{"UNSPSCIMPLEMENTED", Variant("Yes")},
                                                            {"LEVELS", Variant(std::int32_t{4})},
                                                            {"SHARE", Variant(0.5)},
                                                            {"STRICT", Variant(true)}}},
                                                          {"OTHER", {{"LARGE", Variant(5e9)}}}}));
  EXPECT_EQ(settings.log_file, "mercato.log");
  EXPECT_EQ(settings.call_seconds, 12.5);
}

TEST_F(SettingsFileTest, WhatTheFileLeavesOutKeepsItsDefault) {
  const Settings settings = read("");
  EXPECT_EQ(settings.connections, (ByName<std::string>{{"Mercato", "Provider=SQLite;Data Source=mercato.db"}}));
  EXPECT_EQ(settings.web_root, "web");
  EXPECT_EQ(settings.install_dir, default_install_dir());
  EXPECT_TRUE(settings.parameters.empty());
  EXPECT_EQ(settings.log_file, "");
  EXPECT_EQ(settings.call_seconds, 300);
}

TEST_F(SettingsFileTest, ListedConnectionsReplaceTheDefaultOne) {
  EXPECT_EQ(read("[connections]\nMercatto = \"Data Source=x.db\"\n").connections,
            (ByName<std::string>{{"Mercatto", "Data Source=x.db"}}));
}

TEST_F(SettingsFileTest, WhatIsWrongIsToldWithItsLine) {
  const struct {
    const char* text;
    const char* refusal;
  } cases[] = {
      {"[colours]\nred = 1\n", ", line 1: unknown key 'colours'"},
      {"\nred = 1\n", ", line 2: unknown key 'red'"},
      {"[folders]\nweb_root = \"web\"\nwebroot = \"web\"\n", ", line 3: unknown key 'webroot'"},
      {"[log]\nfile = \"a.log\"\nsize = 3\n", ", line 3: unknown key 'size'"},
      {"[limits]\ncall_minutes = 3\n", ", line 2: unknown key 'call_minutes'"},
      {"log = \"a.log\"\n", ", line 1: 'log' has to be a table"},
      {"[connections]\nMercato = 5\n", ", line 2: 'Mercato' has to be a text"},
      {"[folders]\nweb_root = [\"web\"]\n", ", line 2: 'web_root' has to be a text"},
      {"[parameters]\nUNSPSCIMPLEMENTED = \"Yes\"\n", ", line 2: 'UNSPSCIMPLEMENTED' has to be a table"},
      {"[parameters.A]\nB = 2026-07-01\n", ", line 2: 'B' has to be a text, a number or a Boolean"},
      {"[parameters.A]\nB = 1\nb = 2\n", ", line 3: 'b' stands twice, but for the case of its letters"},
      {"[parameters.A]\n[parameters.a]\n", ", line 2: 'a' stands twice, but for the case of its letters"},
      {"[limits]\ncall_seconds = \"long\"\n", ", line 2: 'call_seconds' has to be a number of seconds, 0 or more"},
      {"[limits]\ncall_seconds = -1\n", ", line 2: 'call_seconds' has to be a number of seconds, 0 or more"},
      {"[limits]\ncall_seconds = nan\n", ", line 2: 'call_seconds' has to be a number of seconds, 0 or more"},
  };
  for (const auto& row : cases) EXPECT_EQ(refusal_of(row.text), row.refusal) << row.text;
}

TEST_F(SettingsFileTest, ATextThatIsNoTomlIsRefusedWithItsLine) {
  const std::string refusal = refusal_of("[log]\nfile = \n");
  EXPECT_EQ(refusal.substr(0, 9), ", line 2:") << refusal;
}

// A bracket without a name behind it ended the process, by an assertion of the parser.
TEST_F(SettingsFileTest, ABracketWithoutANameIsRefusedWithItsLine) {
  EXPECT_EQ(refusal_of("\n[!]\n"),
            ", line 2: Error while parsing key: expected bare key starting character or string delimiter, saw '!'");
}

TEST_F(SettingsFileTest, AMissingFileIsNoSettings) {
  const RaisedError error = test::failure_of([] { read_settings("/nowhere/mercato.toml"); });
  EXPECT_EQ(error, (RaisedError{error_number::kFileNotFound, "Mercato",
                                "The settings file '/nowhere/mercato.toml' cannot be read", "", 0}));
}

}  // namespace
}  // namespace mercato::collaborators
