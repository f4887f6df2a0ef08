// SPDX-License-Identifier: Apache-2.0
// A host on a free port, in this process, on a store with a catalogue of which one user sees a part:
//
//   products 1 PAPER-A4 and 2 PAPER-A3 hang in category 1, 3 TONER in category 2, 4 INK nowhere; 1 has the
//   alternatives 2 and 3. Catalogue 1 has the node 1 (category 1) and below it the node 2 (category 2); ANN has node 1
//   laid out, and an entry by which she may order from it. Catalogue 2 is nobody's.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

#include "host/serving.h"
#include "tests/host/http_client.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

class ServingTest : public StoreTest {
 protected:
  using Json = nlohmann::json;

  ServingTest() { options_.workers = 4; }
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('BX', 'Box')",
             "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, UNITCODE) VALUES "
             "('PAPER-A4', 'Copy paper A4', 'S-1', 'BX'), ('PAPER-A3', 'Copy paper A3', 'S-2', 'BX'), "
             "('TONER', 'Toner <b>black</b>', 'S-3', 'BX'), ('INK', 'Ink', 'S-4', NULL)",
             "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Paper'), ('Supplies')",
             "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID) VALUES (1, 1), (2, 1), (3, 2), (1, 2)",
             "INSERT INTO ALTERNATIVEPRODUCTS (ORIGINALPRODUCT, ALTERNATIVEPRODUCT) VALUES (1, 2), (1, 3)",
             "INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('Office', 1), ('Works', 1)",
             "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, NODETYPE, CATEGORYID, SEQUENCE) VALUES "
             "(1, NULL, 'Paper', 1, 1, 1), (1, 1, 'Supplies', 1, 2, 1), (2, NULL, 'Steel', 0, NULL, 1)",
             "INSERT INTO USERNODE (USERID, CATALOGID, NODEID) VALUES ('ANN', 1, 1)",
             "INSERT INTO CATALOGNODEBYUSER (USERID, ISPROFILE, CATALOGID, NODEID, LEVEL, VIEWONLY) VALUES "
             "('ANN', 0, 1, 1, 1, 0)",
             "INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR')",
             "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, CURRENCYCODE, "
             "PRICE) VALUES (1, '2020-01-01', 9, '', 'EUR', 4.2), (1, '2020-01-01', 99, '', 'EUR', 3.8)"});
    tokens_file_ = (folder() / "tokens.json").string();
    const host::TokenFile file(tokens_file_);
    const auto make = [&](const char* name, host::Role role, std::optional<std::string> user) {
      host::Token token;
      token.name = name;
      token.role = role;
      token.user = std::move(user);
      return file.add(std::move(token));
    };
    reader_ = make("reader", host::Role::reader, std::nullopt);
    ann_ = make("ann", host::Role::reader, "ANN");
    keeper_ = make("keeper", host::Role::keeper, std::nullopt);
    admin_ = make("admin", host::Role::admin, std::nullopt);
    start();
  }
  void TearDown() override {
    stop();
    StoreTest::TearDown();
  }

  void start() {
    options_.host.log = &log_;
    serving_ = std::make_unique<host::Serving>(options_, host::KnownTokens::of_file(tokens_file_));
    thread_ = std::thread([this] { serving_->run(); });
  }
  void stop() {
    if (!thread_.joinable()) return;
    serving_->end();
    thread_.join();
    serving_.reset();
  }

  HttpClient client() const { return HttpClient(serving_->port()); }
  static std::string bearer(const std::string& token) {
    return token.empty() ? std::string() : "Authorization: Bearer " + token + "\r\n";
  }
  HttpAnswer get(const std::string& target, const std::string& token, const std::string& fields = "") const {
    return client().ask("GET", target, bearer(token) + fields);
  }
  HttpAnswer rpc(const std::string& body, const std::string& token) const {
    return client().ask("POST", "/rpc", bearer(token) + "Content-Type: application/json\r\n", body);
  }
  // The upload at that address, when it has ended.
  Json ended_upload(std::uint16_t port, const std::string& location) const {
    for (int tries = 0; tries < 600; ++tries) {
      Json upload = json_of(HttpClient(port).ask("GET", location, bearer(keeper_)));
      const std::string state = upload.value("state", "");
      if (state != "waiting" && state != "running") return upload;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ADD_FAILURE() << location << " does not end";
    return {};
  }
  static Json json_of(const HttpAnswer& answer) { return Json::parse(answer.body, nullptr, false); }

  host::ServingOptions options_;
  std::string tokens_file_;
  std::string reader_, ann_, keeper_, admin_;
  std::ostringstream log_;  // written by the host's thread: read it when the host has ended
  std::unique_ptr<host::Serving> serving_;

 private:
  std::thread thread_;
};

}  // namespace mercato::test
