// SPDX-License-Identifier: Apache-2.0
// A server of the test program's own, through PostgreSQL's driver for ODBC.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "tests/platform/store/postgres/own_cluster.h"
#include "tests/support/odbc_stores.h"

namespace mercato::store::odbc::test {

using mercato::test::failure_of;
using store::test::query;
using store::test::query_one;
using store::test::run;

class OdbcServerTest : public postgres::test::OwnClusterTest {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(driver_path())) GTEST_SKIP() << "PostgreSQL's driver for ODBC is not installed";
    OwnClusterTest::SetUp();
  }

  static std::string driver_path() {
    return connection_property(mercato::test::through_odbc("Provider=PostgreSQL"), "Driver").value_or("");
  }
  std::string store() const { return mercato::test::through_odbc(OwnClusterTest::store()); }
  std::unique_ptr<Session> open() const { return open_store(store()); }
};

// A session, and a table of numbers.
class OdbcSessionTest : public OdbcServerTest {
 protected:
  void SetUp() override {
    OdbcServerTest::SetUp();
    if (IsSkipped()) return;
    session_ = open();
    run(*session_, "CREATE TABLE T (ID int NOT NULL PRIMARY KEY)");
  }
  void TearDown() override {
    session_.reset();
    OdbcServerTest::TearDown();
  }

  std::unique_ptr<Session> session_;
};

}  // namespace mercato::store::odbc::test
