// SPDX-License-Identifier: Apache-2.0
// Hosts are killed in the middle of uploads. What they tell after it is what stands in the store, and what is not written
// is in the rest.
#include <fstream>
#include <set>

#include "platform/store/unit_of_work.h"
#include "tests/host/serve_process.h"
#include "tests/host/serving_fixture.h"
#include "tests/support/random_rounds.h"

namespace mercato::test {
namespace {

class KilledHosts : public ServingTest {
 protected:
  static constexpr int kRecords = 400;
  static constexpr int kBadEach = 40;

  void SetUp() override {
    ServingTest::SetUp();
    stop();
    std::ofstream(settings()) << "[connections]\nMercato = '" << connection_string() << "'\n[folders]\nweb_root = '"
                              << (folder() / "web").string() << "'\n";
  }

  std::filesystem::path settings() const { return folder() / "mercato.toml"; }
  std::unique_ptr<ServeProcess> new_host() const {
    return std::make_unique<ServeProcess>(settings(), tokens_file_, folder() / "serve.log");
  }
  HttpAnswer ask(const ServeProcess& host, const std::string& method, const std::string& target,
                 const std::string& body = "") const {
    return HttpClient(host.port()).ask(method, target, bearer(keeper_), body);
  }
  Json told(const ServeProcess& host, const std::string& target) const { return json_of(ask(host, "GET", target)); }
  std::string accepted(const ServeProcess& host, const std::string& mode, const std::string& document) const {
    const HttpAnswer answer = ask(host, "POST", "/api/v1/uploads?kind=products&mode=" + mode, document);
    EXPECT_EQ(answer.status, 202) << answer.body;
    return answer.status == 202 ? answer.fields.at("Location") : "";
  }
  Json ended(const ServeProcess& host, const std::string& location) const {
    return ended_upload(host.port(), location);
  }

  static std::string key(const std::string& prefix, int number) { return prefix + "-" + std::to_string(number); }
  static bool is_bad(int number) { return number % kBadEach == 0; }
  // Records 1, 2, 3 ...; one in forty has a unit that nobody knows.
  static std::string document(const std::string& prefix, int records) {
    std::string text;
    for (int number = 1; number <= records; ++number)
      text += "<Product buyfrompartnumber=\"" + key(prefix, number) + "\"><PARTNUMBER>P-" + key(prefix, number) +
              "</PARTNUMBER><PRODUCTDESCRIPTION>Product</PRODUCTDESCRIPTION><UNITCODE>" +
              (is_bad(number) ? "none" : "BX") + "</UNITCODE></Product>";
    return "<Products>" + text + "</Products>";
  }
  // Those of a document that the store has.
  std::set<std::string> written(const std::string& prefix) const {
    std::set<std::string> keys;
    for (const auto& row :
         rows("SELECT BUYFROMPARTNUMBER FROM PRODUCT WHERE BUYFROMPARTNUMBER LIKE '" + prefix + "-%'"))
      EXPECT_TRUE(keys.insert(row.front().to_text()).second) << row.front().to_text() << " is there twice";
    return keys;
  }
  static std::set<std::string> keys_in(const std::string& rest) {
    static constexpr std::string_view kBegin = "buyfrompartnumber=\"";
    std::set<std::string> keys;
    for (std::size_t at = 0; (at = rest.find(kBegin, at)) != std::string::npos;) {
      at += kBegin.size();
      EXPECT_TRUE(keys.insert(rest.substr(at, rest.find('"', at) - at)).second) << "the rest has a record twice";
    }
    return keys;
  }
  // Empty when there is none.
  std::string rest_of(const ServeProcess& host, const std::string& location) const {
    const HttpAnswer answer = ask(host, "GET", location + "/remaining");
    if (answer.status == 200) return answer.body;
    EXPECT_EQ(answer.status, 404);
    return {};
  }

  // State, counts, findings, rest and store agree.
  void expect_agreement(const ServeProcess& host, const std::string& location, const std::string& prefix, int records,
                        bool trial) const {
    const Json upload = ended(host, location);
    SCOPED_TRACE(upload.dump());
    const bool whole = upload.at("state") == "done";
    if (!whole) {
      EXPECT_EQ(upload.at("state"), "failed");
      EXPECT_EQ(upload.at("stoppedBy"), "The process that ran it has ended.");
      EXPECT_FALSE(upload.at("ended").is_null());
    }
    const Json findings = told(host, location + "/findings?limit=1000");
    EXPECT_EQ(findings.at("items").size(), upload.at("findings").get<std::size_t>());
    EXPECT_EQ(findings.at("total"), upload.at("findings"));
    const std::size_t inserted = upload.at("counts").at("inserted").get<std::size_t>();
    const std::size_t refused = upload.at("counts").at("refused").get<std::size_t>();
    EXPECT_EQ(upload.at("counts").at("updated"), 0);
    const std::set<std::string> there = written(prefix);
    if (trial) {
      EXPECT_TRUE(there.empty());
      EXPECT_EQ(ask(host, "GET", location + "/remaining").status, 404);
      return;
    }
    const std::size_t bad = static_cast<std::size_t>(records / kBadEach);
    const std::size_t all = static_cast<std::size_t>(records);
    if (whole) {
      EXPECT_EQ(refused, bad);
      EXPECT_EQ(inserted, all - bad);
      EXPECT_EQ(there.size(), inserted);
    }
    EXPECT_EQ(upload.at("total"), records);
    EXPECT_LE(refused, bad);
    EXPECT_EQ(there.size(), inserted);
    const std::set<std::string> left = inserted == all ? std::set<std::string>() : keys_in(rest_of(host, location));
    EXPECT_EQ(left.size(), all - inserted);
    for (int number = 1; number <= records; ++number) {
      const bool is_there = there.contains(key(prefix, number));
      EXPECT_TRUE(is_there || left.contains(key(prefix, number))) << key(prefix, number) << " is lost";
      EXPECT_FALSE(is_there && is_bad(number));
    }
  }
};

// MERCATO_TEST_KILLS says how many are killed; without it as many as a few seconds are enough for.
TEST_F(KilledHosts, TellOfTheirUploadsWhatStandsInTheStoreAndInTheRest) {
  const char* const kills = std::getenv("MERCATO_TEST_KILLS");
  RandomRounds rounds(kills ? 3600 : 3);
  auto host = new_host();
  while ((!kills || rounds.round() < std::stoi(kills)) && rounds.next()) {
    const std::string prefix = "R" + std::to_string(rounds.round());
    const bool trial = rounds.below(4) == 0;
    const unsigned delay = rounds.below(600);
    SCOPED_TRACE(prefix + (trial ? ", a preview" : "") + ", killed after " + std::to_string(delay) + " ms");
    const std::string first = accepted(*host, trial ? "preview" : "upload", document(prefix, kRecords));
    const std::string second = accepted(*host, "upload", document(prefix + "W", 10));
    std::this_thread::sleep_for(std::chrono::milliseconds(delay));
    host->kill();

    host = new_host();
    expect_agreement(*host, first, prefix, kRecords, trial);
    expect_agreement(*host, second, prefix + "W", 10, false);
    // The rest is a document that can be uploaded.
    const std::string rest = trial ? "" : rest_of(*host, first);
    if (rest.empty()) continue;
    EXPECT_EQ(ended(*host, accepted(*host, "upload", rest)).at("state"), "done");
    EXPECT_EQ(written(prefix).size(), static_cast<std::size_t>(kRecords - kRecords / kBadEach));
  }
  host->signal(SIGTERM);
  EXPECT_EQ(host->wait(), 0);
}

TEST_F(KilledHosts, LeaveNoHalfDocuments) {
  auto host = new_host();
  const std::filesystem::path uploads = folder() / "web" / "uploads";
  const auto documents = [&] {
    std::vector<std::filesystem::path> found;
    for (const auto& entry : std::filesystem::directory_iterator(uploads)) found.push_back(entry.path());
    return found;
  };
  const auto wait_for = [&](std::size_t count) {
    for (int tries = 0; tries < 500 && documents().size() != count; ++tries)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_EQ(documents().size(), count);
  };
  // More than the host reads at a time, and not all of it.
  const std::string begin = "<Products>" + std::string(100'000, ' ');
  const std::string end = "</Products>";
  const auto begin_body = [&](const HttpClient& client) {
    client.send("POST /api/v1/uploads?kind=products HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_) +
                "Content-Length: " + std::to_string(begin.size() + end.size()) + "\r\n\r\n" + begin);
  };
  const HttpClient killed(host->port());
  begin_body(killed);
  wait_for(1);
  host->kill();
  EXPECT_EQ(documents().size(), 1U);
  // One that another host is taking stays, however slowly it comes.
  host = new_host();
  HttpClient slow(host->port());
  begin_body(slow);
  wait_for(2);
  for (const std::filesystem::path& document : documents())
    std::filesystem::last_write_time(document, std::filesystem::file_time_type::clock::now() - std::chrono::minutes(5));
  const auto another = new_host();
  wait_for(1);
  EXPECT_EQ(told(*another, "/api/v1/uploads").at("items").size(), 0U);
  slow.send(end);
  const HttpAnswer accepted = slow.answer();
  ASSERT_EQ(accepted.status, 202);
  EXPECT_EQ(ended(*another, accepted.fields.at("Location")).at("state"), "done");
}

// A change that waits for the store is what runs.
TEST_F(KilledHosts, ThatAreAskedToEndAnswerWhatRunsAndASecondSignalEndsThemAtOnce) {
  for (const bool twice : {false, true}) {
    ServeProcess host(settings(), tokens_file_, folder() / "serve.log");
    store::UnitOfWork held(store::UnitOfWork::Kind::transaction);
    {
      const store::UnitOfWork::Current current(&held);
      execute({"UPDATE PRODUCT SET MINORDERQTY = 7 WHERE PRODUCTID = 1"});
    }
    HttpClient one(host.port());
    one.send_request(
        "POST", "/rpc", bearer(admin_),
        R"({"jsonrpc":"2.0","id":1,"method":"execute","params":{"sql":"UPDATE PRODUCT SET MINORDERQTY = 8 WHERE PRODUCTID = 1"}})");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    host.signal(SIGTERM);
    for (int tries = 0; tries < 100 && HttpClient(host.port()).connected(); ++tries)
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(HttpClient(host.port()).connected());
    if (twice) {
      host.signal(SIGTERM);
      EXPECT_EQ(one.answer().status, 0);
      EXPECT_TRUE(WIFSIGNALED(host.wait()));
    }
    held.rollback();
    if (twice) continue;
    EXPECT_EQ(one.answer().status, 200);
    EXPECT_EQ(host.wait(), 0);
  }
}

TEST_F(KilledHosts, OnOneStoreLeaveToTheOtherWhatWaitsAndRunOneUploadAtATime) {
  std::map<pid_t, std::unique_ptr<ServeProcess>> hosts;
  for (int count = 0; count < 2; ++count) {
    auto host = new_host();
    hosts.emplace(host->id(), std::move(host));
  }
  // The first one takes long enough to be killed in it.
  const auto records = [](std::size_t number) { return number == 0 ? 1500 : 50; };
  std::vector<std::string> locations;
  for (std::size_t number = 0; number < 6; ++number) {
    const ServeProcess& host = *(number % 2 == 0 ? hosts.begin() : std::prev(hosts.end()))->second;
    locations.push_back(accepted(host, "upload", document("T" + std::to_string(number), records(number))));
  }
  pid_t killed = 0;
  for (int tries = 0; tries < 1000 && killed == 0; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    const auto running = rows("SELECT OWNER FROM MERCATO_UPLOAD WHERE STATE = 'running'");
    ASSERT_LE(running.size(), 1U);
    if (running.empty()) continue;
    const std::string owner = running.front().front().to_text();
    killed = std::stoi(owner.substr(owner.find(':') + 1));
  }
  ASSERT_EQ(hosts.count(killed), 1U) << killed;
  hosts.at(killed)->kill();
  hosts.erase(killed);

  const ServeProcess& other = *hosts.begin()->second;
  int failed = 0;
  std::string last_end;
  for (std::size_t number = 0; number < locations.size(); ++number) {
    const Json upload = ended(other, locations[number]);
    if (upload.at("state") == "failed") ++failed;
    expect_agreement(other, locations[number], "T" + std::to_string(number), records(number), false);
    EXPECT_LE(last_end, upload.at("started").get<std::string>()) << "two at a time: " << upload;
    last_end = upload.at("ended").get<std::string>();
  }
  EXPECT_EQ(failed, 1);
}

}  // namespace
}  // namespace mercato::test
