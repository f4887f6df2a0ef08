// SPDX-License-Identifier: Apache-2.0
// What the relay of the benchmarks writes down is what the server got.
#include "bench/support/postgresql/server_recording.h"

#include <string>
#include <vector>

#include "mercato/connection.h"
#include "mercato/raised_error.h"
#include "mercato/statement.h"
#include "platform/store/session_pool.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {
namespace {

using bench::ServerRecording;
using bench::ServerTape;

struct Line {
  std::string text;
  std::vector<std::string> values;
  bool failed;
  bool operator==(const Line&) const = default;
};
void PrintTo(const Line& line, std::ostream* out) {
  *out << line.text;
  for (const std::string& value : line.values) *out << " [" << value << "]";
  if (line.failed) *out << " failed";
}

std::vector<Line> lines_of(const ServerTape& tape) {
  std::vector<Line> lines;
  for (const ServerTape::Step& step : tape.steps) {
    Line line{tape.statements[step.statement].text, {}, step.failed != 0};
    for (std::uint32_t i = 0; i < step.values; ++i) {
      const std::uint32_t at = tape.values[step.first_value + i];
      line.values.emplace_back(at == ServerTape::kNull ? "NULL" : tape.texts.data() + at);
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

constexpr const char* kInsert = R"(INSERT INTO "UNIT" ("UNITCODE", "UNITDESCRIPTION") VALUES ($1, $2))";

class ServerRecordingTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    if (connection_string().find("Provider=PostgreSQL") == std::string::npos)
      GTEST_SKIP() << "only on a PostgreSQL server: the relay reads its protocol";
  }
};

TEST_F(ServerRecordingTest, StatementsAreRecordedWithTheirValuesInTheirOrder) {
  ServerRecording recording(connection_string());
  const ConnectionPtr connection = open_connection(recording.connection_string());
  connection->Execute(Sql::verbatim("SELECT UNITDESCRIPTION FROM UNIT"));
  recording.start();
  connection->Execute(Sql::verbatim("INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PCE', 'it''s a piece')"));
  connection->Execute(Sql::verbatim("SELECT UNITCODE FROM UNIT WHERE UNITCODE='PCE'"));
  connection->Close();
  store::close_idle_sessions();
  const ServerTape tape = recording.finish();

  EXPECT_EQ(lines_of(tape),
            (std::vector<Line>{
                {kInsert, {"PCE", "it's a piece"}, false},
                {R"(SELECT "UNIT"."UNITCODE" FROM "UNIT" AS "UNIT" WHERE mercato_key("UNIT"."UNITCODE") = $1)",
                 {"pce"},
                 false},
            }));
  // One each, beside what the session asks about its tables.
  EXPECT_EQ(tape.batches - tape.table_questions, 2u);
  EXPECT_EQ(tape.round_trips, tape.batches);
  EXPECT_EQ(tape.savepoints, 0u);
}

TEST_F(ServerRecordingTest, ARefusedStatementIsMarkedAndTheOnesAroundItAreNot) {
  ServerRecording recording(connection_string());
  recording.start();
  const ConnectionPtr connection = open_connection(recording.connection_string());
  connection->Execute(Sql::verbatim("INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('A', 'first')"));
  EXPECT_THROW(connection->Execute(Sql::verbatim("INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('A', 'again')")),
               Raised);
  connection->Execute(Sql::verbatim("INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('B', NULL)"));
  connection->Close();
  store::close_idle_sessions();

  EXPECT_EQ(lines_of(recording.finish()),
            (std::vector<Line>{
                {kInsert, {"A", "first"}, false},
                {kInsert, {"A", "again"}, true},
                {R"(INSERT INTO "UNIT" ("UNITCODE", "UNITDESCRIPTION") VALUES ($1, NULL))", {"B"}, false},
            }));
}

}  // namespace
}  // namespace mercato::test
