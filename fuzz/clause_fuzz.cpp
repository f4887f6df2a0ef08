// SPDX-License-Identifier: Apache-2.0
// Any bytes as a part of a statement that a caller may supply: a condition, a list of fields, an order, a pattern of
// LIKE. Whatever they are, the statement is refused or runs on a real store, ends within the call limit and changes no
// row.
// The first byte says how often the rest is repeated, so that short inputs make long statements.
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "frame/lib_general.h"
#include "fuzz/fuzz_store.h"
#include "mercato/raised_error.h"
#include "platform/store/call_limit.h"

namespace {

using namespace mercato;

constexpr double kCallSeconds = 0.2;
// What a call may take beyond its limit, in processor time: the sanitizers are slow, and the limit is not asked
// everywhere.
constexpr double kSecondsBeyond = 5;
constexpr std::size_t kLongestText = 1 << 20;

void require(bool promise) {
  if (!promise) std::abort();
}

double processor_seconds() {
  timespec now = {};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

class Store : public fuzz::FuzzStore {
 public:
  Store() {
    session()->execute(Sql("INSERT INTO MANUFACTURER VALUES (N'B', N'Bolt & Söhne')"));
    session()->execute(Sql("INSERT INTO MANUFACTURER VALUES (N'A', N'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaa')"));
  }

  // The number of rows that came; -1 when it was refused or ran out of time.
  int rows_of(const Sql& statement) const {
    const double begin = processor_seconds();
    int rows = 0;
    try {
      const store::CallLimit call_limit(kCallSeconds);
      const auto session = this->session();
      const auto cursor = session->execute(statement).cursor;
      for (std::vector<Variant> row; cursor && cursor->next(); ++rows) cursor->read(row);
    } catch (const Raised&) {
      rows = -1;
    }
    require(processor_seconds() - begin < kCallSeconds + kSecondsBeyond);
    return rows;
  }
};

std::string repeated(std::string_view unit, unsigned exponent) {
  std::string text(unit);
  while (exponent-- != 0 && text.size() * 2 <= kLongestText) text += text;
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Store store;
  if (size == 0) return 0;
  const std::string text = repeated({reinterpret_cast<const char*>(data) + 1, size - 1}, data[0] % 20);
  const std::string quoted = Gen_QuoteSql(text);

  Sql condition, fields, order, removal, pattern, itself;
  condition << "SELECT MANUFACTURERID FROM MANUFACTURER WHERE (" << clause(text) << ")";
  fields << "SELECT " << clause(text) << " FROM MANUFACTURER";
  order << "SELECT MANUFACTURERID FROM MANUFACTURER ORDER BY " << clause(text);
  removal << "DELETE FROM MANUFACTURER WHERE 0=1 AND (" << clause(text) << ")";
  pattern << "SELECT MANUFACTURERID FROM MANUFACTURER WHERE MANUFACTURERNAME LIKE N'" << value(quoted) << "'";
  itself << "SELECT MANUFACTURERID FROM MANUFACTURER WHERE N'" << value(quoted) << "' LIKE N'"
         << value(Gen_EscapeLike(text)) << "'";
  for (const Sql* statement : {&condition, &fields, &order, &removal, &pattern}) store.rows_of(*statement);
  // A text is like itself once its wildcards are escaped.
  const int alike = store.rows_of(itself);
  require(alike == 2 || alike == -1);
  require(store.number_of("SELECT COUNT(*) FROM MANUFACTURER") == 2);
  return 0;
}
