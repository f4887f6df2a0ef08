// SPDX-License-Identifier: Apache-2.0
#include "collaborators/grundwerk/configuration.h"

#include <gtest/gtest.h>

#include "frame/contracts.h"
#include "mercato/settings.h"
#include "tests/support/store_fixture.h"

namespace mercato::collaborators {
namespace {

// Asked as the library asks: by ProgID and by name.
class ConfigurationTest : public test::StoreTest {
 protected:
  void SetUp() override {
    test::StoreTest::SetUp();
    Settings settings;
    settings.connections = {{"Mercato", "Data Source=one.db"}, {"Archive", "Data Source=two.db"}};
    settings.web_root = "/srv/web";
    settings.install_dir = "/opt/mercato";
    settings.parameters["COMMONPARAMETERS"]["UNSPSCIMPLEMENTED"] = "Yes";
    settings.parameters["COMMONPARAMETERS"]["LEVELS"] = std::int32_t{4};
    set_settings(settings);
  }
};

TEST_F(ConfigurationTest, ParametersAreFoundInAnyCase) {
  mercato::grundwerk::Configuration configuration("grundwerk.configuration");
  configuration.PrepareParameters(false);
  EXPECT_EQ(configuration.GetParameter("COMMONPARAMETERS", "UNSPSCIMPLEMENTED"), Variant("Yes"));
  EXPECT_EQ(configuration.GetParameter("CommonParameters", "UNSPSCImplemented"), Variant("Yes"));
  EXPECT_EQ(configuration.GetParameter("commonparameters", "levels"), Variant(std::int32_t{4}));
}

TEST_F(ConfigurationTest, AnUnknownParameterIsEmpty) {
  mercato::grundwerk::Configuration configuration;
  EXPECT_EQ(configuration.GetParameter("COMMONPARAMETERS", "NONE"), Variant());
  EXPECT_EQ(configuration.GetParameter("NONE", "UNSPSCIMPLEMENTED"), Variant());
}

TEST_F(ConfigurationTest, FoldersAreThoseOfTheSettings) {
  mercato::grundwerk::Configuration configuration;
  EXPECT_EQ(configuration.GetWebRootFolder(), "/srv/web");
  EXPECT_EQ(configuration.GetInstallDir(), "/opt/mercato");
}

TEST_F(ConfigurationTest, EachApplicationHasItsConnection) {
  mercato::grundwerk::Configuration configuration;
  configuration.PrepareConnections(false);
  EXPECT_EQ(configuration.GetConnectionStringOf("Mercato"), "Data Source=one.db");
  EXPECT_EQ(configuration.GetConnectionStringOf("ARCHIVE"), "Data Source=two.db");
}

TEST_F(ConfigurationTest, AnApplicationWithoutAConnectionIsAFailure) {
  mercato::grundwerk::Configuration configuration;
  EXPECT_EQ(raised_by([&] { configuration.GetConnectionStringOf("Nobody"); }),
            (RaisedError{error_number::kInvalidArgument, "Grundwerk.Configuration",
                         "No connection is configured for the application 'Nobody'", "", 0}));
}

TEST_F(ConfigurationTest, ChangedSettingsCountAtOnce) {
  mercato::grundwerk::Configuration configuration;
  ASSERT_EQ(configuration.GetWebRootFolder(), "/srv/web");
  Settings changed = *settings();
  changed.web_root = "/srv/other";
  set_settings(changed);
  EXPECT_EQ(configuration.GetWebRootFolder(), "/srv/other");
}

}  // namespace
}  // namespace mercato::collaborators
