// SPDX-License-Identifier: Apache-2.0
// Documents over HTTP: accepted, run one after the other, followed, cancelled; and what is left when the host is killed.
#include <chrono>
#include <fstream>

#include "exchange/journal/journal.h"
#include "exchange/journal/undo.h"
#include "exchange/journal/upload_queue.h"
#include "frame/lib_sql.h"
#include "platform/store/session_pool.h"
#include "tests/host/serving_fixture.h"

namespace mercato::test {
namespace {

class UploadsOverHttp : public ServingTest {
 protected:
  static std::string record(const std::string& key, const std::string& fields) {
    return "<Product buyfrompartnumber=\"" + key + "\">" + fields + "</Product>";
  }
  static std::string good(const std::string& key) {
    return record(key, "<PARTNUMBER>P-" + key + "</PARTNUMBER><PRODUCTDESCRIPTION>Product " + key +
                           "</PRODUCTDESCRIPTION><UNITCODE>BX</UNITCODE>");
  }
  static std::string document(const std::string& records) { return "<Products>" + records + "</Products>"; }
  static std::string many(int count) {
    std::string records;
    for (int number = 1; number <= count; ++number) records += good("N-" + std::to_string(number));
    return document(records);
  }
  HttpAnswer post(const std::string& query, const std::string& body) const {
    return client().ask("POST", "/api/v1/uploads?" + query, bearer(keeper_), body);
  }
  std::string accepted(const std::string& query, const std::string& body) const {
    const HttpAnswer answer = post(query, body);
    EXPECT_EQ(answer.status, 202) << answer.body;
    return answer.fields.count("Location") > 0 ? answer.fields.at("Location") : "";
  }
  Json upload(const std::string& location) const { return json_of(get(location, keeper_)); }
  // The upload when it has ended.
  Json ended(const std::string& location) const {
    for (int tries = 0; tries < 300; ++tries) {
      Json told = upload(location);
      const std::string state = told.value("state", "");
      if (state != "waiting" && state != "running") return told;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ADD_FAILURE() << "it does not end";
    return {};
  }
  std::int32_t products() const { return value_of("SELECT COUNT(*) FROM PRODUCT").to_long(); }
};

TEST_F(UploadsOverHttp, WriteWhatIsGoodAndTellTheRest) {
  const std::string location =
      accepted("kind=products&mode=upload&name=parts.xml", document(good("N-1") +
                                                                    record("N-2",
                                                                           "<PARTNUMBER>P-2</PARTNUMBER><UNITCODE>"
                                                                           "no such unit</UNITCODE>") +
                                                                    "<Product/>" + good("N-3")));
  const Json told = ended(location);
  EXPECT_EQ(told.at("state"), "done") << told;
  EXPECT_EQ(told.at("name"), "parts.xml");
  EXPECT_EQ(told.at("user"), "keeper");
  EXPECT_EQ(told.at("total"), 4);
  EXPECT_EQ(told.at("counts"), Json({{"inserted", 2}, {"updated", 0}, {"unchanged", 0}, {"refused", 1}, {"left", 1}}));
  EXPECT_EQ(products(), 6);

  const Json findings = json_of(get(location + "/findings", keeper_));
  EXPECT_EQ(findings.at("items").at(0), Json({{"partNumber", nullptr},
                                              {"field", nullptr},
                                              {"value", nullptr},
                                              {"reason", "It has no attribute buyfrompartnumber."},
                                              {"outcome", "left"}}));
  EXPECT_EQ(findings.at("items").at(1).at("partNumber"), "N-2");
  EXPECT_EQ(findings.at("items").at(1).at("outcome"), "refused");
  EXPECT_EQ(findings.at("total"), findings.at("items").size());
  const Json first = json_of(get(location + "/findings?limit=1", keeper_));
  EXPECT_EQ(first.at("items").size(), 1U);
  EXPECT_EQ(
      json_of(get(location + "/findings?after=" + first.at("next").get<std::string>(), keeper_)).at("items").at(0),
      findings.at("items").at(1));

  const HttpAnswer rest = get(location + "/remaining", keeper_);
  EXPECT_EQ(rest.status, 200);
  EXPECT_NE(rest.body.find("N-2"), std::string::npos);
  EXPECT_EQ(rest.body.find("N-1"), std::string::npos);
  EXPECT_EQ(rest.body.find("N-3"), std::string::npos);
}

TEST_F(UploadsOverHttp, ChangeNothingInAPreview) {
  const Json told = ended(accepted("kind=products&mode=preview", document(good("N-1") + good("S-1"))));
  EXPECT_EQ(told.at("state"), "done") << told;
  EXPECT_EQ(told.at("counts"), Json({{"inserted", 1}, {"updated", 1}, {"unchanged", 0}, {"refused", 0}, {"left", 0}}));
  EXPECT_EQ(products(), 4);
  EXPECT_EQ(value_of("SELECT PARTNUMBER FROM PRODUCT WHERE PRODUCTID = 1"), Variant("PAPER-A4"));
}

TEST_F(UploadsOverHttp, TakePricesAndCodes) {
  const Json prices = ended(accepted(
      "kind=prices",
      "<ProductPrices><ProductPrice buyfrompartnumber=\"S-2\"><CurrencyCode>EUR</CurrencyCode><Price>7.5</Price>"
      "<QuantityTo>10</QuantityTo><PriceEffectiveDate>1/1/2090</PriceEffectiveDate><PriceExpiryDate>1/1/2099"
      "</PriceExpiryDate><GROUPBY/></ProductPrice><ProductPrice buyfrompartnumber=\"S-99\"><CurrencyCode>EUR"
      "</CurrencyCode><Price>1</Price></ProductPrice><ProductPrice buyfrompartnumber=\"S-99\"><CurrencyCode>EUR"
      "</CurrencyCode><Price>2</Price></ProductPrice></ProductPrices>"));
  EXPECT_EQ(prices.at("state"), "done") << prices;
  EXPECT_EQ(prices.at("counts"), Json({{"inserted", 1}, {"updated", 0}, {"unchanged", 0}, {"refused", 0}, {"left", 2}}))
      << get("/api/v1/uploads/1/findings", keeper_).body;
  EXPECT_EQ(prices.at("done"), 1);
  EXPECT_EQ(prices.at("total"), 3);
  EXPECT_EQ(value_of("SELECT PRICE FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = 2"), Variant(Currency::from_text("7.5")));
  const Json codes = ended(accepted("kind=unspsc", "this is no file of codes"));
  EXPECT_EQ(codes.at("state"), "failed");
  EXPECT_NE(codes.at("stoppedBy"), nullptr);
}

TEST_F(UploadsOverHttp, RefuseAValueThatIsNotCertainWithItsReasonInTheRest) {
  const std::string location = accepted(
      "kind=products", document(good("N-1") + record("N-2", "<PARTNUMBER>P</PARTNUMBER><LOTSIZE>12,50</LOTSIZE>")));
  const Json told = ended(location);
  EXPECT_EQ(told.at("counts"), Json({{"inserted", 1}, {"updated", 0}, {"unchanged", 0}, {"refused", 1}, {"left", 0}}));
  const std::string reason =
      "it is no number as the file writes them. Correct it, or say the decimal sign with --decimal.";
  EXPECT_EQ(json_of(get(location + "/findings", keeper_)).at("items"), Json::array({{{"partNumber", "N-2"},
                                                                                     {"field", "LOTSIZE"},
                                                                                     {"value", "12,50"},
                                                                                     {"reason", reason},
                                                                                     {"outcome", "refused"}}}));
  EXPECT_EQ(
      get(location + "/remaining", keeper_).body,
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Products>\n"
      "  <!-- line 1\n"
      "       LOTSIZE \"12,50\": it is no number as the file writes them. Correct it, or say the decimal sign "
      "with - -decimal. -->\n"
      "<Product buyfrompartnumber=\"N-2\">\n  <PARTNUMBER>P</PARTNUMBER>\n  <LOTSIZE>12,50</LOTSIZE>\n</Product>\n"
      "</Products>\n");
}

TEST_F(UploadsOverHttp, AreKeptInTheJournalAndCanBeTakenBack) {
  const std::string change = record("S-1", "<PRODUCTDESCRIPTION>Other paper</PRODUCTDESCRIPTION>");
  EXPECT_EQ(ended(accepted("kind=products&name=a.xml", document(good("N-1") + change))).at("counts"),
            Json({{"inserted", 1}, {"updated", 1}, {"unchanged", 0}, {"refused", 0}, {"left", 0}}));
  // The same again changes nothing, and a preview knows that beforehand.
  for (const char* mode : {"preview", "upload"})
    EXPECT_EQ(ended(accepted(std::string("kind=products&mode=") + mode, document(good("N-1") + change))).at("counts"),
              Json({{"inserted", 0}, {"updated", 0}, {"unchanged", 2}, {"refused", 0}, {"left", 0}}))
        << mode;

  const store::PooledSession session = store::acquire_session(shared_connection_string());
  const exchange::Upload kept = exchange::upload_of(*session.get(), 1);
  EXPECT_EQ(kept.state, "done");
  EXPECT_EQ(kept.file, "a.xml");
  EXPECT_EQ(kept.counts, (exchange::UploadCounts{2, 1, 1, 0, 0, 0}));
  EXPECT_EQ(exchange::journaled_rows(*session.get(), 2, 0, 1).size(), 0U);

  exchange::undo_upload(shared_connection_string(), 1, {});
  EXPECT_EQ(products(), 4);
  EXPECT_EQ(value_of("SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE PRODUCTID = 1"), Variant("Copy paper A4"));
}

TEST_F(UploadsOverHttp, OfCodesAreKeptInTheJournalToo) {
  const std::string codes =
      "<UNSPSC_ITEMS><UNSPSC_ITEM><CODE>44000000</CODE><DESCRIPTION>Office supplies</DESCRIPTION></UNSPSC_ITEM>"
      "<UNSPSC_ITEM><CODE>4400</CODE><DESCRIPTION>No code</DESCRIPTION></UNSPSC_ITEM></UNSPSC_ITEMS>";
  const Json told = ended(accepted("kind=unspsc", codes));
  EXPECT_EQ(told.at("counts"), Json({{"inserted", 1}, {"updated", 0}, {"unchanged", 0}, {"refused", 1}, {"left", 0}}))
      << told;
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM UNSPSCCODES"), Variant(1));
  exchange::undo_upload(shared_connection_string(), 1, {});
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM UNSPSCCODES"), Variant(0));
}

TEST_F(UploadsOverHttp, RunInOrderAndAreListedNewestFirst) {
  const std::string first = accepted("kind=products", many(20));
  const std::string second = accepted("kind=products", document(good("L-1")));
  ended(second);
  EXPECT_EQ(upload(first).at("state"), "done");
  const Json items = json_of(get("/api/v1/uploads", keeper_)).at("items");
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].at("id"), "2");
  EXPECT_EQ(items[1].at("id"), "1");
}

TEST_F(UploadsOverHttp, TellTheirEndAsAnEvent) {
  const std::string location = accepted("kind=products", document(good("N-1")));
  ended(location);
  HttpClient listener = client();
  listener.send("GET " + location + "/events HTTP/1.1\r\nHost: x\r\n" + bearer(keeper_) + "\r\n");
  const HttpAnswer head = listener.answer();
  EXPECT_EQ(head.fields.at("Content-Type"), "text/event-stream");
  const std::string events = listener.rest();
  EXPECT_EQ(events.find("id: done-1\nevent: end\ndata: {\"id\":\"1\""), 0U) << events;
}

TEST_F(UploadsOverHttp, AreCancelledWhileTheyWaitOrRun) {
  const std::string running = accepted("kind=products", many(3000));
  const std::string waiting = accepted("kind=products", document(good("W-1")));
  const auto cancel = [&](const std::string& location) {
    return client().ask("DELETE", location, bearer(keeper_)).status;
  };
  EXPECT_EQ(cancel(waiting), 204);
  while (upload(running).at("done") == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(cancel(running), 204);
  const Json told = ended(running);
  EXPECT_EQ(told.at("state"), "cancelled") << told;
  EXPECT_EQ(products(), 4 + told.at("done").get<int>());
  EXPECT_LT(told.at("done"), 3000);
  EXPECT_EQ(upload(waiting).at("state"), "cancelled");
  EXPECT_EQ(cancel(running), 409);
  // What is left is the rest, no record more and none less.
  const std::string rest = get(running + "/remaining", keeper_).body;
  std::size_t records = 0;
  for (std::size_t at = 0; (at = rest.find("buyfrompartnumber", at)) != std::string::npos; ++at) ++records;
  EXPECT_EQ(records, 3000U - told.at("done").get<std::size_t>());
}

// A preview on a file held the store until it ended, so that others were refused.
TEST_F(UploadsOverHttp, LetOthersWriteDuringAPreviewWhichIsCancelledAtOnce) {
  const std::string running = accepted("kind=products&mode=preview", many(3000));
  while (upload(running).at("done") == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  execute({"INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PK', 'Pack')"});
  EXPECT_EQ(upload(running).at("state"), "running");
  EXPECT_EQ(client().ask("DELETE", running, bearer(keeper_)).status, 204);
  const Json told = ended(running);
  EXPECT_EQ(told.at("state"), "cancelled") << told;
  EXPECT_LT(told.at("done"), 3000);
  EXPECT_EQ(products(), 4);
}

TEST_F(UploadsOverHttp, OfAProcessThatIsGoneHaveFailedAndLeaveTheirRest) {
  stop();
  // As it was when the process was killed: the row says that it runs, and that two of three records are done.
  const std::string folder = host::uploads_folder();
  std::ofstream(folder + "/killed") << document(good("K-1") + good("K-2") + good("K-3"));
  exchange::QueuedUpload killed;
  killed.kind = "products";
  killed.mode = "upload";
  killed.file = "killed";
  const std::int32_t id = exchange::accept_upload(killed);
  execute(
      {"UPDATE MERCATO_UPLOAD SET STATE = 'running', OWNER = 'elsewhere:1', LEASEUNTIL = '2020-01-01', TOTALCOUNT "
       "= 3, DONECOUNT = 2, INSERTED = 2"});
  start();
  const std::string location = "/api/v1/uploads/" + std::to_string(id);
  const Json told = ended(location);
  EXPECT_EQ(told.at("state"), "failed");
  EXPECT_EQ(told.at("stoppedBy"), "The process that ran it has ended.");
  EXPECT_EQ(told.at("counts").at("inserted"), 2);
  HttpAnswer rest;
  for (int tries = 0; tries < 100 && rest.status != 200; ++tries) {
    rest = get(location + "/remaining", keeper_);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_NE(rest.body.find("K-3"), std::string::npos);
  EXPECT_EQ(rest.body.find("K-2"), std::string::npos);
}

// Its last word was one record old: the journal knows of the second one.
TEST_F(UploadsOverHttp, OfAProcessThatIsGoneAgreeWithTheirJournal) {
  stop();
  std::ofstream(host::uploads_folder() + "/killed") << document(good("K-1") + good("K-2") + good("K-3"));
  exchange::QueuedUpload killed;
  killed.kind = "products";
  killed.mode = "upload";
  killed.file = "killed";
  const std::int32_t id = exchange::accept_upload(killed);
  const std::vector<std::string> part = {"K-1", "K-2", "K-3"};
  exchange::Journal(shared_connection_string(), id).before(exchange::Reach::Kind::products, part);
  execute(
      {"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES ('P-1', 'One', 'K-1'), ('P-2', "
       "'Two', 'K-2')",
       "UPDATE MERCATO_UPLOAD SET STATE = 'running', OWNER = 'elsewhere:1', LEASEUNTIL = '2020-01-01', TOTALCOUNT "
       "= 3, DONECOUNT = 1"});
  start();
  const std::string location = "/api/v1/uploads/" + std::to_string(id);
  Json told = ended(location);
  for (int tries = 0; tries < 100 && told.at("counts").at("left") != 1; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    told = upload(location);
  }
  EXPECT_EQ(told.at("state"), "failed");
  EXPECT_EQ(told.at("counts"), Json({{"inserted", 2}, {"updated", 0}, {"unchanged", 0}, {"refused", 0}, {"left", 1}}));
  const std::string rest = get(location + "/remaining", keeper_).body;
  EXPECT_EQ(rest.find("K-2"), std::string::npos) << rest;
  EXPECT_NE(rest.find("K-3"), std::string::npos) << rest;
  exchange::undo_upload(shared_connection_string(), id, {});
  EXPECT_EQ(products(), 4);
}

TEST_F(UploadsOverHttp, ThatTheEndOfTheHostMeetsHaveFailedWithTheirRest) {
  const std::string location = accepted("kind=products", many(3000));
  while (upload(location).at("done") == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  stop();
  start();
  const Json told = upload(location);
  EXPECT_EQ(told.at("state"), "failed") << told;
  EXPECT_EQ(told.at("stoppedBy"), "The host was ended.");
  EXPECT_EQ(products(), 4 + told.at("done").get<int>());
  EXPECT_EQ(get(location + "/remaining", keeper_).status, 200);
}

TEST_F(UploadsOverHttp, AreRefusedWithoutADocument) {
  EXPECT_EQ(post("kind=products", "").status, 400);
  EXPECT_EQ(post("kind=stones", "x").status, 400);
  EXPECT_EQ(post("", "x").status, 400);
  EXPECT_EQ(json_of(get("/api/v1/uploads", keeper_)).at("items"), Json::array());
}

}  // namespace
}  // namespace mercato::test
