// SPDX-License-Identifier: Apache-2.0
#include "collaborators/bauteil/drecordset.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

#include "collaborators/bauteil/page_order.h"
#include "frame/lib_sql.h"
#include "mercato/raised_error.h"
#include "platform/store/driver.h"

namespace mercato::collaborators {
namespace {

constexpr std::int16_t kPositionOfState = -1;
constexpr int kStateVersion = 1;

struct State {
  std::int64_t row;
  std::int64_t page_size;
  std::string sort_fields;
};

std::string write_state(const State& state) {
  return nlohmann::json{
      {"version", kStateVersion}, {"row", state.row}, {"pageSize", state.page_size}, {"sortFields", state.sort_fields}}
      .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Nothing for a text that is no state.
std::optional<State> parse_state(const std::string& text) {
  const auto json = nlohmann::json::parse(text, nullptr, false);
  if (!json.is_object() || json.size() != 4) return std::nullopt;
  const auto whole_number = [&](const char* key, std::int64_t least, std::int64_t most) -> std::optional<std::int64_t> {
    const auto found = json.find(key);
    if (found == json.end() || !found->is_number_unsigned()) return std::nullopt;
    const auto number = found->get<std::uint64_t>();
    if (number < static_cast<std::uint64_t>(least) || number > static_cast<std::uint64_t>(most)) return std::nullopt;
    return static_cast<std::int64_t>(number);
  };
  const auto version = whole_number("version", kStateVersion, kStateVersion);
  const auto row = whole_number("row", 0, std::numeric_limits<std::int32_t>::max());
  const auto page_size = whole_number("pageSize", 1, std::numeric_limits<std::int16_t>::max());
  const auto sort_fields = json.find("sortFields");
  if (!version || !row || !page_size || sort_fields == json.end() || !sort_fields->is_string()) return std::nullopt;
  return State{*row, *page_size, sort_fields->get<std::string>()};
}

State read_state(const std::string& text) {
  auto state = parse_state(text);
  if (!state)
    raise(error_number::kInvalidArgument, "Bauteil.DRecordset",
          "The persisted state is not one that a DRecordset wrote");
  return *std::move(state);
}

std::int64_t page_count_of(std::int64_t rows, std::int64_t page_size) { return (rows + page_size - 1) / page_size; }

PagedRows rows_of(const std::string& connection_string, const std::string& statement) {
  const ConnectionPtr connection = open_connection(connection_string);
  const auto cursor = connection->session().execute(Sql::verbatim(statement)).cursor;
  if (!cursor)
    raise(error_number::kStatementRefused, "Bauteil.DRecordset", "The statement of a DRecordset has to yield rows");
  PagedRows rows{cursor->layout(), std::nullopt};
  if (const store::TableInfo* table = connection->session().table(rows.layout->table())) rows.table = *table;
  return rows;
}

}  // namespace

const ClassTable& DRecordset::table() {
  static const ClassTable table =
      ClassTable::of<DRecordset>("Bauteil.DRecordset", "{E07A4C36-B2D8-4F15-80A9-3C5E6D91F7B2}",
                                 TransactionAttribute::undeclared)
          .collaborator()
          .method("SetConnectionString", &DRecordset::SetConnectionString, {"text"})
          .method("SetPersistedState", &DRecordset::SetPersistedState, {"state"})
          .method("SetPageSize", &DRecordset::SetPageSize, {"rows"})
          .method("Reset", &DRecordset::Reset)
          .method("SetSortFields", &DRecordset::SetSortFields, {"fields"})
          .method("OpenQuery", &DRecordset::OpenQuery, {"statement", "key_fields"})
          .method("RestoreState", &DRecordset::RestoreState, {"position", "state"})
          .method("PageRows", &DRecordset::PageRows)
          .method("NextPage", &DRecordset::NextPage)
          .method("PreviousPage", &DRecordset::PreviousPage)
          .method("PageNumber", &DRecordset::PageNumber)
          .method("PageCount", &DRecordset::PageCount)
          .method("RowCount", &DRecordset::RowCount)
          .method("PersistedState", &DRecordset::PersistedState);
  return table;
}

void DRecordset::SetConnectionString(const std::string& text) { connection_string_ = text; }

void DRecordset::SetPersistedState(const std::string& state) {
  if (state.empty()) return;
  State restored = read_state(state);
  first_row_ = restored.row;
  page_size_ = restored.page_size;
  sort_fields_ = std::move(restored.sort_fields);
}

void DRecordset::SetPageSize(std::int16_t rows) {
  if (rows >= 1) page_size_ = rows;
}

void DRecordset::SetSortFields(const std::string& fields) { sort_fields_ = fields; }

void DRecordset::Reset() { go_to_row(0); }

void DRecordset::RestoreState(std::int16_t position, const std::string& state) {
  if (position == kPositionOfState) {
    if (!state.empty()) go_to_row(read_state(state).row);
    return;
  }
  if (position < 1)
    raise(error_number::kInvalidArgument, "Bauteil.DRecordset", "There is no page " + std::to_string(position));
  go_to_row((position - 1) * (opened_ ? opened_->page_size : page_size_));
}

void DRecordset::OpenQuery(const std::string& statement, const std::string& key_fields) {
  opened_.reset();
  const PagedRows rows = rows_of(connection_string_, statement);
  opened_ = OpenedQuery{with_page_order(statement, rows, sort_fields_, key_fields), page_size_};
  try {
    go_to_row(first_row_);
  } catch (const Raised&) {
    opened_.reset();
    throw;
  }
}

RecordsetPtr DRecordset::PageRows() { return Recordset::from_rows(opened().layout, opened().rows); }

bool DRecordset::NextPage() {
  const std::int64_t next = page_number() + 1;
  go_to_page(next);
  return page_number() == next;
}

bool DRecordset::PreviousPage() {
  const std::int64_t number = page_number();
  if (number == 1) return false;
  go_to_page(number - 1);
  return true;
}

std::int32_t DRecordset::PageNumber() { return static_cast<std::int32_t>(page_number()); }

std::int32_t DRecordset::PageCount() {
  return static_cast<std::int32_t>(page_count_of(opened().row_count, opened().page_size));
}

std::int32_t DRecordset::RowCount() { return static_cast<std::int32_t>(opened().row_count); }

std::string DRecordset::PersistedState() { return write_state({first_row_, page_size_, sort_fields_}); }

DRecordset::OpenedQuery& DRecordset::opened() {
  if (!opened_) raise(error_number::kObjectClosed, "Bauteil.DRecordset", "No query is open: OpenQuery comes first");
  return *opened_;
}

std::int64_t DRecordset::page_number() { return first_row_ / opened().page_size + 1; }

void DRecordset::go_to_row(std::int64_t row) {
  if (opened_)
    go_to_page(row / opened_->page_size + 1);
  else
    first_row_ = row;
}

// One pass over the rows counts all of them and reads those of the page.
void DRecordset::go_to_page(std::int64_t number) {
  OpenedQuery& query = opened();
  const ConnectionPtr connection = open_connection(connection_string_);
  const std::int64_t first = (number - 1) * query.page_size;
  const auto cursor = connection->session().execute(query.statement).cursor;
  std::vector<std::vector<Variant>> rows;
  std::int64_t count = 0;
  for (; cursor->next(); ++count)
    if (count >= first && count < first + query.page_size) cursor->read(rows.emplace_back());
  if (count <= first && number > 1) return go_to_page(std::max<std::int64_t>(page_count_of(count, query.page_size), 1));
  query.layout = cursor->layout();
  query.rows = std::move(rows);
  query.row_count = count;
  first_row_ = first;
}

}  // namespace mercato::collaborators
