// SPDX-License-Identifier: Apache-2.0
// What others can do while an upload waits: for a document, a collaborator, an observer.
#include <functional>
#include <thread>

#include "frame/upload_run.h"
#include "mercato/object_context.h"
#include "mercato/registry.h"
#include "tests/platform/local_server.h"
#include "tests/upload/upload_fixture.h"

namespace mercato::test {
namespace {

class WaitingUpload : public UploadTest {
 protected:
  // What somebody else sees of the upload and can write at this moment, without waiting for it.
  void visit() {
    std::thread([this] {
      try {
        const std::string impatient = store().impatient();
        seen_.push_back(value_of("SELECT COUNT(*) FROM PRODUCT WHERE URL = 'new'").to_long());
        execute_on(impatient, {"INSERT UNIT (UNITCODE) VALUES ('" + std::to_string(seen_.size()) + "')"});
      } catch (const Raised& failure) {
        ADD_FAILURE() << failure.error().Description;
      }
    }).join();
  }
  void upload(const std::string& method, const std::string& source, bool is_url) {
    const ComponentPtr product_xml = create_root("Mercato.ProductXML");
    if (observer_) std::dynamic_pointer_cast<ProductXML>(product_xml)->set_observer(observer_);
    invoke(product_xml, method, {source, is_url, Array{"A-1", "B-2"}, true});
  }

  const std::string two_ = document(record("A-1", "<URL>new</URL><MULTIPLEBUYER>0</MULTIPLEBUYER>") +
                                    record("B-2", "<URL>new</URL><MULTIPLEBUYER>0</MULTIPLEBUYER>"));
  UploadObserver* observer_ = nullptr;
  std::vector<std::int32_t> seen_;
};

// What the first entry had written was hidden from others, and they could not write, until the document for the second
// had come.
TEST_F(WaitingUpload, ForADocumentLetsOthersSeeAndWrite) {
  add_product("A-1");
  add_product("B-2");
  const LocalServer server([this](const std::string&) {
    visit();
    return LocalServer::page("200 OK", two_);
  });
  upload("updateProductsFromXML", server.url("/products.xml"), true);
  EXPECT_EQ(seen_, (std::vector<std::int32_t>{0, 1}));
  EXPECT_EQ(product("URL", "B-2"), Variant("new"));
}

TEST_F(WaitingUpload, ForALongTextLetsOthersWrite) {
  add_product("A-1");
  add_product("B-2");
  const std::string padded = document(record("A-1", "<URL>new</URL><MULTIPLEBUYER>0</MULTIPLEBUYER>") +
                                      record("B-2", "<URL>new</URL><MULTIPLEBUYER>0</MULTIPLEBUYER>") + "<!--" +
                                      repeated(1'000'000, 'x') + "-->");
  ProductXML library;
  {
    StoreRun run;
    execute({"UPDATE PRODUCT SET URL = 'new' WHERE BUYFROMPARTNUMBER = 'A-1'"});
    library.readBFPartNumbersFromXML(padded, false);
    visit();
    run.finish();
  }
  EXPECT_EQ(seen_, (std::vector<std::int32_t>{1}));
}

// A partner of a product is asked for at every record.
class SlowPartners : public ComponentOf<SlowPartners> {
 public:
  static const ClassTable& table() {
    static const ClassTable table =
        ClassTable::of<SlowPartners>("Zentrik.BusinessPartner", "{00000000-0000-0000-0000-000000000031}",
                                     TransactionAttribute::undeclared)
            .collaborator()
            .method("GetBusinessPartnerID", &SlowPartners::GetBusinessPartnerID, {"business_id"});
    return table;
  }
  Variant GetBusinessPartnerID(const std::string&) {
    meanwhile();
    return 1;
  }
  static inline std::function<void()> meanwhile;
};

TEST_F(WaitingUpload, ForACollaboratorLetsOthersSeeAndWrite) {
  const ClassTable& usual = *registered_class("Zentrik.BusinessPartner");
  register_class(SlowPartners::table());
  SlowPartners::meanwhile = [this] { visit(); };
  const auto record_of = [](const std::string& part_number) {
    return record(part_number, kRequired + "<URL>new</URL><BUSINESSID>ACME</BUSINESSID>");
  };
  upload("insertProductsFromXML", "key/\\" + document(record_of("A-1") + record_of("B-2")), false);
  register_class(usual);
  ASSERT_FALSE(seen_.empty());
  EXPECT_EQ(seen_.front(), 0);
  EXPECT_EQ(seen_.back(), 1);
}

class Visited : public UploadObserver {
 public:
  explicit Visited(std::function<void()> visit) : visit_(std::move(visit)) {}
  void on_record(const UploadRecord&) override { visit_(); }

 private:
  std::function<void()> visit_;
};

TEST_F(WaitingUpload, ForItsObserverLetsOthersSeeAndWrite) {
  Visited observer([this] { visit(); });
  observer_ = &observer;
  upload("insertProductsFromXML",
         "key/\\" + document(record("A-1", kRequired + "<URL>new</URL>") + record("B-2", kRequired + "<URL>new</URL>")),
         false);
  EXPECT_EQ(seen_, (std::vector<std::int32_t>{1, 2}));
}

}  // namespace
}  // namespace mercato::test
