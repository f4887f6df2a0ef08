// SPDX-License-Identifier: Apache-2.0
// Clients that are silent, slow, in a hurry or hostile, and normal ones beside them, who notice nothing.
#include <chrono>

#include "tests/host/serving_fixture.h"

namespace mercato::test {
namespace {

class SlowAndHostileClients : public ServingTest {
 protected:
  SlowAndHostileClients() {
    options_.front.head_time = std::chrono::milliseconds(1500);
    options_.front.idle_time = std::chrono::milliseconds(1500);
    options_.front.body_time = std::chrono::milliseconds(1500);
  }
  int status_of(const std::string& bytes) const {
    HttpClient raw = client();
    raw.send(bytes);
    return raw.answer().status;
  }
};

TEST_F(SlowAndHostileClients, AHundredSilentOnesKeepNobodyWaiting) {
  std::vector<HttpClient> silent;
  for (int count = 0; count < 100; ++count) {
    silent.push_back(client());
    ASSERT_TRUE(silent.back().connected());
    if (count % 2 == 0) silent.back().send("GET /api/v1/products HTT");
  }
  const auto begin = std::chrono::steady_clock::now();
  for (int count = 0; count < 20; ++count) EXPECT_EQ(get("/healthz", "").status, 200);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  // Those that had begun a request are told; the others are just left.
  EXPECT_EQ(silent[0].answer().status, 408);
  EXPECT_TRUE(silent[1].is_closed(5));
}

TEST_F(SlowAndHostileClients, ABodyThatDoesNotComeIsGivenUp) {
  HttpClient slow = client();
  slow.send("POST /rpc HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_) + "Content-Length: 100\r\n\r\n{");
  EXPECT_EQ(slow.answer().status, 408);
}

TEST_F(SlowAndHostileClients, WhatIsTooLargeIsRefused) {
  EXPECT_EQ(status_of("GET / HTTP/1.1\r\nHost: x\r\nX: " + std::string(20'000, 'a') + "\r\n\r\n"), 431);
  EXPECT_EQ(status_of("POST /rpc HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_) + "Content-Length: 99999999999\r\n\r\n"),
            413);
  EXPECT_EQ(
      status_of("GET /api/v1/products HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_) + "Content-Length: 5\r\n\r\nabcde"),
      413);
}

// What two readers could understand differently is read by none.
TEST_F(SlowAndHostileClients, AmbiguousHeadsAreRefused) {
  const std::string begin = "POST /rpc HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_);
  EXPECT_EQ(status_of(begin + "Content-Length: 4\r\nContent-Length: 5\r\n\r\nabcd"), 400);
  EXPECT_EQ(status_of(begin + "Content-Length: 4\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"), 400);
  EXPECT_EQ(status_of(begin + "Transfer-Encoding: chunked\r\nContent-Length: 4\r\n\r\n0\r\n\r\n"), 400);
  EXPECT_EQ(status_of(begin + "Transfer-Encoding: xchunked\r\n\r\n0\r\n\r\n"), 400);
  EXPECT_EQ(status_of(begin + "Content-Length: -1\r\n\r\n"), 400);
  EXPECT_EQ(status_of(begin + "Content-Length : 1\r\n\r\na"), 400);
  EXPECT_EQ(status_of(begin + "Host: y\r\n\r\n"), 400);
  EXPECT_EQ(status_of(begin + bearer(reader_) + "\r\n"), 400);
  EXPECT_EQ(status_of("GET /healthz HTTP/1.1\r\n\r\n"), 400);
  EXPECT_EQ(status_of("GET http://elsewhere/ HTTP/1.1\r\nHost: x\r\n\r\n"), 400);
  EXPECT_EQ(status_of("GET /healthz HTTP/9.9\r\nHost: x\r\n\r\n"), 400);
  EXPECT_EQ(status_of("GET /heal\x01thz HTTP/1.1\r\nHost: x\r\n\r\n"), 400);
  using namespace std::string_literals;
  EXPECT_EQ(status_of("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03 rubbish\r\n\r\n"s), 400);
  EXPECT_EQ(get("/healthz", "").status, 200);
}

TEST_F(SlowAndHostileClients, RequestsOneAfterTheOtherOnOneConnectionAreAnsweredInOrder) {
  HttpClient one = client();
  one.send(
      "GET /healthz HTTP/1.1\r\nHost: x\r\n\r\nGET /readyz HTTP/1.1\r\nHost: x\r\n\r\nHEAD /healthz HTTP/1.1\r\n"
      "Host: x\r\n\r\n");
  EXPECT_EQ(one.answer().body, "ok\n");
  EXPECT_EQ(one.answer().body, "ready\n");
  EXPECT_EQ(one.answer().fields.at("Content-Length"), "3");
}

TEST_F(SlowAndHostileClients, MoreThanTheConnectionsThatMayBeAreTurnedAway) {
  stop();
  options_.front.most_connections = 2;
  start();
  const HttpClient first = client();
  const HttpClient second = client();
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  HttpClient third = client();
  EXPECT_EQ(third.answer().status, 503);
}

TEST_F(SlowAndHostileClients, TheEndWaitsForNobodyWhoIsSilent) {
  const HttpClient silent = client();
  EXPECT_EQ(get("/healthz", "").status, 200);
  const auto begin = std::chrono::steady_clock::now();
  stop();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(SlowAndHostileClients, AnswersSayThatTheyAreNoPages) {
  const HttpAnswer answer = get("/api/v1/products/3", reader_);
  EXPECT_EQ(answer.fields.at("Content-Type"), "application/json");
  EXPECT_EQ(answer.fields.at("X-Content-Type-Options"), "nosniff");
  EXPECT_EQ(answer.fields.at("Content-Security-Policy"), "default-src 'none'; frame-ancestors 'none'");
}

TEST_F(SlowAndHostileClients, AnAddressThatIsTakenIsTold) {
  host::ServingOptions taken;
  taken.front.port = serving_->port();
  const RaisedError error = raised_by([&] { host::Serving other(taken, host::KnownTokens::for_process("token")); });
  EXPECT_EQ(error.Description,
            "Cannot listen on 127.0.0.1:" + std::to_string(serving_->port()) + ": Address already in use");
}

}  // namespace
}  // namespace mercato::test
