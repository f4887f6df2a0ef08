// SPDX-License-Identifier: Apache-2.0
// Documents that come packed: good ones, broken ones, and those that would unpack to more than anybody has.
#include <zlib.h>

#include "tests/host/serving_fixture.h"

namespace mercato::test {
namespace {

class PackedDocuments : public ServingTest {
 protected:
  static std::string packed(const std::string& text) {
    z_stream stream{};
    constexpr int kGzip = 15 + 16;
    EXPECT_EQ(::deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string out(::deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(::deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    ::deflateEnd(&stream);
    return out;
  }
  static std::string document(const std::string& key, const std::string& between = "") {
    return "<Products>" + between + "<Product buyfrompartnumber=\"" + key + "\"><PARTNUMBER>P-" + key +
           "</PARTNUMBER><PRODUCTDESCRIPTION>Product</PRODUCTDESCRIPTION><UNITCODE>BX</UNITCODE></Product></Products>";
  }
  // The upload of a body when it has ended.
  Json uploaded(const std::string& body, const std::string& fields = "") const {
    const HttpAnswer answer = client().ask("POST", "/api/v1/uploads?kind=products", bearer(keeper_) + fields, body);
    EXPECT_EQ(answer.status, 202) << answer.body;
    return answer.status == 202 ? ended_upload(serving_->port(), answer.fields.at("Location")) : Json();
  }
};

TEST_F(PackedDocuments, AreUploadedWhetherTheHeadSaysSoOrNot) {
  EXPECT_EQ(uploaded(packed(document("G-1"))).at("counts").at("inserted"), 1);
  EXPECT_EQ(uploaded(packed(document("G-2")), "Content-Encoding: gzip\r\n").at("counts").at("inserted"), 1);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCT WHERE BUYFROMPARTNUMBER LIKE 'G-%'").to_long(), 2);
}

TEST_F(PackedDocuments, ThatAreBrokenFailWithASentenceAndKeepNobodyWaiting) {
  const std::string whole = packed(document("B-1"));
  std::string damaged = whole;
  damaged[whole.size() / 2] = static_cast<char>(~damaged[whole.size() / 2]);
  for (const std::string& body :
       {whole.substr(0, whole.size() / 2), whole.substr(0, 12), damaged, std::string("\x1f\x8b", 2)}) {
    const Json told = uploaded(body);
    EXPECT_EQ(told.at("state"), "failed") << told;
    ASSERT_FALSE(told.at("stoppedBy").is_null());
    EXPECT_EQ(told.at("stoppedBy").dump().find(folder().string()), std::string::npos) << "no path: " << told;
    EXPECT_EQ(told.at("counts").at("inserted"), 0);
  }
  EXPECT_EQ(uploaded(packed(document("B-2"))).at("state"), "done");
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCT WHERE BUYFROMPARTNUMBER LIKE 'B-%'").to_long(), 1);
}

TEST_F(PackedDocuments, ThatUnpackToTooMuchFailBeforeTheyAreUnpacked) {
  const std::string bomb = packed(document("Z-1", std::string(std::size_t{70} << 20, ' ')));
  EXPECT_LT(bomb.size(), std::size_t{200'000});
  const Json told = uploaded(bomb);
  EXPECT_EQ(told.at("state"), "failed") << told;
  EXPECT_NE(told.at("stoppedBy").dump().find("unpacks to far more than a catalogue does"), std::string::npos) << told;
  EXPECT_EQ(uploaded(packed(document("Z-2"))).at("state"), "done");
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PRODUCT WHERE BUYFROMPARTNUMBER LIKE 'Z-%'").to_long(), 1);
}

}  // namespace
}  // namespace mercato::test
