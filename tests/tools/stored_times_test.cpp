// SPDX-License-Identifier: Apache-2.0
// What the tables MERCATO_... say of times is the same wherever a process runs.
#include <cstdlib>
#include <ctime>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>

#include "platform/clock/universal_time.h"
#include "tests/tools/run_in_process.h"

namespace mercato::test {
namespace {

// The process is in this zone while it lives.
class TimeZone {
 public:
  explicit TimeZone(const char* zone) {
    if (const char* before = std::getenv("TZ")) before_ = before;
    enter(zone);
  }
  ~TimeZone() { enter(before_ ? before_->c_str() : nullptr); }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  static void enter(const char* zone) {
    zone ? ::setenv("TZ", zone, 1) : ::unsetenv("TZ");
    ::tzset();
  }
  std::optional<std::string> before_;
};

TEST(StoredTimes, AreUniversalInEveryTimeZone) {
  constexpr double kMinute = 1.0 / (24 * 60);
  for (const char* zone : {"EAST-14", "WEST+12"}) {
    SCOPED_TRACE(zone);
    const TimeZone in(zone);
    const ToolFolder tool(Place::in_memory, Tables::none);
    const InProcess here(tool.folder().path());
    write_whole(tool.folder() / "codes.xml",
                "<UNSPSC_ITEMS><UNSPSC_ITEM><CODE>44000000</CODE><DESCRIPTION>Office</DESCRIPTION></UNSPSC_ITEM>"
                "</UNSPSC_ITEMS>");
    for (const Words& command : {Words{"init"}, Words{"unspsc", "load", "codes.xml"}}) {
      const ToolRun done = InProcess::run(command);
      ASSERT_EQ(done.status, 0) << done.err;
    }
    const ToolRun asked = InProcess::run({"execute", "-", "--json"},
                                         "SELECT APPLIED FROM MERCATO_SCHEMA;\n"
                                         "SELECT ACCEPTED, STARTED, ENDED FROM MERCATO_UPLOAD;\n");
    ASSERT_EQ(asked.status, 0) << asked.err;
    const double now = clock::universal_time().days();
    std::size_t times = 0;
    const nlohmann::json told = nlohmann::json::parse(asked.out);
    const std::function<void(const nlohmann::json&)> look = [&](const nlohmann::json& value) {
      if (value.is_object() && value.contains("$")) {
        EXPECT_NEAR(Date::parse(value.at("value").get<std::string>())->days(), now, kMinute) << value;
        ++times;
      } else if (value.is_structured()) {
        for (const nlohmann::json& part : value) look(part);
      }
    };
    look(told);
    EXPECT_EQ(times, 4u) << told;
  }
}

}  // namespace
}  // namespace mercato::test
