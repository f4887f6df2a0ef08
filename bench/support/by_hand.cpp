// SPDX-License-Identifier: Apache-2.0
#include "bench/support/by_hand.h"

#include <sqlite3.h>

#include <charconv>
#include <cstring>
#include <fstream>
#include <numeric>
#include <optional>
#include <stdexcept>

#include "bench/support/bare_store.h"

namespace mercato::bench {
namespace {

// Statements of the library, literals as question marks, and what somebody would write by hand for each.
struct Counterpart {
  std::string_view shape;
  std::string_view sql;
};
constexpr Counterpart kCounterparts[] = {
    {"SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER=?",
     "SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER=?1"},
    {"SELECT UNITCODE FROM UNIT WHERE UNITCODE=? OR UNITDESCRIPTION = ?",
     "SELECT UNITCODE FROM UNIT WHERE UNITCODE=?1 OR UNITDESCRIPTION=?2"},
    {"SELECT * FROM PRODUCT WHERE ?=?", "SELECT * FROM PRODUCT WHERE ?1=?2"},
    {"SELECT * FROM PRODUCT WHERE PRODUCTID=?", "SELECT * FROM PRODUCT WHERE PRODUCTID=?1"},
    {"DELETE FROM productbuyer WHERE PRODUCTID=?", "DELETE FROM PRODUCTBUYER WHERE PRODUCTID=?1"},
    {"SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER=?",
     "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER=?1"},
    {"SELECT PROPERTY.PROPERTYID, PROPERTY.DATATYPE FROM PROPERTY WHERE PROPERTY.PROPERTYNAME = ?",
     "SELECT PROPERTYID, DATATYPE FROM PROPERTY WHERE PROPERTYNAME=?1"},
    {"SELECT * FROM PROPERTY WHERE ?=?", "SELECT * FROM PROPERTY WHERE ?1=?2"},
    {"INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES(?,?,?)",
     "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (?1, ?2, ?3)"},
    {"INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES (? ,? ,?)",
     "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (?1, ?2, ?3)"},
    {"SELECT CURRENCYCODE, DESCRIPTION FROM CURRENCY ORDER BY CURRENCYCODE",
     "SELECT CURRENCYCODE, DESCRIPTION FROM CURRENCY ORDER BY CURRENCYCODE"},
    {"SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=? AND PRICEEFFECTIVEDATE=? AND QUANTITYTO=? AND GROUPBY = ?",
     "SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=?1 AND PRICEEFFECTIVEDATE=?2 AND QUANTITYTO=?3 AND "
     "GROUPBY=?4"},
};
constexpr std::string_view kSettingOnly = "set TRANSACTION ISOLATION LEVEL READ COMMITTED";

enum ValueTag : char { kInteger = 'i', kReal = 'r', kText = 't', kNothing = 'n' };

bool is_change(std::string_view sql) {
  return sql.starts_with("INSERT") || sql.starts_with("UPDATE") || sql.starts_with("DELETE");
}

// Writing a tape.

template <class Plain>
void append(std::vector<char>& bytes, Plain value) {
  const char* const begin = reinterpret_cast<const char*>(&value);
  bytes.insert(bytes.end(), begin, begin + sizeof value);
}
void append_text(std::vector<char>& bytes, std::string_view text) {
  append(bytes, kText);
  append(bytes, static_cast<std::uint32_t>(text.size()));
  bytes.insert(bytes.end(), text.begin(), text.end());
}
void append_value(std::vector<char>& bytes, const Variant& value) {
  if (value.is_text()) return append_text(bytes, value.text_value());
  const double number = value.to_double();
  if (const auto whole = static_cast<std::int64_t>(number); static_cast<double>(whole) == number) {
    append(bytes, kInteger);
    append(bytes, whole);
  } else {
    append(bytes, kReal);
    append(bytes, number);
  }
}

// Takes apart what the engine wrote where its parameters were: NULL, a number, or a text between quotes.
class ExpandedValues {
 public:
  // Answers false when it finds something else.
  static bool append_to(std::vector<char>& bytes, std::string_view sql, std::string_view expanded,
                        std::uint8_t& count) {
    std::size_t at = 0;
    count = 0;
    for (std::size_t i = 0; i < sql.size(); ++i) {
      if (sql[i] != '?') {
        if (at >= expanded.size() || expanded[at++] != sql[i]) return false;
        continue;
      }
      while (i + 1 < sql.size() && sql[i + 1] >= '0' && sql[i + 1] <= '9') ++i;
      if (!append_one(bytes, expanded, at)) return false;
      ++count;
    }
    return at == expanded.size();
  }

 private:
  static bool append_one(std::vector<char>& bytes, std::string_view expanded, std::size_t& at) {
    const std::string_view rest = expanded.substr(at);
    if (rest.starts_with("NULL")) {
      append(bytes, kNothing);
      at += 4;
      return true;
    }
    if (rest.starts_with('\'')) {
      std::string text;
      std::size_t i = 1;
      for (;; ++i) {
        if (i >= rest.size()) return false;
        if (rest[i] == '\'' && (++i >= rest.size() || rest[i] != '\'')) break;
        text += rest[i];
      }
      append_text(bytes, text);
      at += i;
      return true;
    }
    const std::size_t length = std::min(rest.find_first_not_of("+-.0123456789eE"), rest.size());
    const std::string_view digits = rest.substr(0, length);
    at += length;
    if (digits.find_first_of(".eE") == std::string_view::npos) {
      std::int64_t whole = 0;
      if (std::from_chars(digits.data(), digits.data() + digits.size(), whole).ec != std::errc()) return false;
      append(bytes, kInteger);
      append(bytes, whole);
      return true;
    }
    double number = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc()) return false;
    append(bytes, kReal);
    append(bytes, number);
    return true;
  }
};

// Reading a tape.

template <class Plain>
Plain take(const char*& at) {
  Plain value;
  std::memcpy(&value, at, sizeof value);
  at += sizeof value;
  return value;
}

void bind(sqlite3_stmt* statement, int parameter, const char*& at) {
  switch (take<char>(at)) {
    case kInteger:
      sqlite3_bind_int64(statement, parameter, take<std::int64_t>(at));
      return;
    case kReal:
      sqlite3_bind_double(statement, parameter, take<double>(at));
      return;
    case kText: {
      const auto size = take<std::uint32_t>(at);
      sqlite3_bind_text(statement, parameter, at, static_cast<int>(size), SQLITE_STATIC);
      at += size;
      return;
    }
    default:
      sqlite3_bind_null(statement, parameter);
  }
}

// The engine's callback for new connections has no argument of its own.
Recording* current_recording = nullptr;

}  // namespace

std::uint64_t Tape::runs() const {
  return std::accumulate(statements.begin(), statements.end(), std::uint64_t{0},
                         [](std::uint64_t sum, const Statement& statement) { return sum + statement.runs; });
}

Recording::Recording() {
  current_recording = this;
  store::set_statement_observer(this);
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(&Recording::on_open));
}

Recording::~Recording() {
  sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(&Recording::on_open));
  store::set_statement_observer(nullptr);
  current_recording = nullptr;
}

int Recording::on_open(sqlite3* engine, char**, const void*) {
  return sqlite3_trace_v2(engine, SQLITE_TRACE_STMT, &Recording::on_engine_statement, current_recording);
}

int Recording::on_engine_statement(unsigned, void* self, void* statement, void* text) {
  auto& recording = *static_cast<Recording*>(self);
  try {
    recording.on_row_write(static_cast<sqlite3_stmt*>(statement), static_cast<const char*>(text));
  } catch (const std::exception& failure) {
    recording.failure_ = failure.what();
  }
  return 0;
}

void Recording::on_statement(std::string_view text, bool) {
  if (!failure_.empty()) throw std::runtime_error(failure_);
  if (text == kSettingOnly) {
    ++tape_.settings;
    return;
  }
  store::dialect::lex(text, lexed_);
  shape_.clear();
  std::size_t begin = 0;
  for (const std::uint32_t literal : lexed_.literals) {
    const store::dialect::Token& token = lexed_.tokens[literal];
    shape_.append(text.substr(begin, token.begin - begin)) += '?';
    begin = token.end;
  }
  shape_.append(text.substr(begin));

  const Counterpart* found = nullptr;
  for (const Counterpart& counterpart : kCounterparts)
    if (counterpart.shape == shape_) found = &counterpart;
  if (!found) throw std::runtime_error("no counterpart by hand for: " + shape_);

  append(tape_.steps, position_of(std::string(found->sql)));
  append(tape_.steps, static_cast<std::uint8_t>(lexed_.literals.size()));
  for (const std::uint32_t literal : lexed_.literals)
    append_value(tape_.steps, store::dialect::literal_value(lexed_, literal));
  change_announced_ = is_change(found->sql);
}

void Recording::on_row_write(sqlite3_stmt* statement, std::string_view sql) {
  if (!is_change(sql)) return;
  if (std::exchange(change_announced_, false)) return;
  const std::unique_ptr<char, decltype(&sqlite3_free)> expanded(sqlite3_expanded_sql(statement), &sqlite3_free);
  append(tape_.steps, position_of(std::string(sql)));
  const std::size_t count_at = tape_.steps.size();
  std::uint8_t count = 0;
  append(tape_.steps, count);
  if (!expanded || !ExpandedValues::append_to(tape_.steps, sql, expanded.get(), count))
    throw std::runtime_error("cannot take apart: " + std::string(sql));
  tape_.steps[count_at] = static_cast<char>(count);
}

std::uint16_t Recording::position_of(const std::string& sql) {
  const auto [found, is_new] = positions_.try_emplace(sql, static_cast<std::uint16_t>(tape_.statements.size()));
  if (is_new) tape_.statements.push_back({sql});
  ++tape_.statements[found->second].runs;
  return found->second;
}

void save_tape(const Tape& tape, const std::filesystem::path& path) {
  std::ofstream file(path, std::ios::binary);
  file << tape.settings << '\n' << tape.statements.size() << '\n';
  for (const Tape::Statement& statement : tape.statements) file << statement.runs << ' ' << statement.sql << '\n';
  file << tape.steps.size() << '\n';
  file.write(tape.steps.data(), static_cast<std::streamsize>(tape.steps.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

Tape load_tape(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  Tape tape;
  std::size_t count = 0;
  file >> tape.settings >> count;
  tape.statements.resize(count);
  for (Tape::Statement& statement : tape.statements) {
    file >> statement.runs;
    file.ignore();
    std::getline(file, statement.sql);
  }
  file >> count;
  file.ignore();
  tape.steps.resize(count);
  file.read(tape.steps.data(), static_cast<std::streamsize>(count));
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return tape;
}

void play(const Tape& tape, const std::filesystem::path& path, Committing committing) {
  BareStore store(path);
  std::vector<BareStatement> statements;
  for (const Tape::Statement& statement : tape.statements) statements.push_back(store.prepare(statement.sql));

  if (committing == Committing::once) store.run("BEGIN IMMEDIATE");
  std::size_t sum = 0;
  const char* at = tape.steps.data();
  const char* const end = at + tape.steps.size();
  while (at < end) {
    sqlite3_stmt* const statement = statements[take<std::uint16_t>(at)].get();
    const int parameters = take<std::uint8_t>(at);
    for (int parameter = 1; parameter <= parameters; ++parameter) bind(statement, parameter, at);
    int code = sqlite3_step(statement);
    for (; code == SQLITE_ROW; code = sqlite3_step(statement)) sum += read_row(statement);
    if (code != SQLITE_DONE) store.fail(sqlite3_sql(statement));
    sqlite3_reset(statement);
  }
  if (committing == Committing::once) store.run("COMMIT");
  // Uses the results, so that the compiler cannot leave their reading out.
  [[maybe_unused]] volatile std::size_t kept = sum;
}

}  // namespace mercato::bench
