// SPDX-License-Identifier: Apache-2.0
// Documents that come from a web server.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/platform/local_server.h"
#include "tests/tools/run_tool.h"

namespace mercato::test {
namespace {

using nlohmann::json;

const std::string kDocument =
    "<Products>"
    "<Product buyfrompartnumber=\"P-1\"><PARTNUMBER>M-1</PARTNUMBER><PRODUCTDESCRIPTION>Pen</PRODUCTDESCRIPTION>"
    "<MULTIPLEBUYER>0</MULTIPLEBUYER></Product>"
    "<Product buyfrompartnumber=\"P-2\"/>"
    "</Products>";
// Something of each of these remains.
const std::string kWithoutKey = "<Products><Product><PARTNUMBER>M-1</PARTNUMBER></Product></Products>";
const std::string kPrices =
    "<ProductPrices><ProductPrice buyfrompartnumber=\"P-1\"><Price>5</Price></ProductPrice></ProductPrices>";

class HttpSources : public testing::Test {
 protected:
  // A document that does not arrive changes nothing.
  void expect_refused(const std::string& path, const std::string& reason) const {
    const std::string url = server_.url(path);
    for (const char* command : {"preview", "upload"}) {
      SCOPED_TRACE(command + path);
      const ToolRun refused = tool_.run({command, url});
      EXPECT_EQ(refused.status, 1);
      EXPECT_EQ(refused.out, "");
      EXPECT_EQ(refused.err, "mercato: Cannot fetch \"" + url + "\": " + reason + ".\n");
    }
    EXPECT_FALSE(std::filesystem::exists(tool_.folder() / "web"));
    EXPECT_EQ(tool_.run({"execute", "-"}, "SELECT PRODUCTID FROM PRODUCT;").out,
              "0 rows\n1 statement run, 0 rows changed.\n");
  }

  ToolFolder tool_;
  std::atomic<int> fetched_ = 0;
  LocalServer server_{[this](const std::string& path) {
    ++fetched_;
    if (path == "/without-key.xml") return LocalServer::page("200 OK", kWithoutKey);
    if (path == "/prices.xml") return LocalServer::page("200 OK", kPrices);
    if (path == "/products.xml") return LocalServer::page("200 OK", kDocument);
    if (path == "/moved")
      return LocalServer::page("302 Found", "", "Location: " + server_.url("/products.xml") + "\r\n");
    if (path == "/round") return LocalServer::page("302 Found", "", "Location: " + server_.url("/round") + "\r\n");
    if (path == "/broken") return LocalServer::page("500 Internal Server Error", kDocument);
    return LocalServer::page("404 Not Found", kDocument);
  }};
};

TEST_F(HttpSources, ADocumentIsCheckedAndUploadedFromItsUrl) {
  const json checked = json::parse(tool_.run({"preview", "--json", server_.url("/products.xml")}).out);
  EXPECT_EQ(checked.at("read"), 1);
  EXPECT_EQ(checked.at("records").at(0).at("partNumber"), "P-1");
  EXPECT_EQ(checked.at("records").at(0).at("errors").dump(), R"({"UNITCODE":""})");

  const ToolRun uploaded = tool_.run({"upload", "--json", server_.url("/products.xml")});
  EXPECT_EQ(uploaded.status, 3) << uploaded.err;
  const json report = json::parse(uploaded.out);
  EXPECT_EQ(report.at("applied"), 1);
  EXPECT_EQ(report.at("refused"), 1);
  EXPECT_EQ(report.at("remaining"), 0);
  const json again = json::parse(tool_.run({"upload", "--json", "--update-only", server_.url("/moved")}).out);
  EXPECT_EQ(again.at("updated").get<int>() + again.at("unchanged").get<int>(), 1);
}

// An upload used to fetch its document twice, and an update three times, so that it could judge one and upload another.
TEST_F(HttpSources, ADocumentIsFetchedOnce) {
  for (const std::vector<std::string>& command : {std::vector<std::string>{"preview"},
                                                  {"upload", "--key", "k"},
                                                  {"upload", "--key", "k", "--update-only"},
                                                  {"prices", "preview"},
                                                  {"prices", "upload", "--key", "k"}}) {
    SCOPED_TRACE(command.front() + command.back());
    fetched_ = 0;
    std::vector<std::string> arguments = command;
    arguments.push_back(server_.url(command.front() == "prices" ? "/prices.xml" : "/without-key.xml"));
    tool_.run(arguments);
    EXPECT_EQ(fetched_, 1);
  }
}

TEST_F(HttpSources, AStatusOtherThanSuccessIsSaidAndNothingIsWritten) {
  expect_refused("/missing", "the server answered with status 404");
  expect_refused("/broken", "the server answered with status 500");
}

TEST_F(HttpSources, EndlessRedirectsAreGivenUp) { expect_refused("/round", "the server redirects more than 5 times"); }

// The library's own calls load documents from a web server too.
TEST_F(HttpSources, ACallTakesAUrlTooAndKeepsItsReasonToItself) {
  const ToolRun read =
      tool_.run({"call", "Mercato.ProductXML", "readBFPartNumbersFromXML", server_.url("/products.xml"), "true"});
  EXPECT_EQ(json::parse(read.out).at("value").dump(), R"({"$":"collection","items":[[null,"P-1"]]})");
  const ToolRun failed =
      tool_.run({"call", "Mercato.ProductXML", "readBFPartNumbersFromXML", server_.url("/missing"), "true"});
  const json error = json::parse(failed.err);
  EXPECT_EQ(error.at("data").at("number"), -2147221291);
  EXPECT_EQ(error.at("data").at("source"), "Mercato.ProductXML.getProductNodeList");
  EXPECT_EQ(failed.err.find("status 404"), std::string::npos);
}

}  // namespace
}  // namespace mercato::test
