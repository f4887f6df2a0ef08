// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/request.h"

#include <gtest/gtest.h>

#include <sstream>

#include "mercato/server.h"
#include "tools/gateway/line_reader.h"
#include "tools/gateway/serve.h"

namespace mercato::gateway {
namespace {

int code_of(const std::string& line) {
  try {
    return std::visit(
        [](const auto& one) {
          if constexpr (requires { one.code(); })
            return one.code();
          else
            return 0;
        },
        read_requests(line).requests.front());
  } catch (const RefusedLine& refused) {
    return refused.code();
  }
}

std::string nested(std::size_t depth) {
  return R"({"jsonrpc":"2.0","id":1,"method":"create","params":)" + std::string(depth, '[') + std::string(depth, ']') +
         "}";
}

TEST(Request, HasIdMethodAndParameters) {
  const Asked asked = read_requests(R"({"jsonrpc":"2.0","id":"a","method":"call","params":{"object":1}})");
  const auto& request = std::get<Request>(asked.requests.front());
  EXPECT_FALSE(asked.batch);
  EXPECT_EQ(request.id, Json("a"));
  EXPECT_EQ(request.method, "call");
  EXPECT_EQ(request.params, JsonInput({{"object", 1}}));
  EXPECT_FALSE(request.notification);
}

TEST(Request, WithoutAnIdIsANotification) {
  const auto is_notification = [](const char* line) {
    return std::get<Request>(read_requests(line).requests.front()).notification;
  };
  EXPECT_TRUE(is_notification(R"({"jsonrpc":"2.0","method":"call"})"));
  EXPECT_FALSE(is_notification(R"({"jsonrpc":"2.0","id":null,"method":"call"})"));
}

TEST(Request, NestsAsDeepAsTheLimitAndNoDeeper) {
  EXPECT_EQ(code_of(nested(kMaxDepth - 1)), 0);  // one level is the request's own
  EXPECT_EQ(code_of(nested(kMaxDepth)), kParseError);
  EXPECT_EQ(code_of(nested(100'000)), kParseError);
  EXPECT_EQ(code_of(std::string(100'000, '[')), kParseError);
}

TEST(Request, BracketsInsideATextDoNotNest) {
  EXPECT_EQ(code_of(R"({"jsonrpc":"2.0","id":1,"method":")" + std::string(1000, '[') + R"(\"[[","params":{}})"), 0);
}

TEST(Request, WithTooManyValuesIsRefusedBeforeTheyAreBuilt) {
  std::string line = R"({"jsonrpc":"2.0","id":1,"method":"call","params":[0)";
  for (std::size_t count = 0; count < kMaxValues; ++count) line += ",0";
  EXPECT_EQ(code_of(line + "]}"), kParseError);
}

TEST(Request, OfBytesThatAreNoTextIsNoJson) {
  EXPECT_EQ(code_of("{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"\xFF\xFE\"}"), kParseError);
  EXPECT_EQ(code_of(R"({"jsonrpc":"2.0","id":1,"method":"\ud800"})"), kParseError);
  EXPECT_EQ(code_of(std::string(10, '\0')), kParseError);
  EXPECT_EQ(code_of(R"({"jsonrpc":"2.0","id":1,"method":"x","params":[1e400]})"), kParseError);
}

TEST(LineReader, GivesEachLineAndTheLastOneWithoutAnEnd) {
  std::istringstream stream("one\n\ntwo");
  LineReader lines(stream, 100);
  std::string line;
  ASSERT_EQ(lines.next(line), LineReader::Read::line);
  EXPECT_EQ(line, "one");
  ASSERT_EQ(lines.next(line), LineReader::Read::line);
  EXPECT_EQ(line, "");
  ASSERT_EQ(lines.next(line), LineReader::Read::line);
  EXPECT_EQ(line, "two");
  EXPECT_EQ(lines.next(line), LineReader::Read::end);
}

TEST(LineReader, PassesOverALineThatIsTooLongAndGoesOnBehindIt) {
  std::istringstream stream(std::string(11, 'x') + "\n" + std::string(10, 'y') + "\n" + std::string(50, 'z'));
  LineReader lines(stream, 10);
  std::string line;
  EXPECT_EQ(lines.next(line), LineReader::Read::too_long);
  EXPECT_EQ(line, "");
  ASSERT_EQ(lines.next(line), LineReader::Read::line);
  EXPECT_EQ(line, std::string(10, 'y'));
  EXPECT_EQ(lines.next(line), LineReader::Read::too_long);
  EXPECT_EQ(lines.next(line), LineReader::Read::end);
}

// The endless line is made while it is read, so that the test itself needs no memory for it.
class EndlessLine : public std::streambuf {
 public:
  EndlessLine(std::size_t length, std::string rest) : left_(length), rest_(std::move(rest)), block_(1 << 16, 'x') {}

 protected:
  int_type underflow() override {
    if (left_ > 0) {
      const std::size_t size = std::min(left_, block_.size());
      left_ -= size;
      setg(block_.data(), block_.data(), block_.data() + size);
    } else if (!rest_.empty()) {
      block_ = std::exchange(rest_, {});
      setg(block_.data(), block_.data(), block_.data() + block_.size());
    } else {
      return traits_type::eof();
    }
    return traits_type::to_int_type(*gptr());
  }

 private:
  std::size_t left_;
  std::string rest_;
  std::string block_;
};

TEST(Gateway, RefusesALineBeyondTheLimitAndAnswersTheNextOne) {
  EndlessLine bytes((std::size_t{256} << 20) + 1, "\n{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"nothing\"}\n");
  std::istream requests(&bytes);
  std::ostringstream answers;
  Session session({});
  serve(session, requests, answers);
  EXPECT_EQ(
      answers.str(),
      "{\"jsonrpc\":\"2.0\",\"id\":null,\"error\":{\"code\":-32600,\"message\":\"The line is too long\"}}\n"
      "{\"jsonrpc\":\"2.0\",\"id\":1,\"error\":{\"code\":-32601,\"message\":\"There is no method 'nothing'\"}}\n");
}

TEST(Gateway, ReplacesBytesThatAreNoTextInItsAnswers) {
  ObjectTable objects;
  EXPECT_EQ(line_of(to_json(std::string("a\xFF"
                                        "b"),
                            objects)),
            "\"a\xEF\xBF\xBD"
            "b\"");
}

TEST(Gateway, GivesOneObjectOneHandleAndNoHandleTwice) {
  ASSERT_EQ(DllRegisterServer(), kOk);
  Session session({});
  EXPECT_EQ(session.perform("create", {{"progId", "Mercato.Unit"}}), Json({{"object", 1}}));
  session.perform("release", {{"object", 1}});
  EXPECT_EQ(session.perform("create", {{"progId", "Mercato.Unit"}}), Json({{"object", 2}}));
}

}  // namespace
}  // namespace mercato::gateway
