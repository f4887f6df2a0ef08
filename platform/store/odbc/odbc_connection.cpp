// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/odbc_connection.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <new>
#include <optional>
#include <utility>

#include "mercato/raised_error.h"
#include "platform/store/call_limit.h"
#include "platform/store/driver.h"
#include "platform/store/failures.h"
#include "platform/store/odbc/odbc_text.h"
#include "values/text.h"

namespace mercato::store::odbc {
namespace {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "the manager's wide characters are UTF-16");

// What the manager takes and gives as numbers and wide characters comes as pointers of other types.
SQLPOINTER number(SQLULEN value) { return std::bit_cast<SQLPOINTER>(value); }
SQLWCHAR* units_of(std::u16string& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); }

// The library's own properties, those of other providers' creation included; everything else is the manager's.
constexpr std::string_view kOwnProperties[] = {"Provider", "Dialect", "Lock Timeout", "Create"};

std::string for_manager(std::string_view connection_string) {
  std::string rest;
  for (const std::string& pair : text::split(connection_string, ";")) {
    const std::string_view name = text::trim(std::string_view(pair).substr(0, pair.find('=')));
    if (std::ranges::any_of(kOwnProperties, [name](std::string_view own) { return text::equal_names(own, name); }))
      continue;
    if (!rest.empty()) rest += ';';
    rest += pair;
  }
  return rest;
}

std::string label_of(const std::string& connection_string) {
  const auto property = [&](std::string_view name) { return connection_property(connection_string, name); };
  std::string label = "the server";
  if (const auto source = property("DSN"))
    label = "the data source '" + *source + "'";
  else if (const auto server = property("Server"))
    label += " '" + *server + "'";
  else if (const auto other = property("Servername"))
    label += " '" + *other + "'";
  if (const auto database = property("Database")) label += " (database '" + *database + "')";
  return label;
}

struct EngineType {
  SQLSMALLINT number;
  ColumnType type;
};
constexpr EngineType kTypes[] = {
    {SQL_BIT, ColumnType::boolean},
    {SQL_TINYINT, ColumnType::short_integer},
    {SQL_SMALLINT, ColumnType::short_integer},
    {SQL_INTEGER, ColumnType::long_integer},
    {SQL_REAL, ColumnType::real},
    {SQL_FLOAT, ColumnType::real},
    {SQL_DOUBLE, ColumnType::real},
    {SQL_TYPE_DATE, ColumnType::date},
    {SQL_TYPE_TIMESTAMP, ColumnType::date},
    {SQL_CHAR, ColumnType::text},
    {SQL_VARCHAR, ColumnType::text},
    {SQL_LONGVARCHAR, ColumnType::text},
    {SQL_WCHAR, ColumnType::text},
    {SQL_WVARCHAR, ColumnType::text},
    {SQL_WLONGVARCHAR, ColumnType::text},
};

// Money is a decimal number with as many digits as money has; others are typed by their values.
ColumnType type_of(SQLSMALLINT number, SQLULEN digits, SQLSMALLINT decimals) {
  if (number == SQL_DECIMAL || number == SQL_NUMERIC)
    return decimals == 4 && (digits == 19 || digits == 10) ? ColumnType::money : ColumnType::unknown;
  const auto* const found = std::ranges::find(kTypes, number, &EngineType::number);
  return found == std::end(kTypes) ? ColumnType::unknown : found->type;
}

GivenType given_type(SQLSMALLINT number) {
  switch (number) {
    case SQL_BIT:
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
      return GivenType::whole;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
      return GivenType::real;
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      return GivenType::decimal;
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
      return GivenType::date;
    default:
      return GivenType::text;
  }
}

}  // namespace

Connection::Connection(const std::string& connection_string, FailureReader failure_of)
    : failure_of_(failure_of), label_(label_of(connection_string)) {
  // An environment for each connection: the manager may let only one thread at a time into one.
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_))) throw std::bad_alloc();
  try {
    SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, number(SQL_OV_ODBC3), 0);
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_))) throw std::bad_alloc();
    if (const auto left = call_time_left())
      SQLSetConnectAttrW(connection_, SQL_ATTR_LOGIN_TIMEOUT,
                         number(static_cast<SQLULEN>(std::chrono::ceil<std::chrono::seconds>(*left).count()) + 1),
                         SQL_IS_UINTEGER);
    std::u16string text = wide(for_manager(connection_string)), completed(4096, u'\0');
    SQLSMALLINT length = 0;
    if (!SQL_SUCCEEDED(SQLDriverConnectW(connection_, nullptr, units_of(text), static_cast<SQLSMALLINT>(text.size()),
                                         units_of(completed), static_cast<SQLSMALLINT>(completed.size()), &length,
                                         SQL_DRIVER_NOPROMPT)))
      throw Raised(unless_call_limit_passed(opening_failure(told(SQL_HANDLE_DBC, connection_), label_)));
    completed.resize(std::min<std::size_t>(static_cast<std::size_t>(length), completed.size() - 1));
    port_ = connection_property(narrow(completed), "Port").value_or("");
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_))) throw std::bad_alloc();
    // Braces and quotes in a text are the text's own.
    SQLSetStmtAttr(statement_, SQL_ATTR_NOSCAN, number(SQL_NOSCAN_ON), SQL_IS_UINTEGER);
  } catch (...) {
    release();
    throw;
  }
}

Connection::~Connection() { release(); }

void Connection::release() noexcept {
  if (statement_ != SQL_NULL_HSTMT) SQLFreeHandle(SQL_HANDLE_STMT, statement_);
  if (connection_ != SQL_NULL_HDBC) {
    SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
  }
  if (environment_ != SQL_NULL_HENV) SQLFreeHandle(SQL_HANDLE_ENV, environment_);
}

// Statements

void Connection::execute(const std::string& text, const SentValues& values, std::span<const ValueType> types,
                         const TableInfo* table, Ending ending) {
  close();
  table_ = table;
  if (lost_) raise_lost();
  std::u16string units = wide(text);
  bind(values, types);
  limit_time(ending);
  const SQLRETURN done =
      wait([&] { return SQLExecDirectW(statement_, units_of(units), static_cast<SQLINTEGER>(units.size())); });
  if (done != SQL_NO_DATA && !SQL_SUCCEEDED(done)) fail(table);
  describe();
}

void Connection::bind(const SentValues& values, std::span<const ValueType> types) {
  constexpr std::size_t kLongestShortText = 4000;  // characters; a longer one is of a type of its own
  wide_texts_.assign(values.size(), {});
  texts_.assign(values.size(), {});
  lengths_.assign(values.size(), SQL_NULL_DATA);
  for (std::size_t i = 0; i < values.size(); ++i) {
    SQLSMALLINT form = SQL_C_CHAR, type = SQL_BIGINT;
    SQLULEN size = 19;
    SQLSMALLINT decimals = 0;
    SQLPOINTER place = texts_[i].data();
    switch (types[i]) {
      case ValueType::text: {
        if (values[i]) wide_texts_[i] = wide(*values[i]);
        place = wide_texts_[i].data();
        const std::size_t length = wide_texts_[i].size();
        form = SQL_C_WCHAR;
        type = length > kLongestShortText ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
        size = std::max<std::size_t>(length, 1);
        if (values[i]) lengths_[i] = static_cast<SQLLEN>(length * sizeof(char16_t));
        break;
      }
      case ValueType::whole:
        break;
      case ValueType::real:
        type = SQL_DOUBLE;
        size = 53;
        break;
      case ValueType::money:
        type = SQL_NUMERIC;
        decimals = 4;
        break;
      case ValueType::date:
        type = SQL_TYPE_TIMESTAMP;
        break;
    }
    if (form == SQL_C_CHAR && values[i]) {
      texts_[i] = *values[i];
      // "2026-07-01T08:30:00" has a blank there.
      if (types[i] == ValueType::date) std::ranges::replace(texts_[i], 'T', ' ');
      place = texts_[i].data();
      lengths_[i] = static_cast<SQLLEN>(texts_[i].size());
    }
    const SQLRETURN bound = SQLBindParameter(statement_, static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT, form, type,
                                             size, decimals, place, 0, &lengths_[i]);
    if (!SQL_SUCCEEDED(bound)) fail(table_);
  }
}

// A driver knows whole seconds only: this is for a server that does not answer to `SQLCancel`, which the watch calls.
void Connection::limit_time(Ending ending) {
  ending_ = ending;
  watch_.begin_statement();
  const auto left = ending == Ending::cancelled ? call_time_left() : std::nullopt;
  const SQLULEN seconds =
      left ? static_cast<SQLULEN>(std::max<std::int64_t>(std::chrono::ceil<std::chrono::seconds>(*left).count(), 1))
           : 0;
  if (seconds == std::exchange(time_limit_, seconds)) return;
  SQLSetStmtAttr(statement_, SQL_ATTR_QUERY_TIMEOUT, number(seconds), SQL_IS_UINTEGER);
}

template <class Call>
SQLRETURN Connection::wait(Call call) {
  if (ending_ == Ending::awaited) return call();
  watch_.begin_waiting();
  const SQLRETURN done = call();
  watch_.end_waiting();
  return done;
}

void Connection::describe() {
  given_.clear();
  SQLSMALLINT count = 0;
  if (!SQL_SUCCEEDED(SQLNumResultCols(statement_, &count))) fail(table_);
  for (SQLSMALLINT i = 1; i <= count; ++i) {
    SQLLEN type = SQL_UNKNOWN_TYPE;
    SQLColAttributeW(statement_, static_cast<SQLUSMALLINT>(i), SQL_DESC_CONCISE_TYPE, nullptr, 0, nullptr, &type);
    given_.push_back(static_cast<SQLSMALLINT>(type));
  }
}

std::vector<Column> Connection::columns() {
  std::vector<Column> columns;
  for (std::size_t i = 1; i <= given_.size(); ++i) {
    std::u16string name(256, u'\0');
    SQLSMALLINT length = 0, type = 0, decimals = 0, nullable = 0;
    SQLULEN size = 0;
    if (!SQL_SUCCEEDED(SQLDescribeColW(statement_, static_cast<SQLUSMALLINT>(i), units_of(name),
                                       static_cast<SQLSMALLINT>(name.size()), &length, &type, &size, &decimals,
                                       &nullable)))
      fail(table_);
    name.resize(std::min<std::size_t>(static_cast<std::size_t>(length), name.size() - 1));
    Column& column = columns.emplace_back();
    column.name = narrow(name);
    column.type = type_of(type, size, decimals);
    column.nullable = nullable != SQL_NO_NULLS;
    // A long text has no width.
    constexpr SQLULEN kWidest = 4000;
    if (column.type == ColumnType::text && size <= kWidest) column.width = static_cast<std::int32_t>(size);
  }
  return columns;
}

std::int64_t Connection::changed() {
  SQLLEN rows = 0;
  SQLRowCount(statement_, &rows);
  return std::max<std::int64_t>(rows, 0);
}

bool Connection::next_answer() {
  given_.clear();
  const SQLRETURN more = SQLMoreResults(statement_);
  if (more == SQL_NO_DATA) return false;
  if (!SQL_SUCCEEDED(more)) fail(table_);
  describe();
  return true;
}

bool Connection::fetch() {
  const SQLRETURN fetched = wait([&] { return SQLFetch(statement_); });
  // A driver that was told to stop may have thrown the rest away.
  if (fetched == SQL_NO_DATA && watch_.has_cancelled()) check_call_limit_now();
  if (fetched == SQL_NO_DATA) return false;
  if (!SQL_SUCCEEDED(fetched)) fail(table_);
  return true;
}

void Connection::close() noexcept {
  given_.clear();
  SQLFreeStmt(statement_, SQL_CLOSE);
  SQLFreeStmt(statement_, SQL_RESET_PARAMS);
}

void Connection::cancel() noexcept {
  SQLCancel(statement_);
  close();
}

// Values

bool Connection::has_text(std::size_t column, std::string& out) {
  std::array<char, 128> room{};
  SQLLEN length = 0;
  if (!SQL_SUCCEEDED(SQLGetData(statement_, static_cast<SQLUSMALLINT>(column + 1), SQL_C_CHAR, room.data(),
                                static_cast<SQLLEN>(room.size()), &length)))
    fail(table_);
  if (length == SQL_NULL_DATA) return false;
  out = room.data();
  return true;
}

// A long text comes in pieces, which may end in the middle of a character.
bool Connection::has_wide_text(std::size_t column, std::string& out) {
  std::u16string text;
  std::array<char16_t, 4096> room;
  for (;;) {
    SQLLEN length = 0;
    const SQLRETURN got = SQLGetData(statement_, static_cast<SQLUSMALLINT>(column + 1), SQL_C_WCHAR, room.data(),
                                     static_cast<SQLLEN>(sizeof room), &length);
    if (got == SQL_NO_DATA) break;
    if (!SQL_SUCCEEDED(got)) fail(table_);
    if (length == SQL_NULL_DATA) return false;
    constexpr std::size_t kMost = room.size() - 1;  // behind it stands a zero
    const std::size_t units =
        length == SQL_NO_TOTAL ? kMost : std::min(static_cast<std::size_t>(length) / sizeof(char16_t), kMost);
    text.append(room.data(), units);
    if (got == SQL_SUCCESS) break;
  }
  out = narrow(text);
  return true;
}

void Connection::read(std::size_t column, ColumnType type, Variant& out) {
  const GivenType given = given_type(given_[column]);
  if (given == GivenType::real && (type == ColumnType::real || type == ColumnType::unknown)) {
    SQLDOUBLE number = 0;
    SQLLEN length = 0;
    if (!SQL_SUCCEEDED(
            SQLGetData(statement_, static_cast<SQLUSMALLINT>(column + 1), SQL_C_DOUBLE, &number, 0, &length)))
      fail(table_);
    if (length == SQL_NULL_DATA)
      out = kNull;
    else
      out = number;
    return;
  }
  std::string text;
  const bool is_there = given == GivenType::text ? has_wide_text(column, text) : has_text(column, text);
  if (!is_there) {
    out = kNull;
    return;
  }
  read_value(text, type, given, out);
}

// Statements of the session's own

void Connection::control(const std::string& text, Ending ending) {
  execute(text, {}, {}, nullptr, ending);
  while (next_answer()) {
  }
  close();
}

std::vector<SentValues> Connection::rows(const std::string& text, const SentValues& values, Ending ending) {
  const std::vector<ValueType> types(values.size(), ValueType::text);
  execute(text, values, types, nullptr, ending);
  std::vector<SentValues> rows;
  while (fetch()) {
    SentValues& row = rows.emplace_back();
    for (std::size_t column = 0; column < given_.size(); ++column) {
      std::string value;
      const bool is_there = has_wide_text(column, value);
      row.push_back(is_there ? std::optional(std::move(value)) : std::nullopt);
    }
  }
  close();
  return rows;
}

std::string Connection::server_name() const {
  std::u16string name(512, u'\0');
  SQLSMALLINT length = 0;
  if (!SQL_SUCCEEDED(SQLGetInfoW(connection_, SQL_SERVER_NAME, name.data(),
                                 static_cast<SQLSMALLINT>(name.size() * sizeof(char16_t)), &length)))
    return {};
  name.resize(std::min<std::size_t>(static_cast<std::size_t>(length) / sizeof(char16_t), name.size() - 1));
  return narrow(name);
}

bool Connection::has_ended() noexcept {
  if (lost_) return true;
  try {
    control("SELECT 1", Ending::awaited);
    return false;
  } catch (...) {
    return true;
  }
}

// Failures

Diagnosis Connection::told(SQLSMALLINT kind, SQLHANDLE handle) const {
  Diagnosis told;
  for (SQLSMALLINT record = 1;; ++record) {
    std::array<SQLWCHAR, 6> state{};
    std::u16string message(SQL_MAX_MESSAGE_LENGTH * 4, u'\0');
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    if (!SQL_SUCCEEDED(SQLGetDiagRecW(kind, handle, record, state.data(), &native, units_of(message),
                                      static_cast<SQLSMALLINT>(message.size()), &length)))
      break;
    message.resize(std::min<std::size_t>(static_cast<std::size_t>(length), message.size() - 1));
    Diagnosis one{std::string(state.begin(), state.begin() + 5), native, words_of_server(narrow(message))};
    // Some records only say that a statement was ended, or what is set by now.
    constexpr std::int32_t kEnded = 3621, kDatabase = 5701, kLanguage = 5703;
    const bool says_more = native != kEnded && native != kDatabase && native != kLanguage;
    if (told.state.empty() || (says_more && told.native == 0 && native != 0)) told = std::move(one);
  }
  return told;
}

void Connection::fail(const TableInfo* table) {
  diagnosis_ = told(SQL_HANDLE_STMT, statement_);
  close();
  SQLUINTEGER dead = SQL_CD_FALSE;
  SQLGetConnectAttrW(connection_, SQL_ATTR_CONNECTION_DEAD, &dead, SQL_IS_UINTEGER, nullptr);
  // A server that is being shut down says so before it goes.
  const std::string& state = diagnosis_.state;
  lost_ = dead == SQL_CD_TRUE || state.starts_with("08") || state == "57P01" || state == "57P02" || state == "57P03";
  // A server that does not end its statement in time loses its connection, too.
  if (watch_.has_cancelled() || state == "HYT00") check_call_limit_now();
  if (lost_) raise_lost();
  throw Raised(of_this_store(failure_of_(diagnosis_, label_, table)));
}

void Connection::raise_lost() {
  raise_store_failure(at_the_start(label_) +
                      " has ended the connection. What was not committed is undone there. See what stands, then "
                      "repeat the call" +
                      (diagnosis_.words.empty() ? "" : " (" + diagnosis_.words + ")"));
}

}  // namespace mercato::store::odbc
