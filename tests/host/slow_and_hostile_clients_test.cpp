// SPDX-License-Identifier: Apache-2.0
// Clients that are silent, slow, in a hurry or hostile, and normal ones beside them, who notice nothing.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>

#include "platform/store/unit_of_work.h"
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
  // Refused with this status, and nothing behind it is taken for another request.
  void expect_refusal(int status, const std::string& bytes) const {
    HttpClient raw = client();
    raw.send(bytes + "GET /healthz HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(raw.answer().status, status) << bytes;
    EXPECT_EQ(raw.rest(), "") << bytes;
  }
  std::string rpc_head() const { return "POST /rpc HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_); }

  int connections() const {
    const std::string text = get("/metrics", reader_).body;
    const std::string begin = "\nmercato_connections ";
    return std::stoi(text.substr(text.find(begin) + begin.size()));
  }
  static std::size_t open_files() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
  }
  static std::size_t memory_in_use() {
    std::size_t whole = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  }
  static bool may_open(std::size_t files) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_max < files) return false;
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, files);
    return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
  }
};

constexpr const char* kMaxProduct =
    R"({"jsonrpc":"2.0","id":1,"method":"invoke","params":{"progId":"Mercato.Product","method":"GetMaxProductId"}})";

// Of each four one says nothing, one half a head, one sends a head and one a body drop by drop.
TEST_F(SlowAndHostileClients, AThousandSilentOnesAreNoticedByNobodyAndLeaveNothingBehind) {
  constexpr std::size_t kSilent = 1000;
  if (!may_open(2 * kSilent + 200)) GTEST_SKIP() << "this process may not open that many files";
  const auto normal_users_are_served = [&] {
    EXPECT_EQ(json_of(get("/api/v1/products/1", reader_)).at("PARTNUMBER"), "PAPER-A4");
    EXPECT_EQ(json_of(get("/api/v1/products?query=copy", reader_)).at("total"), 2);
    EXPECT_EQ(json_of(rpc(kMaxProduct, keeper_)).at("result").at("value"), 4);
  };
  std::size_t open_before = 0;
  [[maybe_unused]] std::size_t memory_before = 0;
  // What the first round makes, sessions of the store and threads, is there for the second.
  for (int round = 0; round < 2; ++round) {
    if (round == 1) {
      open_before = open_files();
      memory_before = memory_in_use();
    }
    const auto begin = std::chrono::steady_clock::now();
    std::vector<HttpClient> silent;
    for (std::size_t count = 0; count < kSilent; ++count) {
      silent.push_back(client());
      ASSERT_TRUE(silent.back().connected());
      if (count % 4 == 1) silent.back().send("GET /api/v1/products HTT");
      if (count % 4 == 2) silent.back().send("GET /api/v1/products HTTP/1.1\r\nX: ");
      if (count % 4 == 3)
        silent.back().send("POST /rpc HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_) + "Content-Length: 1000\r\n\r\n");
    }
    // Not so long that one is told before it has ended: what it sends then would take the answer with it.
    while (std::chrono::steady_clock::now() - begin < std::chrono::seconds(1)) {
      for (std::size_t count = 2; count < kSilent; count += count % 4 == 2 ? 1 : 3) silent[count].send("a");
      normal_users_are_served();
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    normal_users_are_served();
    // Those that had begun a request are told; the others are just left.
    for (std::size_t count = 0; count < kSilent; ++count) {
      if (count % 4 == 0)
        EXPECT_TRUE(silent[count].is_closed(10)) << count;
      else
        EXPECT_EQ(silent[count].answer().status, 408) << count;
    }
    silent.clear();
    for (int tries = 0; tries < 100 && connections() > 1; ++tries)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(connections(), 1) << "the one that asks";
  }
  EXPECT_LE(open_files(), open_before + 16) << "more than another session of each worker";
#ifndef MERCATO_SANITIZED
  EXPECT_LE(memory_in_use(), memory_before + (std::size_t{12} << 20));
#endif
}

TEST_F(SlowAndHostileClients, TwoHundredWhoListenToAnUploadLeaveTheWorkersToOthers) {
  stop();
  options_.workers = 1;
  options_.most_waiting = 50;
  // Another host runs it for as long as anybody asks.
  execute(
      {"INSERT INTO MERCATO_UPLOAD (KIND, MODE, STATE, OPTIONS, ACCEPTED, OWNER, LEASEUNTIL, INSERTED, "
       "UPDATED) VALUES "
       "('products', 'upload', 'running', 'host skip none', '2026-07-01', 'elsewhere:1:1', '2999-01-01', 0, 0)"});
  const std::string location =
      "/api/v1/uploads/" + value_of("SELECT UPLOADID FROM MERCATO_UPLOAD").to_text() + "/events";
  start();
  std::vector<HttpClient> listeners;
  for (int count = 0; count < 200; ++count) {
    listeners.push_back(client());
    listeners.back().send_request("GET", location, bearer(keeper_));
    ASSERT_EQ(listeners.back().answer().status, 200) << count;
  }
  // The worker waits for a row that is held, long enough for each listener to be asked for.
  store::UnitOfWork held(store::UnitOfWork::Kind::transaction);
  {
    const store::UnitOfWork::Current current(&held);
    execute({"UPDATE PRODUCT SET MINORDERQTY = 7 WHERE PRODUCTID = 1"});
  }
  HttpClient keeper = client();
  keeper.send_request(
      "POST", "/rpc", bearer(admin_),
      R"({"jsonrpc":"2.0","id":1,"method":"execute","params":{"sql":"UPDATE PRODUCT SET MINORDERQTY = 8 WHERE PRODUCTID = 1"}})");
  std::this_thread::sleep_for(std::chrono::milliseconds(800));
  HttpClient reader = client();
  reader.send_request("GET", "/api/v1/products/1", bearer(reader_));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  held.rollback();
  EXPECT_EQ(keeper.answer().status, 200);
  EXPECT_EQ(reader.answer().status, 200);
  // All of them hear of its end.
  execute({"UPDATE MERCATO_UPLOAD SET STATE = 'cancelled', ENDED = '2026-07-01'"});
  for (HttpClient& listener : listeners)
    EXPECT_NE(listener.rest().find("event: end\ndata: {"), std::string::npos) << "nothing is told";
}

TEST_F(SlowAndHostileClients, WhoeverFindsTheQueueFullIsToldWhenToComeAgain) {
  stop();
  options_.workers = 1;
  options_.most_waiting = 2;
  start();
  std::vector<HttpClient> clients;
  store::UnitOfWork held(store::UnitOfWork::Kind::transaction);
  {
    // The row is held, so that whoever changes it waits.
    const store::UnitOfWork::Current current(&held);
    execute({"UPDATE PRODUCT SET MINORDERQTY = 7 WHERE PRODUCTID = 1"});
  }
  for (int count = 0; count < 6; ++count) {
    clients.push_back(client());
    clients.back().send_request(
        "POST", "/rpc", bearer(admin_),
        R"({"jsonrpc":"2.0","id":1,"method":"execute","params":{"sql":"UPDATE PRODUCT SET MINORDERQTY = 8 WHERE PRODUCTID = 1"}})");
  }
  const HttpAnswer full = clients.back().answer();
  EXPECT_EQ(full.status, 503);
  EXPECT_EQ(full.fields.at("Retry-After"), "1");
  EXPECT_EQ(json_of(full).at("detail"), "Too many requests wait.");
  clients.pop_back();
  held.rollback();
  std::map<int, int> statuses;
  for (HttpClient& one : clients) ++statuses[one.answer().status];
  EXPECT_GE(statuses[200], 2);
  EXPECT_EQ(statuses[200] + statuses[503], 5);
  EXPECT_EQ(json_of(get("/api/v1/products/1", reader_)).at("MINORDERQTY"), 8);
}

TEST_F(SlowAndHostileClients, ABodyThatDoesNotComeIsGivenUp) {
  HttpClient slow = client();
  slow.send("POST /rpc HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_) + "Content-Length: 100\r\n\r\n{");
  EXPECT_EQ(slow.answer().status, 408);
}

TEST_F(SlowAndHostileClients, WhatIsTooLargeIsRefused) {
  expect_refusal(431, "GET / HTTP/1.1\r\nHost: x\r\nX: " + std::string(20'000, 'a') + "\r\n\r\n");
  expect_refusal(431, "GET /" + std::string(20'000, 'a') + " HTTP/1.1\r\nHost: x\r\n\r\n");
  expect_refusal(413, rpc_head() + "Content-Length: 99999999999\r\n\r\n");
  const std::string none_taken = "GET /api/v1/products HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_);
  expect_refusal(413, none_taken + "Content-Length: 5\r\n\r\nabcde");
  expect_refusal(413, none_taken + "Transfer-Encoding: chunked\r\n\r\n5\r\nabcde\r\n0\r\n\r\n");
}

// What two readers could understand differently is read by none.
TEST_F(SlowAndHostileClients, AmbiguousHeadsAreRefused) {
  using namespace std::string_literals;
  const std::string chunk = "\r\n\r\n0\r\n\r\n";
  for (const std::string& fields : {"Content-Length: 4\r\nContent-Length: 5\r\n\r\nabcd"s,
                                    "Content-Length: 4\r\nContent-Length: 4\r\n\r\nabcd"s,
                                    "Content-Length: 4, 4\r\n\r\nabcd"s,
                                    "Content-Length: -1\r\n\r\n"s,
                                    "Content-Length: +4\r\n\r\nabcd"s,
                                    "Content-Length: 0x4\r\n\r\nabcd"s,
                                    "Content-Length: 99999999999999999999\r\n\r\n"s,
                                    "Content-Length: 1\r\n 0\r\n\r\n0123456789"s,
                                    "Content-Length : 1\r\n\r\na"s,
                                    "Content-Length: 4\r\nTransfer-Encoding: chunked" + chunk,
                                    "Transfer-Encoding: chunked\r\nContent-Length: 4" + chunk,
                                    "Transfer-Encoding: xchunked" + chunk,
                                    "Transfer-Encoding: gzip, chunked" + chunk,
                                    "Transfer-Encoding: chunked, chunked" + chunk,
                                    "Transfer-Encoding: chunked, gzip" + chunk,
                                    "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked" + chunk,
                                    "Transfer-Encoding: identity\r\n\r\n"s,
                                    "Transfer-Encoding:\r\n\r\n"s,
                                    "Transfer-Encoding : chunked" + chunk,
                                    " Transfer-Encoding: chunked" + chunk,
                                    "X: a\rTransfer-Encoding: chunked" + chunk,
                                    "X: a\nTransfer-Encoding: chunked" + chunk,
                                    "X: a\0b\r\n\r\n"s,
                                    ": a\r\n\r\n"s,
                                    "X\r\n\r\n"s,
                                    "Host: y\r\n\r\n"s,
                                    bearer(reader_) + "\r\n"})
    expect_refusal(400, rpc_head() + fields);
  for (const std::string& line :
       {"GET /healthz HTTP/1.1\r\n\r\n"s, "GET /healthz HTTP/1.1\nHost: x\n\n\r\n\r\n"s,
        "GET /healthz HTTP/9.9\r\nHost: x\r\n\r\n"s, "GET /healthz\r\nHost: x\r\n\r\n"s,
        "GET  /healthz HTTP/1.1\r\nHost: x\r\n\r\n"s, "GET /heal\x01thz HTTP/1.1\r\nHost: x\r\n\r\n"s,
        "POST /rpc HTTP/1.0\r\nHost: x\r\n" + bearer(keeper_) + "Transfer-Encoding: chunked" + chunk,
        "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03 rubbish\r\n\r\n"s})
    expect_refusal(400, line);
  EXPECT_EQ(status_of("GET http://elsewhere/ HTTP/1.1\r\nHost: x\r\n\r\n"), 400);
  EXPECT_EQ(get("/healthz", "").status, 200);
}

TEST_F(SlowAndHostileClients, ABodyInPiecesIsTheSameBodyAndABrokenOneIsRefused) {
  const std::string head = rpc_head() + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string whole = kMaxProduct;
  const auto piece = [](const std::string& size, const std::string& text) { return size + "\r\n" + text + "\r\n"; };
  HttpClient one = client();
  // With an extension, letters of both cases, leading noughts, and a trailer, which is no part of the head.
  one.send(head + piece("0A;name=\"a;b\"", whole.substr(0, 10)) + piece("a", whole.substr(10, 10)) +
           piece(
               "000" +
                   [&] {
                     std::ostringstream size;
                     size << std::hex << whole.size() - 20;
                     return size.str();
                   }(),
               whole.substr(20)) +
           "0\r\nAuthorization: Bearer other\r\n\r\n");
  const HttpAnswer answer = one.answer();
  EXPECT_EQ(json_of(answer).value("/result/value"_json_pointer, 0), 4) << answer.status << answer.body;
  EXPECT_EQ(one.ask("GET", "/healthz").status, 200) << "the connection is where the body ended";
  for (const std::string& body : {piece("0x5", "abcde"), piece("-5", "abcde"), piece("5 5", "abcde"),
                                  piece("", "abcde"), piece("5", "abcdefgh"), piece("FFFFFFFFFFFFFFFFF", "abcde"),
                                  std::string("0\r\nContent-Length: 7\r\n\r\n"), std::string("0\r\nX: a\r\n b\r\n\r\n"),
                                  std::string("5\nabcde\n0\n\n\r\n"), piece(std::string(70'000, ';'), "")})
    expect_refusal(400, head + body);
}

TEST_F(SlowAndHostileClients, NothingThatIsSentBecomesAFieldOfAnAnswerOrALineOfTheLog) {
  const std::string line = "%0d%0aSet-Cookie:%20a=b%0d%0arequest=1%20method=GET";
  for (const std::string& target : {"/" + line, "/api/v1/products?query=" + line, "/api/v1/products/" + line,
                                    "/api/v1/uploads/" + line, "/api/v1/products?" + line + "=1"})
    for (const auto& [name, value] : get(target, reader_).fields) EXPECT_NE(name, "Set-Cookie") << target << value;
  const HttpAnswer document =
      client().ask("POST", "/api/v1/uploads?kind=products&name=" + line, bearer(keeper_), "<Products/>");
  EXPECT_EQ(document.status, 202);
  EXPECT_EQ(document.fields.at("Location"), "/api/v1/uploads/1");
  EXPECT_FALSE(document.fields.contains("Set-Cookie"));
  get("/healthz", "", "X-Request-Id: 1 status=200 role=admin\r\nX-Forwarded-For: 1 role=admin\r\n");
  EXPECT_EQ(status_of("G|T /healthz HTTP/1.1\r\nHost: x\r\n\r\n"), 405);
  stop();
  std::istringstream log(log_.str());
  const std::regex form(
      "request=[A-Za-z0-9_.-]{1,64} method=([A-Z]+|-) route=[a-z0-9/{}.-]+ status=[0-9]{3} "
      "time_ms=[0-9]+\\.[0-9]{3} role=(-|reader|keeper|admin)");
  std::size_t lines = 0;
  for (std::string told; std::getline(log, told); ++lines) EXPECT_TRUE(std::regex_match(told, form)) << told;
  EXPECT_EQ(lines, 8U);
}

TEST_F(SlowAndHostileClients, PathsThatClimbLeadNowhere) {
  const HttpAnswer page = get("/", "");
  for (const char* path :
       {"/../../etc/passwd", "/assets/../../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/..%2f..%2fetc%2fpasswd",
        "//etc/passwd", "/.%00/etc/passwd", "/..\\..\\etc\\passwd", "/..%5c..%5cetc%5cpasswd",
        "/%c0%ae%c0%ae/etc/passwd", "/etc/passwd.txt", "/./index.html/../../tokens.json"}) {
    const HttpAnswer answer = get(path, "");
    if (answer.status == 200)
      EXPECT_EQ(answer.body, page.body) << path;
    else
      EXPECT_TRUE(answer.status == 404 || answer.status == 400) << path << answer.status;
  }
  for (const char* path :
       {"/api/v1/uploads/../../../etc/passwd", "/api/v1/uploads/1%2f..%2f..%2fetc/remaining",
        "/api/v1/uploads/..%2f..%2ftokens.json/remaining", "/api/v1/../healthz", "/api/v1/products/..;/1"})
    EXPECT_EQ(get(path, admin_).status, 404) << path;
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
