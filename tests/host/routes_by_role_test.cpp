// SPDX-License-Identifier: Apache-2.0
// Who may ask what, and what he is told: every route by every role.
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "tests/host/serving_fixture.h"

namespace mercato::test {
namespace {

class RoutesByRole : public ServingTest {
 protected:
  RoutesByRole() { options_.host.runs_uploads = false; }  // they stay as they are
};

constexpr const char* kInvoke =
    R"({"jsonrpc":"2.0","id":1,"method":"invoke","params":{"progId":"Mercato.Product","method":"GetMaxProductId"}})";
constexpr const char* kExecute =
    R"({"jsonrpc":"2.0","id":1,"method":"execute","params":{"sql":"SELECT UNITCODE FROM UNIT"}})";
constexpr const char* kDocument = "<Products><Product buyfrompartnumber=\"S-9\"/></Products>";
constexpr const char* kDescribe = R"({"jsonrpc":"2.0","id":1,"method":"describe","params":{"progId":"Mercato.Unit"}})";

// What each asks, and the status that nobody, a reader, ANN, a keeper and an admin get.
struct Row {
  const char* method;
  const char* target;
  const char* body;
  int nobody, reader, ann, keeper, admin;
};
const std::vector<Row>& matrix() {
  static const std::vector<Row> rows = {
      {"GET", "/healthz", "", 200, 200, 200, 200, 200},
      {"GET", "/readyz", "", 200, 200, 200, 200, 200},
      {"GET", "/metrics", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/openapi.json", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/products", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/products?user=ANN", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/products?user=BEN", "", 401, 200, 403, 200, 200},
      {"GET", "/api/v1/products/1", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/products/1?user=BEN", "", 401, 404, 403, 404, 404},
      {"GET", "/api/v1/products/3", "", 401, 200, 404, 200, 200},
      {"GET", "/api/v1/products/99", "", 401, 404, 404, 404, 404},
      {"GET", "/api/v1/products/1/price", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/products/3/price", "", 401, 404, 404, 404, 404},
      {"POST", "/api/v1/products/1/prices", "{}", 401, 403, 403, 204, 204},
      {"POST", "/api/v1/products/99/prices", "{}", 401, 403, 403, 404, 404},
      {"GET", "/api/v1/catalogs", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/catalogs/1/nodes", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/catalogs/2/nodes", "", 401, 200, 404, 200, 200},
      {"GET", "/api/v1/catalogs/9/nodes", "", 401, 404, 404, 404, 404},
      {"GET", "/api/v1/rights/explain?user=ANN&node=1", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/rights/explain?user=ANN&node=2", "", 401, 200, 404, 200, 200},
      {"GET", "/api/v1/rights/explain?user=BEN&node=1", "", 401, 200, 403, 200, 200},
      {"GET", "/api/v1/unspsc", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/properties", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/property-groups", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/units", "", 401, 200, 200, 200, 200},
      {"GET", "/api/v1/session", "", 401, 200, 200, 200, 200},
      {"POST", "/api/v1/session", "", 401, 200, 200, 200, 200},
      {"DELETE", "/api/v1/session", "", 401, 204, 204, 204, 204},
      {"POST", "/api/v1/uploads?kind=products&mode=preview", kDocument, 401, 403, 403, 202, 202},
      {"POST", "/api/v1/uploads?kind=stones", kDocument, 401, 403, 403, 400, 400},
      {"GET", "/api/v1/uploads", "", 401, 403, 403, 200, 200},
      {"GET", "/api/v1/uploads/1", "", 401, 403, 403, 200, 200},
      {"GET", "/api/v1/uploads/99", "", 401, 403, 403, 404, 404},
      {"GET", "/api/v1/uploads/1/events", "", 401, 403, 403, 200, 200},
      {"GET", "/api/v1/uploads/1/findings", "", 401, 403, 403, 200, 200},
      {"GET", "/api/v1/uploads/1/remaining", "", 401, 403, 403, 409, 409},
      {"DELETE", "/api/v1/uploads/99", "", 401, 403, 403, 404, 404},
      {"POST", "/rpc", kInvoke, 401, 403, 403, 200, 200},
      {"POST", "/rpc", kExecute, 401, 403, 403, 403, 200},
      {"POST", "/rpc", kDescribe, 401, 200, 200, 200, 200},
      {"GET", "/api/v1/nothing", "", 401, 404, 404, 404, 404},
      {"DELETE", "/api/v1/products/1", "", 401, 405, 405, 405, 405},
  };
  return rows;
}

TEST_F(RoutesByRole, AnswerAsTheTableSays) {
  for (const Row& row : matrix()) {
    const auto status = [&](const std::string& token) {
      return client().ask(row.method, row.target, bearer(token), row.body).status;
    };
    SCOPED_TRACE(std::string(row.method) + " " + row.target + " " + row.body);
    EXPECT_EQ(status(""), row.nobody);
    EXPECT_EQ(status("wrong-token-of-nobody"), row.nobody == 401 ? 401 : row.nobody);
    EXPECT_EQ(status(reader_), row.reader);
    EXPECT_EQ(status(ann_), row.ann);
    EXPECT_EQ(status(keeper_), row.keeper);
    EXPECT_EQ(status(admin_), row.admin);
    // Wrong tokens are counted: a host of its own for each row.
    stop();
    start();
  }
}

TEST_F(RoutesByRole, AreAllInTheTable) {
  std::set<std::string> tried;
  for (const Row& row : matrix()) {
    const std::string path = std::string(row.target).substr(0, std::string(row.target).find('?'));
    if (const host::Route* route = host::find_route(row.method, path).route)
      tried.insert(std::string(route->method) + " " + route->path);
  }
  for (const host::Route& route : host::routes())
    EXPECT_TRUE(tried.contains(std::string(route.method) + " " + route.path)) << route.method << " " << route.path;
}

TEST_F(RoutesByRole, RefuseWithoutATokenInTheSameWordsWhateverExists) {
  const HttpAnswer one = get("/api/v1/products/1", "");
  const HttpAnswer other = get("/api/v1/nothing", "");
  EXPECT_EQ(one.status, 401);
  EXPECT_EQ(one.body, other.body);
  EXPECT_EQ(one.fields.at("WWW-Authenticate"), "Bearer");
  EXPECT_EQ(json_of(one), Json({{"type", "about:blank"},
                                {"title", "Unauthorized"},
                                {"status", 401},
                                {"detail", "A token is needed: `Authorization: Bearer TOKEN`."}}));
}

TEST_F(RoutesByRole, TellAUserOfAProductBeyondHisSightWhatTheyTellOfNone) {
  const HttpAnswer unseen = get("/api/v1/products/3", ann_);
  const HttpAnswer none = get("/api/v1/products/99", ann_);
  EXPECT_EQ(unseen.status, 404);
  EXPECT_EQ(unseen.body, none.body);
  EXPECT_FALSE(unseen.fields.contains("ETag"));
  EXPECT_EQ(get("/api/v1/products/3/price", ann_).body, get("/api/v1/products/99/price", ann_).body);
  EXPECT_EQ(get("/api/v1/catalogs/2/nodes", ann_).body, get("/api/v1/catalogs/9/nodes", ann_).body);
  EXPECT_EQ(get("/api/v1/rights/explain?user=ANN&node=2", ann_).body,
            get("/api/v1/rights/explain?user=ANN&node=99", ann_).body);
}

// Everything that ANN asks is answered with the same status, fields and bytes when what she does not see is taken away.
TEST_F(RoutesByRole, AnswerAUserAsIfWhatHeDoesNotSeeHadNeverBeen) {
  execute({"INSERT INTO BUSINESSPARTNER (BUSINESSID, PARTNERNAME) VALUES ('1', 'Seen'), ('2', 'Unseen')",
           "UPDATE PRODUCT SET BUSINESSPARTNERID = 1 WHERE PRODUCTID = 1",
           "UPDATE PRODUCT SET BUSINESSPARTNERID = 2 WHERE PRODUCTID > 1",
           "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, CURRENCYCODE, PRICE) "
           "VALUES (3, '2020-01-01', 9, '', 'EUR', 7)",
           "INSERT INTO CATALOGNODE (CATALOGID, PARENTNODEID, NODENAME, NODETYPE, CATEGORYID, SEQUENCE) VALUES "
           "(1, NULL, 'Unseen', 1, 2, 2)"});
  std::vector<std::string> targets = {"/products", "/products?user=ANN", "/catalogs", "/products?limit=1"};
  for (const char* query : {"paper", "copy", "toner", "TONER", "S-2", "S-3", "ink", "black", "supplies", "o", "%25"})
    for (const char* more : {"", "&limit=1", "&category=1", "&category=2"})
      targets.push_back(std::string("/products?query=") + query + more);
  for (const char* id : {"1", "2", "3", "4", "99"}) {
    for (const char* list : {"category", "catalog", "supplier"})
      targets.push_back(std::string("/products?") + list + "=" + id);
    for (const char* more : {"", "?user=ANN", "/price", "/price?quantity=10", "/price?currency=EUR&date=2026-07-01",
                             "/price?currency=USD", "/price?date=2019-01-01", "/price?quantity=1000"})
      targets.push_back(std::string("/products/") + id + more);
    for (const char* parent : {"", "?parent=1", "?parent=2", "?parent=3", "?parent=4", "?parent=99", "?user=ANN"})
      targets.push_back(std::string("/catalogs/") + id + "/nodes" + parent);
    targets.push_back(std::string("/rights/explain?user=ANN&node=") + id);
  }
  const auto answers = [&] {
    std::map<std::string, std::string> told;
    HttpClient one = client();
    for (const std::string& target : targets)
      for (const auto& [method, fields] : {std::pair("GET", ""), std::pair("HEAD", ""),
                                           std::pair("GET", "If-None-Match: *\r\n"), std::pair("DELETE", "")}) {
        one.send_request(method, "/api/v1" + target, bearer(ann_) + fields);
        HttpAnswer answer = one.answer(10, std::string_view(method) == "HEAD");
        std::string& text = told[method + (" " + target) + " " + fields];
        answer.fields.erase("X-Request-Id");
        text = std::to_string(answer.status) + "\n";
        for (const auto& [name, value] : answer.fields) text += name + ": " + value + "\n";
        text += answer.body;
      }
    return told;
  };
  const auto with = answers();
  execute({"DELETE FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = 3",
           "DELETE FROM ALTERNATIVEPRODUCTS WHERE ALTERNATIVEPRODUCT = 3",
           "DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID = 2", "DELETE FROM CATALOGNODE WHERE NODEID > 1",
           "DELETE FROM CATALOG WHERE CATALOGID = 2", "DELETE FROM PRODUCTCATEGORY WHERE CATEGORYID = 2",
           "DELETE FROM PRODUCT WHERE PRODUCTID > 2"});
  const auto without = answers();
  EXPECT_GT(with.size(), 400U);
  EXPECT_EQ(with.at("GET /products/1 ").substr(0, 4), "200\n");
  for (const auto& [asked, answer] : with) EXPECT_EQ(answer, without.at(asked)) << asked;
}

TEST_F(RoutesByRole, ShowAUserWhatHeSeesAndCountNothingElse) {
  const Json products = json_of(get("/api/v1/products", ann_));
  EXPECT_EQ(products.at("total"), 2);
  EXPECT_EQ(products.at("items").size(), 2U);
  EXPECT_EQ(json_of(get("/api/v1/products?query=toner", ann_)).at("total"), 0);
  EXPECT_EQ(json_of(get("/api/v1/products?category=2", ann_)).at("total"), 0);

  const Json product = json_of(get("/api/v1/products/1", ann_));
  ASSERT_EQ(product.at("categories").size(), 1U);
  EXPECT_EQ(product.at("categories")[0].at("CATEGORYNAME"), "Paper");
  ASSERT_EQ(product.at("alternatives").size(), 1U);
  EXPECT_EQ(product.at("alternatives")[0].at("PARTNUMBER"), "PAPER-A3");

  const Json catalogs = json_of(get("/api/v1/catalogs", ann_));
  ASSERT_EQ(catalogs.at("items").size(), 1U);
  EXPECT_EQ(catalogs.at("items")[0].at("name"), "Office");
  EXPECT_EQ(json_of(get("/api/v1/catalogs/1/nodes", ann_)).at("items"),
            Json::parse(R"([{"id":1,"parent":null,"name":"Paper","type":1,"category":1,"children":0,
                             "sees":true,"orders":true,"viewOnly":false}])"));
  EXPECT_EQ(json_of(get("/api/v1/catalogs/1/nodes?parent=1", ann_)).at("items"), Json::array());
}

TEST_F(RoutesByRole, TellAReaderOfTheWholeCatalogue) {
  const Json nodes = json_of(get("/api/v1/catalogs/1/nodes?user=ANN", reader_)).at("items");
  ASSERT_EQ(nodes.size(), 1U);
  EXPECT_EQ(nodes[0].at("children"), 1);
  EXPECT_EQ(nodes[0].at("orders"), true);
  EXPECT_EQ(json_of(get("/api/v1/catalogs/1/nodes?parent=1&user=ANN", reader_)).at("items"),
            Json::parse(R"([{"id":2,"parent":1,"name":"Supplies","type":1,"category":2,"children":0,
                             "sees":false,"orders":false,"viewOnly":false}])"));
  EXPECT_EQ(json_of(get("/api/v1/rights/explain?user=ANN&node=1", reader_)),
            Json::parse(R"({"user":"ANN","node":1,"sight":"laidOut","endless":false,"sees":true,"orders":true,
                            "viewOnly":false,"steps":[
                              {"place":"catalog","id":1,"name":"Office","entry":"none","decides":false},
                              {"place":"node","id":1,"name":"Paper","entry":"order","decides":true}]})"));
}

TEST_F(RoutesByRole, TellAProductWhole) {
  const HttpAnswer answer = get("/api/v1/products/1", reader_);
  const Json product = json_of(answer);
  EXPECT_EQ(product.at("PRODUCTID"), 1);
  EXPECT_EQ(product.at("PARTNUMBER"), "PAPER-A4");
  EXPECT_EQ(product.at("MINORDERQTY"), nullptr);
  EXPECT_EQ(product.at("prices").size(), 2U);
  EXPECT_EQ(product.at("prices")[0].at("PRICE"), 4.2);
  EXPECT_EQ(product.at("prices")[0].at("PRICEEFFECTIVEDATE"), "2020-01-01T00:00:00");
  EXPECT_EQ(product.at("categories").size(), 2U);
  EXPECT_EQ(product.at("alternatives").size(), 2U);
  EXPECT_EQ(product.at("buyers"), Json::array());
  const std::string tag = answer.fields.at("ETag");
  const HttpAnswer known = get("/api/v1/products/1", reader_, "If-None-Match: " + tag + "\r\n");
  EXPECT_EQ(known.status, 304);
  EXPECT_EQ(known.body, "");
  execute({"UPDATE PRODUCT SET MINORDERQTY = 5 WHERE PRODUCTID = 1"});
  EXPECT_EQ(get("/api/v1/products/1", reader_, "If-None-Match: " + tag + "\r\n").status, 200);
}

TEST_F(RoutesByRole, TellThePriceThatHoldsAndItsLine) {
  const Json price = json_of(get("/api/v1/products/1/price?quantity=10&currency=EUR&date=2026-07-01", reader_));
  EXPECT_EQ(price.at("price"), 3.8);
  EXPECT_EQ(price.at("line").at("QUANTITYTO"), 99.0);
  EXPECT_EQ(json_of(get("/api/v1/products/1/price", reader_)).at("price"), 4.2);
  EXPECT_EQ(get("/api/v1/products/1/price?quantity=100", reader_).status, 404);
  EXPECT_EQ(get("/api/v1/products/1/price?date=2019-12-31", reader_).status, 404);
}

TEST_F(RoutesByRole, TellEveryProductOnceByPages) {
  std::set<int> ids;
  std::string after;
  for (int page = 0; page < 4; ++page) {
    const Json told = json_of(get("/api/v1/products?limit=1" + (after.empty() ? "" : "&after=" + after), reader_));
    ASSERT_EQ(told.at("items").size(), 1U);
    EXPECT_TRUE(ids.insert(told.at("items")[0].at("id").get<int>()).second);
    EXPECT_EQ(told.at("next").is_null(), page == 3);
    if (!told.at("next").is_null()) after = told.at("next").get<std::string>();
  }
  EXPECT_EQ(ids, (std::set<int>{1, 2, 3, 4}));
}

TEST_F(RoutesByRole, RefuseParametersThatCannotBe) {
  for (const char* target :
       {"/api/v1/products?limit=0", "/api/v1/products?limit=201", "/api/v1/products?limit=x",
        "/api/v1/products?limit=1&limit=2", "/api/v1/products?colour=red", "/api/v1/products?query=%ff",
        "/api/v1/products?query=%4", "/api/v1/products?after=1", "/api/v1/products?query=a%00b",
        "/api/v1/products/1/price?quantity=-1", "/api/v1/products/1/price?date=2026-02-30",
        "/api/v1/rights/explain?user=ANN", "/api/v1/products/1?id=2", "/api/v1/unspsc?parent=x1"})
    EXPECT_EQ(get(target, reader_).status, 400) << target;
  for (const char* target :
       {"/api/v1/products/x", "/api/v1/products/-1", "/api/v1/products/99999999999", "/api/v1/products/1/",
        "/api/v1/products//price", "/api/v1/../etc/passwd", "/api/v1/%2e%2e/%2e%2e/etc/passwd"})
    EXPECT_EQ(get(target, reader_).status, 404) << target;
}

TEST_F(RoutesByRole, AnswerEachRequestOfABatchByItself) {
  const HttpAnswer answer =
      rpc("[" + std::string(kInvoke) + ",5," + kExecute + R"(,{"jsonrpc":"2.0","method":"describe"}])", keeper_);
  EXPECT_EQ(answer.status, 200);
  const Json answers = json_of(answer);
  ASSERT_EQ(answers.size(), 3U);
  EXPECT_EQ(answers[0].at("result").at("value"), 4);
  EXPECT_EQ(answers[0].at("result").at("outcome"), "committed");
  EXPECT_EQ(answers[1].at("error").at("code"), -32600);
  EXPECT_EQ(answers[2].at("error").at("code"), -32001);
}

TEST_F(RoutesByRole, TellAFailureOfTheLibraryWithNumberSourceAndDescription) {
  const Json error =
      json_of(rpc(R"({"jsonrpc":"2.0","id":1,"method":"invoke","params":{"progId":"Mercato.Nothing","method":"X"}})",
                  keeper_))
          .at("error");
  EXPECT_EQ(error.at("code"), -32000);
  EXPECT_EQ(error.at("data").at("number"), 429);
  EXPECT_EQ(json_of(rpc("[[[", keeper_)).at("error").at("code"), -32700);
  EXPECT_EQ(json_of(rpc(R"({"jsonrpc":"2.0","id":1,"method":"create","params":{}})", keeper_)).at("error").at("code"),
            -32601);
}

TEST_F(RoutesByRole, TakeTheCookieOfASessionFromTheSameOriginOnly) {
  const HttpAnswer begun = client().ask("POST", "/api/v1/session", bearer(keeper_));
  EXPECT_EQ(json_of(begun), Json({{"name", "keeper"}, {"role", "keeper"}, {"user", nullptr}}));
  const std::string cookie = begun.fields.at("Set-Cookie");
  EXPECT_EQ(cookie, "mercato_session=" + keeper_ + "; Path=/; HttpOnly; SameSite=Strict");
  const std::string sent = "Cookie: other=1; mercato_session=" + keeper_ + "\r\n";
  EXPECT_EQ(get("/api/v1/products", "", sent).status, 200);
  const auto change = [&](const std::string& fields) {
    return client().ask("POST", "/rpc", sent + fields, kInvoke).status;
  };
  EXPECT_EQ(change("Origin: http://127.0.0.1\r\n"), 200);
  EXPECT_EQ(change("Sec-Fetch-Site: same-origin\r\n"), 200);
  EXPECT_EQ(change("Origin: http://elsewhere.example\r\n"), 403);
  EXPECT_EQ(change("Origin: null\r\n"), 403);
  EXPECT_EQ(change("Sec-Fetch-Site: cross-site\r\n"), 403);
  EXPECT_EQ(change(""), 403);
}

TEST_F(RoutesByRole, SlowWrongTokensOfAnAddressAndTakeRightOnes) {
  for (int wrong = 0; wrong < 10; ++wrong) EXPECT_EQ(get("/api/v1/products", "wrong").status, 401);
  const HttpAnswer slowed = get("/api/v1/products", "wrong");
  EXPECT_EQ(slowed.status, 429);
  EXPECT_EQ(slowed.fields.at("Retry-After"), "60");
  EXPECT_EQ(get("/api/v1/products", reader_).status, 200);
}

TEST_F(RoutesByRole, BelieveOfClientsOnlyWhatATrustedProxySays) {
  const auto wrong = [&](const std::string& forwarded) {
    return get("/api/v1/products", "wrong", "X-Forwarded-For: " + forwarded + "\r\n").status;
  };
  const auto cookie = [&] {
    return client()
        .ask("POST", "/api/v1/session", bearer(reader_) + "X-Forwarded-Proto: https\r\n")
        .fields.at("Set-Cookie");
  };
  for (int count = 0; count < 10; ++count) EXPECT_EQ(wrong("10.0.0." + std::to_string(count)), 401);
  EXPECT_EQ(wrong("10.0.0.11"), 429) << "they are all of one address";
  EXPECT_EQ(cookie().find("Secure"), std::string::npos);

  stop();
  options_.host.trusted_proxies = {"127.0.0.1"};
  start();
  for (int count = 0; count < 10; ++count) EXPECT_EQ(wrong("10.0.0." + std::to_string(count) + ", 10.0.0.99"), 401);
  EXPECT_EQ(wrong("10.0.0.11, 10.0.0.99"), 429) << "the last one is what the proxy has seen";
  EXPECT_EQ(wrong("10.0.0.98"), 401);
  EXPECT_NE(cookie().find("; Secure"), std::string::npos);
}

TEST_F(RoutesByRole, GoOnWithEventsBehindTheLastOneThatWasSeen) {
  const std::string location =
      client().ask("POST", "/api/v1/uploads?kind=products", bearer(keeper_), kDocument).fields.at("Location");
  const auto listener = [&](const std::string& fields) {
    HttpClient one = client();
    one.send_request("GET", location + "/events", bearer(keeper_) + fields);
    EXPECT_EQ(one.answer().status, 200);
    return one;
  };
  const std::string first = listener("").rest(1);
  ASSERT_EQ(first.substr(0, 4), "id: ") << first;
  EXPECT_NE(first.find("\nevent: progress\ndata: {"), std::string::npos) << first;
  const std::string seen = first.substr(4, first.find('\n') - 4);
  HttpClient again = listener("Last-Event-ID: " + seen + "\r\n");
  EXPECT_EQ(again.rest(1), "") << "nothing is new";
  EXPECT_EQ(client().ask("DELETE", location, bearer(keeper_)).status, 204);
  const std::string end = again.rest();
  EXPECT_NE(end.find("\nevent: end\ndata: {"), std::string::npos) << end;
  EXPECT_NE(end.find("\"state\":\"cancelled\""), std::string::npos) << end;
}

TEST_F(RoutesByRole, TellAKeeperWithAUserOfHisOwnUploadsOnly) {
  host::Token token;
  token.name = "keeper-ann";
  token.role = host::Role::keeper;
  token.user = "ANN";
  const std::string ann = host::TokenFile(tokens_file_).add(token);
  stop();
  start();
  const auto accepted = [&](const std::string& by) {
    return client().ask("POST", "/api/v1/uploads?kind=products", bearer(by), kDocument).fields.at("Location");
  };
  const std::string other = accepted(keeper_);
  const std::string own = accepted(ann);
  for (const char* more : {"", "/events", "/findings", "/remaining"}) {
    const HttpAnswer unseen = get(other + more, ann);
    EXPECT_EQ(unseen.status, 404) << more;
    EXPECT_EQ(unseen.body, get("/api/v1/uploads/99" + std::string(more), ann).body);
  }
  EXPECT_EQ(client().ask("DELETE", other, bearer(ann)).status, 404);
  const Json items = json_of(get("/api/v1/uploads", ann)).at("items");
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].at("user"), "ANN");
  EXPECT_EQ(get(own, ann).status, 200);
  EXPECT_EQ(json_of(get("/api/v1/uploads", keeper_)).at("items").size(), 2U);
}

TEST_F(RoutesByRole, SayThatTheStoreIsAwayAndWhenToComeAgain) {
  MERCATO_ONLY_ON_SQLITE(store(), "a file can be taken away");
  const std::filesystem::path away = folder() / "away";
  std::filesystem::rename(store_path(), away);
  EXPECT_EQ(get("/healthz", "").status, 200);
  for (const char* target : {"/readyz", "/api/v1/products/1", "/api/v1/products?query=a"}) {
    const HttpAnswer answer = get(target, reader_);
    EXPECT_EQ(answer.status, 503) << target;
    EXPECT_EQ(answer.fields.at("Retry-After"), "5") << target;
    EXPECT_EQ(answer.body.find(folder().string()), std::string::npos) << "no path: " << answer.body;
  }
  const std::string told = json_of(rpc(kInvoke, keeper_)).at("error").dump();
  EXPECT_NE(told.find("There is no store at 'mercato.db'"), std::string::npos) << told;
  EXPECT_EQ(told.find(folder().string()), std::string::npos) << told;
  std::filesystem::rename(away, store_path());
  EXPECT_EQ(get("/readyz", "").status, 200);
  EXPECT_EQ(get("/api/v1/products/1", reader_).status, 200);
}

TEST_F(RoutesByRole, TakeNoTokenThatWasRevokedOrHasEnded) {
  const host::TokenFile file(tokens_file_);
  host::Token ended;
  ended.name = "ended";
  ended.expires = "2020-01-01";
  const std::string old = file.add(ended);
  EXPECT_TRUE(file.revoke("reader"));
  std::this_thread::sleep_for(std::chrono::milliseconds(600));
  EXPECT_EQ(get("/api/v1/products", reader_).status, 401);
  EXPECT_EQ(get("/api/v1/products", old).status, 401);
  EXPECT_EQ(get("/api/v1/products", keeper_).status, 200);
  EXPECT_EQ(std::filesystem::status(tokens_file_).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(RoutesByRole, LogALineForEachRequestWithoutSecrets) {
  const HttpAnswer answer = get("/api/v1/products?query=confidential", reader_, "X-Request-Id: my-id.1\r\n");
  EXPECT_EQ(answer.fields.at("X-Request-Id"), "my-id.1");
  EXPECT_NE(get("/healthz", "", "X-Request-Id: a b\r\n").fields.at("X-Request-Id"), "a b");
  stop();
  const std::string log = log_.str();
  EXPECT_EQ(log.find("request=my-id.1 method=GET route=/api/v1/products status=200 time_ms="), 0U) << log;
  EXPECT_NE(log.find(" role=reader\n"), std::string::npos);
  EXPECT_EQ(log.find("confidential"), std::string::npos);
  EXPECT_EQ(log.find(reader_), std::string::npos);
}

TEST_F(RoutesByRole, AreDescribedAndEveryExampleOfThemRuns) {
  const Json description = json_of(get("/api/v1/openapi.json", reader_));
  EXPECT_EQ(description.at("openapi"), "3.1.0");
  EXPECT_EQ(client().ask("POST", "/api/v1/uploads?kind=products", bearer(admin_), kDocument).status, 202);
  std::size_t run = 0;
  for (const auto& [path, operations] : description.at("paths").items())
    for (const auto& [method, operation] : operations.items()) {
      std::string target = path;
      std::string query;
      for (const Json& parameter : operation.value("parameters", Json::array())) {
        if (!parameter.contains("example")) continue;
        const Json& example = parameter.at("example");
        const std::string text = example.is_string() ? example.get<std::string>() : example.dump();
        const std::string name = parameter.at("name").get<std::string>();
        if (parameter.at("in") == "path")
          target.replace(target.find("{" + name + "}"), name.size() + 2, text);
        else
          query += (query.empty() ? "?" : "&") + name + "=" + text;
      }
      std::string body;
      if (operation.contains("requestBody")) {
        const Json& example = operation.at("requestBody").at("content").begin().value().at("example");
        body = example.is_string() ? example.get<std::string>() : example.dump();
      }
      std::string verb = method;
      for (char& letter : verb) letter = static_cast<char>(letter - 'a' + 'A');
      const HttpAnswer answer = client().ask(verb, target + query, bearer(admin_), body);
      // The upload was cancelled by the example of DELETE before it ran, so it has left nothing.
      if (path == "/api/v1/uploads/{id}/remaining") {
        EXPECT_EQ(answer.status, 404);
        ++run;
        continue;
      }
      EXPECT_TRUE(operation.at("responses").contains(std::to_string(answer.status)))
          << verb << " " << target << query << ": " << answer.status << " " << answer.body;
      ++run;
    }
  EXPECT_EQ(run, host::routes().size());
}

}  // namespace
}  // namespace mercato::test
