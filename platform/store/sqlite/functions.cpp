// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/functions.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "mercato/clock.h"
#include "mercato/currency.h"
#include "mercato/date.h"
#include "mercato/raised_error.h"
#include "platform/store/call_limit.h"
#include "platform/store/dialect/like_prefix.h"
#include "platform/store/dialect/like_reader.h"
#include "platform/store/dialect/readings.h"
#include "platform/store/sqlite/collation.h"
#include "platform/store/sqlite/date_arithmetic.h"
#include "platform/store/sqlite/like_pattern.h"
#include "platform/store/sqlite/trigram_tokenizer.h"
#include "values/text.h"

namespace mercato::store::sqlite {
namespace {

// The arguments of one call, and the place for its answer.
class Call {
 public:
  Call(sqlite3_context* context, int count, sqlite3_value** values)
      : context_(context), count_(count), values_(values) {}

  int count() const { return count_; }
  bool any_null() const {
    for (int i = 0; i < count_; ++i)
      if (sqlite3_value_type(values_[i]) == SQLITE_NULL) return true;
    return false;
  }
  bool is_number(int index) const {
    const int type = sqlite3_value_type(values_[index]);
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
  }
  std::string_view text(int index) const {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(values_[index]));
    return bytes == nullptr ? std::string_view()
                            : std::string_view(bytes, static_cast<std::size_t>(sqlite3_value_bytes(values_[index])));
  }
  std::int64_t whole(int index) const { return sqlite3_value_int64(values_[index]); }
  double real(int index) const { return sqlite3_value_double(values_[index]); }
  sqlite3_value* value(int index) const { return values_[index]; }
  sqlite3_context* context() const { return context_; }

  void answer(std::string_view text) const {
    sqlite3_result_text64(context_, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  }
  void answer(std::int64_t number) const { sqlite3_result_int64(context_, number); }
  void answer(double number) const { sqlite3_result_double(context_, number); }
  void answer(bool flag) const { sqlite3_result_int(context_, flag ? 1 : 0); }
  void answer(Date date) const { answer(std::string_view(date.iso_text())); }
  void fail(const std::string& reason) const {
    sqlite3_result_error(context_, reason.data(), static_cast<int>(reason.size()));
  }

 private:
  sqlite3_context* context_;
  int count_;
  sqlite3_value** values_;
};

using Body = void (*)(const Call&);

// Null in, Null out; a failure of the body is the statement's.
template <Body body>
void run(sqlite3_context* context, int count, sqlite3_value** values) {
  const Call call(context, count, values);
  if (call.any_null()) return sqlite3_result_null(context);
  try {
    body(call);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& failure) {
    call.fail(failure.what());
  }
}

// Conversions. Numbers pass through, as they are in no need of one.

void number(const Call& call) {
  if (call.is_number(0)) return sqlite3_result_value(call.context(), call.value(0));
  const auto read = dialect::read_number(call.text(0));
  if (!read) return call.fail(dialect::unreadable_number(call.text(0)));
  std::visit([&call](auto value) { call.answer(value); }, *read);
}

void money(const Call& call) {
  const auto read = dialect::read_money(call.text(0));
  if (!read) return call.fail(dialect::kUnreadableMoney);
  call.answer(read->scaled());
}

void boolean(const Call& call) {
  const auto read = dialect::read_boolean(call.text(0));
  if (!read) return call.fail(dialect::unreadable_boolean(call.text(0)));
  call.answer(*read);
}

// Days in whole seconds. Raises 6 for more than there are between any two dates.
std::int64_t seconds_in(double days) {
  constexpr double kMost = 4e6;
  if (!(std::fabs(days) < kMost)) raise(error_number::kOverflow);
  return std::llround(days * 86400);
}

// A number counts the days from the server's zero date, 1 January 1900.
void date(const Call& call) {
  static const std::int64_t zero_date = seconds_of({.year = 1900, .month = 1, .day = 1});
  if (call.is_number(0)) return call.answer(date_of_seconds(zero_date + seconds_in(call.real(0))));
  const auto read = dialect::read_date(call.text(0));
  if (!read) return call.fail(dialect::kUnreadableDate);
  call.answer(*read);
}

void number_text(const Call& call) { call.answer(std::string_view(text::number_text(call.real(0)))); }

// Two decimals, as the server writes an amount.
void money_text(const Call& call) {
  const double amount = Currency::from_scaled(call.whole(0)).to_double();
  char digits[40];
  std::snprintf(digits, sizeof digits, "%.2f", amount);
  call.answer(std::string_view(digits));
}

// Dates. A stored date is an ISO text; what another program left in its place fails like any unreadable text.

CivilTime civil_at(const Call& call, int index) {
  const auto read = dialect::read_date(call.text(index));
  if (!read) raise(error_number::kStatementRefused, "SQLite store", dialect::kUnreadableDate);
  return read->civil();
}

void now(const Call& call) { call.answer(clock::now()); }

void date_text(const Call& call) {
  const auto written = write_date(civil_at(call, 0), call.whole(1));
  if (!written)
    return call.fail(std::to_string(call.whole(1)) +
                     " is not a valid style number when converting from datetime to a character string");
  call.answer(std::string_view(*written));
}

void styled_date(const Call& call) {
  const auto read = read_date_in_style(call.text(0), call.whole(1));
  if (!read) return call.fail(dialect::kUnreadableDate);
  call.answer(*read);
}

void add_days(const Call& call) {
  call.answer(date_of_seconds(seconds_of(civil_at(call, 0)) + seconds_in(call.real(1))));
}

void date_add(const Call& call) { call.answer(add_to_date(call.text(0), call.whole(1), civil_at(call, 2))); }

void date_difference(const Call& call) {
  call.answer(date_boundaries(call.text(0), civil_at(call, 1), civil_at(call, 2)));
}

void date_part(const Call& call) { call.answer(part_of_date(call.text(0), civil_at(call, 1))); }

// Texts. Positions count characters from 1.

void upper(const Call& call) { call.answer(std::string_view(text::to_upper(call.text(0)))); }
void lower(const Call& call) { call.answer(std::string_view(text::to_lower(call.text(0)))); }

void substring(const Call& call) {
  const std::int64_t start = call.whole(1), length = call.whole(2);
  if (length < 0) return call.fail("Invalid length parameter passed to the substring function");
  // A start before the text uses up some of the length.
  const std::int64_t begin = std::max<std::int64_t>(start, 1);
  const std::int64_t end = start > INT32_MAX || length > INT32_MAX ? INT64_MAX : start + length;
  if (end <= begin) return call.answer(std::string_view(""));  // one without bytes would be Null
  const std::string_view text = call.text(0);
  const std::string_view skipped = text::left(text, static_cast<std::size_t>(begin - 1));
  call.answer(text::left(text.substr(skipped.size()), static_cast<std::size_t>(end - begin)));
}

void right(const Call& call) {
  const std::int64_t length = call.whole(1);
  if (length < 0) return call.fail("Invalid length parameter passed to the right function");
  call.answer(text::right(call.text(0), static_cast<std::size_t>(length)));
}

// The functions below take their connection's order of texts with them.

const TextOrder& order_of(const Call& call) {
  return *static_cast<const TextOrder*>(sqlite3_user_data(call.context()));
}

// A pattern or a searched text is mostly a parameter: it is made ready once for all rows of a statement.
template <class Ready, class Make>
const Ready& ready_argument(const Call& call, int index, std::unique_ptr<Ready>& own, Make make) {
  if (const void* kept = sqlite3_get_auxdata(call.context(), index)) return *static_cast<const Ready*>(kept);
  own = make();
  sqlite3_set_auxdata(call.context(), index, own.release(), [](void* ready) { delete static_cast<Ready*>(ready); });
  // The engine may have dropped it at once, when the argument changes from row to row.
  if (const void* kept = sqlite3_get_auxdata(call.context(), index)) return *static_cast<const Ready*>(kept);
  own = make();
  return *own;
}

char32_t escape_character(const Call& call) {
  if (call.count() < 3) return 0;
  const std::string_view escape = call.text(2);
  if (!dialect::is_like_escape(escape))
    raise(error_number::kStatementRefused, "SQLite store",
          "The invalid escape character \"" + std::string(escape) + "\" was specified in a LIKE predicate");
  return static_cast<unsigned char>(escape[0]);
}

void like(const Call& call) {
  std::unique_ptr<LikePattern> own;
  const LikePattern& pattern = ready_argument<LikePattern>(call, 0, own, [&call] {
    return std::make_unique<LikePattern>(call.text(0), escape_character(call), order_of(call));
  });
  call.answer(pattern.matches(call.text(1)));
}

// The borders between which an index holds all texts that match a pattern.
void like_from(const Call& call) { call.answer(dialect::like_prefix(call.text(0))); }
void like_to(const Call& call) {
  call.answer(std::string_view(std::string(dialect::like_prefix(call.text(0))).append(dialect::kBehindAllTexts)));
}

// Where `searched` stands in `text` at or after byte `from`, compared as the store compares texts; its length in bytes
// in `found`. Only texts of as many characters can be equal in the ways that matter here.
std::size_t find_text(const TextOrder& order, std::string_view searched, std::string_view text, std::size_t from,
                      std::size_t& found) {
  const std::size_t characters = text::length(searched);
  // Trailing blanks count here.
  std::string guarded(searched);
  guarded += '|';
  std::string candidate;
  while (from < text.size()) {
    check_call_limit();
    const std::string_view rest = text.substr(from);
    const std::string_view piece = text::left(rest, characters);
    candidate.assign(piece);
    candidate += '|';
    if (order.compare(candidate, guarded) == 0) {
      found = piece.size();
      return from;
    }
    from += text::left(rest, 1).size();
  }
  return std::string_view::npos;
}

void charindex(const Call& call) {
  const std::string_view searched = call.text(0), text = call.text(1);
  const std::int64_t start = std::max<std::int64_t>(call.whole(2), 1);
  const std::string_view skipped = text::left(text, static_cast<std::size_t>(start - 1));
  std::size_t found = 0;
  const std::size_t at =
      searched.empty() ? std::string_view::npos : find_text(order_of(call), searched, text, skipped.size(), found);
  call.answer(at == std::string_view::npos ? std::int64_t{0}
                                           : static_cast<std::int64_t>(text::length(text.substr(0, at))) + 1);
}

void replace(const Call& call) {
  const std::string_view text = call.text(0), searched = call.text(1), with = call.text(2);
  if (searched.empty()) return call.answer(text);
  std::string result;
  std::size_t from = 0, found = 0;
  for (std::size_t at = 0; (at = find_text(order_of(call), searched, text, from, found)) != std::string_view::npos;
       from = at + found) {
    result += text.substr(from, at - from);
    result += with;
  }
  result += text.substr(from);
  call.answer(std::string_view(result));
}

// Half away from zero; negative places round before the point.
void round(const Call& call) {
  const double number = call.real(0);
  const auto places = static_cast<int>(std::clamp<std::int64_t>(call.whole(1), -20, 20));
  // Through the shortest decimal form, so that 2.675 is a half and not a little less.
  const double factor = std::pow(10.0, std::abs(places));
  const double scaled = places < 0 ? number / factor : number * factor;
  if (!std::isfinite(scaled) || std::fabs(scaled) >= 9e15) return call.answer(number);
  char digits[64];
  std::snprintf(digits, sizeof digits, "%.15g", scaled);
  const double whole = std::round(std::strtod(digits, nullptr));
  call.answer(places < 0 ? whole * factor : whole / factor);
}

struct Function {
  const char* name;
  int arguments;
  void (*run)(sqlite3_context*, int, sqlite3_value**);
  bool deterministic = true;
};

constexpr Function kFunctions[] = {
    {"mercato_now", 0, run<now>, false},
    {"mercato_number", 1, run<number>},
    {"mercato_money", 1, run<money>},
    {"mercato_boolean", 1, run<boolean>},
    {"mercato_date", 1, run<date>},
    {"mercato_number_text", 1, run<number_text>},
    {"mercato_money_text", 1, run<money_text>},
    {"mercato_date_text", 2, run<date_text>},
    {"mercato_styled_date", 2, run<styled_date>},
    {"mercato_add_days", 2, run<add_days>},
    {"mercato_date_add", 3, run<date_add>},
    {"mercato_date_difference", 3, run<date_difference>},
    {"mercato_date_part", 2, run<date_part>},
    {"mercato_upper", 1, run<upper>},
    {"mercato_lower", 1, run<lower>},
    {"mercato_substring", 3, run<substring>},
    {"mercato_right", 2, run<right>},
    {"mercato_charindex", 3, run<charindex>},
    {"mercato_replace", 3, run<replace>},
    {"mercato_round", 2, run<round>},
    {"mercato_like", 2, run<like>},
    {"mercato_like", 3, run<like>},
    {"mercato_like_from", 1, run<like_from>},
    {"mercato_like_to", 1, run<like_to>},
};

void require(sqlite3* database, int code) {
  if (code == SQLITE_NOMEM) raise(error_number::kOutOfMemory);
  if (code != SQLITE_OK) raise(error_number::kStoreFailure, "SQLite store", sqlite3_errmsg(database));
}

struct Collation {
  TextOrder order;
  sqlite3* database;
};

int compare_texts(void* self, int left_size, const void* left, int right_size, const void* right) {
  const auto& collation = *static_cast<const Collation*>(self);
  const std::string_view left_text(static_cast<const char*>(left), static_cast<std::size_t>(left_size));
  const std::string_view right_text(static_cast<const char*>(right), static_cast<std::size_t>(right_size));
  try {
    return collation.order.compare(left_text, right_text);
  } catch (...) {
    // Without memory. A comparison cannot fail, but the statement can be given up.
    sqlite3_interrupt(collation.database);
    return left_text.compare(right_text);
  }
}

}  // namespace

void register_functions(sqlite3* database) {
  // Owned by the collation, which the connection drops last of all; functions only borrow it.
  auto collation = std::make_unique<Collation>(Collation{TextOrder(), database});
  TextOrder* const borrowed = &collation->order;
  require(database, sqlite3_create_collation_v2(database, "MERCATO", SQLITE_UTF8, collation.get(), compare_texts,
                                                [](void* owned) { delete static_cast<Collation*>(owned); }));
  collation.release();
  for (const Function& function : kFunctions) {
    const int flags = SQLITE_UTF8 | SQLITE_INNOCUOUS | (function.deterministic ? SQLITE_DETERMINISTIC : 0);
    require(database, sqlite3_create_function_v2(database, function.name, function.arguments, flags, borrowed,
                                                 function.run, nullptr, nullptr, nullptr));
  }
  require(database, register_trigrams(database));
}

}  // namespace mercato::store::sqlite
