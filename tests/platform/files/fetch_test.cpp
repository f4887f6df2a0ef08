// SPDX-License-Identifier: Apache-2.0
#include "platform/files/fetch.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/platform/local_server.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::files {
namespace {

using test::LocalServer;
using test::TemporaryFolder;

std::string answer(const std::string& path) {
  if (path == "/document.xml") return LocalServer::page("200 OK", "<a/>");
  if (path == "/empty") return LocalServer::page("200 OK", "");
  if (path == "/moved") return LocalServer::page("302 Found", "", "Location: /document.xml\r\n");
  if (path == "/round") return LocalServer::page("302 Found", "", "Location: /round\r\n");
  if (path == "/to-file") return LocalServer::page("302 Found", "", "Location: file:///etc/hostname\r\n");
  if (path == "/nowhere") return LocalServer::page("302 Found", "");
  if (path == "/broken" || path == "/broken?token=hush") return LocalServer::page("500 Internal Server Error", "<a/>");
  if (path == "/large") return LocalServer::page("200 OK", std::string(1'000'000, 'x'));
  if (path == "/unsized") return "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + std::string(1'000'000, 'x');
  if (path == "/cut") return "HTTP/1.1 200 OK\r\nContent-Length: 10\r\nConnection: close\r\n\r\nfive!";
  if (path == "/silent") return {};
  return LocalServer::page("404 Not Found", "");
}

class Fetch : public testing::Test {
 protected:
  // Expects a failure. Returns its reason: the text behind the URL.
  std::string reason(const std::string& path, const FetchLimits& limits = {}) {
    const FetchResult result = fetch(server_.url(path), limits);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.body, "");
    const std::string begin = "Cannot fetch \"" + server_.url(path) + "\": ";
    EXPECT_EQ(result.error.substr(0, begin.size()), begin);
    return result.error.substr(std::min(begin.size(), result.error.size()));
  }

  LocalServer server_{answer};
};

TEST_F(Fetch, AnAnswerIsHandedOverWhole) {
  const FetchResult result = fetch(server_.url("/document.xml"));
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.body, "<a/>");
  EXPECT_EQ(result.error, "");
}

TEST_F(Fetch, AnEmptyAnswerIsNoFailure) {
  const FetchResult result = fetch(server_.url("/empty"));
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.body, "");
}

TEST_F(Fetch, ARedirectIsFollowed) { EXPECT_EQ(fetch(server_.url("/moved")).body, "<a/>"); }

TEST_F(Fetch, EndlessRedirectsAreGivenUp) { EXPECT_EQ(reason("/round"), "the server redirects more than 5 times."); }

TEST_F(Fetch, ARedirectToAFileIsNotFollowed) { EXPECT_EQ(reason("/to-file"), "Unsupported protocol."); }

TEST_F(Fetch, AnyAnswerButSuccessIsAFailureWithItsStatus) {
  EXPECT_EQ(reason("/broken"), "the server answered with status 500.");
  EXPECT_EQ(reason("/unknown"), "the server answered with status 404.");
  EXPECT_EQ(reason("/nowhere"), "the server answered with status 302.");
}

TEST_F(Fetch, AServerThatNeverAnswersIsGivenUpAtTheLimit) {
  FetchLimits limits;
  limits.timeout_seconds = 1;
  EXPECT_EQ(reason("/silent", limits), "no complete answer within 1 seconds.");
}

TEST_F(Fetch, MoreBytesThanTheLimitAreAFailureWhetherAnnouncedOrNot) {
  FetchLimits limits;
  limits.max_bytes = 999'999;
  EXPECT_EQ(reason("/large", limits), "the answer has more than 999999 bytes.");
  EXPECT_EQ(reason("/unsized", limits), "the answer has more than 999999 bytes.");
  limits.max_bytes = 1'000'000;
  EXPECT_EQ(fetch(server_.url("/unsized"), limits).body.size(), 1'000'000u);
}

// An endless answer took 2 GB before it was given up.
TEST_F(Fetch, WhatAServerSendsIsBoundedMoreTightlyThanAFile) {
  EXPECT_LE(FetchLimits{}.max_received, std::size_t{256} << 20);
  FetchLimits limits;
  limits.max_received = 999'999;
  EXPECT_EQ(reason("/large", limits), "the answer has more than 999999 bytes.");
  EXPECT_EQ(reason("/unsized", limits), "the answer has more than 999999 bytes.");
  const TemporaryFolder root;
  write_file_atomically(root / "large.xml", std::string(1'000'000, 'x'));
  EXPECT_EQ(fetch("file://" + (root / "large.xml"), limits).body.size(), 1'000'000u);
}

TEST_F(Fetch, AnAnswerThatBreaksOffIsAFailure) { EXPECT_EQ(reason("/cut"), "Transferred a partial file."); }

TEST_F(Fetch, SecretsOfTheUrlStandInNoMessage) {
  std::string url = server_.url("/broken?token=hush#part");
  url.replace(0, 7, "http://user:word@");
  EXPECT_EQ(fetch(url).error, "Cannot fetch \"" + server_.url("/broken") + "\": the server answered with status 500.");
}

TEST_F(Fetch, ManyThreadsFetchSideBySide) {
  std::vector<FetchResult> results(4);
  std::vector<std::thread> threads;
  for (FetchResult& result : results) {
    threads.emplace_back([&result, url = server_.url("/document.xml")] { result = fetch(url); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const FetchResult& result : results) EXPECT_EQ(result.body, "<a/>") << result.error;
}

TEST(FetchWithoutServer, NothingListeningIsAFailure) {
  std::string url;
  {
    const LocalServer gone(answer);
    url = gone.url("/document.xml");
  }
  EXPECT_EQ(fetch(url).error, "Cannot fetch \"" + url + "\": Couldn't connect to server.");
}

TEST(FetchWithoutServer, OtherSchemesAreRefused) {
  EXPECT_EQ(fetch("ftp://127.0.0.1/a.xml").error,
            "Cannot fetch \"ftp://127.0.0.1/a.xml\": only http, https and file are fetched.");
}

TEST(FetchWithoutServer, WhatIsNoUrlIsRefused) {
  for (const char* text : {"", "://", "http://", "http://a b/"}) {
    EXPECT_EQ(fetch(text).error, "Cannot fetch the URL: it is not a URL of a document.") << text;
  }
}

TEST(FetchWithoutServer, AFileUrlIsReadFromThisHost) {
  const TemporaryFolder root;
  write_file_atomically(root / "a b.xml", "<a/>");
  EXPECT_EQ(fetch("file://" + (root / "a%20b.xml")).body, "<a/>");
  EXPECT_EQ(fetch("file://" + (root / "none.xml")).error, "Cannot fetch \"file://" + (root / "none.xml") +
                                                              "\": Cannot read the file \"" + (root / "none.xml") +
                                                              "\": No such file or directory.");
}

TEST(FetchWithoutServer, AFileUrlOfAnotherHostIsRefused) {
  EXPECT_EQ(fetch("file://elsewhere/a.xml").error, "Cannot fetch the URL: it is not a URL of a document.");
}

}  // namespace
}  // namespace mercato::files
