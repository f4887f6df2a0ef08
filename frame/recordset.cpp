// SPDX-License-Identifier: Apache-2.0
#include "mercato/recordset.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/store/call_limit.h"
#include "platform/store/driver.h"
#include "platform/store/row_observer.h"

namespace mercato {
namespace {

[[noreturn]] void raise_no_such_field(std::string_view field) {
  std::string description(error_number::default_description(error_number::kNoSuchField));
  description += ": ";
  description += field;
  raise(error_number::kNoSuchField, {}, std::move(description));
}

bool allows_writing(LockType lock) {
  return lock == LockType::pessimistic || lock == LockType::optimistic || lock == LockType::batch_optimistic;
}

bool is_forward_only(CursorType cursor) {
  return cursor == CursorType::forward_only || cursor == CursorType::unspecified;
}

}  // namespace

struct Recordset::RowState {
  store::RowIdentity identity;
  std::vector<std::size_t> changed;  // fields that are not in the store yet
  bool is_new = false;               // the row itself is not
  bool is_dirty() const { return is_new || !changed.empty(); }
};

Recordset::Recordset() = default;
Recordset::~Recordset() = default;

// Opening and closing

std::shared_ptr<Recordset> Recordset::create() { return std::make_shared<Recordset>(); }

void Recordset::Open(const Sql& iSource, const ConnectionPtr& iConnection, CursorType iCursorType, LockType iLockType,
                     std::int32_t /*iOptions*/) {
  if (open_) raise(error_number::kObjectOpen);
  if (!iConnection || iConnection->State() == 0) raise(error_number::kObjectClosed);
  const bool updatable = allows_writing(iLockType);
  store::Execution execution =
      iConnection->reporting([&] { return iConnection->session().execute(iSource, {.identified = updatable}); });
  connection_ = iConnection;
  if (!execution.cursor) return;

  cursor_ = std::move(execution.cursor);
  layout_ = cursor_->layout();
  updatable_ = updatable;
  batch_ = iLockType == LockType::batch_optimistic;
  open_ = true;
  advance();
  was_empty_ = at_end();
  if (updatable || location_ == CursorLocation::client || !is_forward_only(iCursorType)) fetch_rest();
}

void Recordset::Open(const Sql& iSource, const std::string& iConnectionString, CursorType iCursorType,
                     LockType iLockType, std::int32_t iOptions) {
  if (open_) raise(error_number::kObjectOpen);
  const ConnectionPtr connection = Connection::create();
  connection->Open(iConnectionString, {}, {}, -1);
  Open(iSource, connection, iCursorType, iLockType, iOptions);
}

std::shared_ptr<Recordset> Recordset::from_rows(store::RowLayoutPtr layout, std::vector<Row> rows) {
  auto recordset = create();
  recordset->layout_ = std::move(layout);
  recordset->rows_ = std::move(rows);
  recordset->open_ = true;
  recordset->was_empty_ = recordset->rows_.empty();
  return recordset;
}

std::shared_ptr<Recordset> Recordset::streaming(ConnectionPtr connection, std::unique_ptr<store::Cursor> cursor) {
  auto recordset = create();
  recordset->connection_ = std::move(connection);
  if (!cursor) return recordset;
  recordset->cursor_ = std::move(cursor);
  recordset->layout_ = recordset->cursor_->layout();
  recordset->open_ = true;
  recordset->advance();
  recordset->was_empty_ = recordset->at_end();
  return recordset;
}

void Recordset::Close() {
  require_open();
  open_ = false;
  updatable_ = false;
  batch_ = false;
  has_moved_ = false;
  cursor_.reset();
  rows_.clear();
  states_.clear();
  current_ = 0;
}

// Reading

bool Recordset::Eof() const {
  require_open();
  return at_end();
}

bool Recordset::Bof() const {
  require_open();
  return was_empty_ && at_end();
}

void Recordset::MoveNext() {
  require_open();
  if (at_end()) raise(error_number::kNoCurrentRow);
  write_current_row_if_dirty();
  has_moved_ = true;
  if (cursor_)
    advance();
  else
    ++current_;
}

void Recordset::MoveFirst() {
  require_open();
  if (cursor_ && has_moved_) raise(error_number::kFeatureNotAvailable);
  write_current_row_if_dirty();
  if (rows_.empty()) raise(error_number::kNoCurrentRow);
  current_ = 0;
}

std::size_t Recordset::FieldCount() const {
  require_open();
  return layout_->size();
}

const std::string& Recordset::FieldName(std::size_t position) const {
  require_open();
  if (position >= layout_->size()) raise_no_such_field(std::to_string(position));
  return layout_->columns()[position].name;
}

const Variant& Recordset::Value(std::string_view name) const {
  require_open();
  return Value(position_of(name));
}

const Variant& Recordset::Value(std::size_t position) const {
  require_open();
  store::check_call_limit();
  if (position >= layout_->size()) raise_no_such_field(std::to_string(position));
  if (at_end()) raise(error_number::kNoCurrentRow);
  return rows_[current_][position];
}

const std::vector<Recordset::Row>& Recordset::rows() {
  require_open();
  fetch_rest();
  return rows_;
}

std::int32_t Recordset::RecordCount() const {
  require_open();
  return cursor_ ? -1 : static_cast<std::int32_t>(rows_.size());
}

void Recordset::advance() {
  if (connection_->State() == 0) raise(error_number::kObjectClosed);
  connection_->reporting([this] {
    if (cursor_->next()) {
      store::observe_read_row();
      rows_.resize(1);
      cursor_->read(rows_.front());
    } else {
      cursor_.reset();
      rows_.clear();
    }
  });
}

void Recordset::fetch_rest() {
  if (!cursor_) return;
  try {
    connection_->reporting([this] {
      if (updatable_) states_.push_back({cursor_->identity(), {}, false});
      while (cursor_->next()) {
        store::observe_read_row();
        cursor_->read(rows_.emplace_back());
        if (updatable_) states_.push_back({cursor_->identity(), {}, false});
      }
    });
  } catch (const std::bad_alloc&) {
    Close();  // a part of the rows must not pass for all of them
    throw;
  }
  cursor_.reset();
}

// Writing

void Recordset::AddNew() {
  require_updatable();
  write_current_row_if_dirty();
  rows_.emplace_back(layout_->size(), Variant(kNull));
  try {
    states_.push_back({{}, {}, true});
  } catch (const std::bad_alloc&) {
    rows_.pop_back();  // no row may be without a state
    throw;
  }
  current_ = rows_.size() - 1;
}

void Recordset::SetValue(std::string_view name, const Variant& value) {
  require_updatable();
  const std::size_t position = position_of(name);
  if (at_end()) raise(error_number::kNoCurrentRow);
  rows_[current_][position] = store::to_column_type(value, layout_->columns()[position].type);
  std::vector<std::size_t>& changed = states_[current_].changed;
  if (std::ranges::find(changed, position) == changed.end()) changed.push_back(position);
}

void Recordset::Update() {
  require_updatable();
  if (at_end()) raise(error_number::kNoCurrentRow);
  write_current_row_if_dirty();
}

void Recordset::UpdateBatch() {
  require_updatable();
  for (std::size_t row = 0; row < rows_.size(); ++row)
    if (states_[row].is_dirty()) write_row(row);
}

void Recordset::write_current_row_if_dirty() {
  if (updatable_ && !batch_ && connection_ && !at_end() && states_[current_].is_dirty()) write_row(current_);
}

void Recordset::write_row(std::size_t row) {
  if (!connection_ || connection_->State() == 0) raise(error_number::kObjectClosed);
  connection_->reporting([&] {
    store::Session& session = connection_->session();
    const store::TableInfo* const table = session.table(layout_->table());
    if (!table)
      raise(error_number::kStoreFailure, {}, "There is no table " + layout_->table() + " in the store any more");
    RowState& state = states_[row];
    std::vector<std::size_t> columns;
    std::vector<Variant> values;
    columns.reserve(state.changed.size());
    values.reserve(state.changed.size());
    for (const std::size_t position : state.changed) {
      const std::string& name = layout_->columns()[position].name;
      // The fields of a whole row stand where the table's columns do.
      const bool in_place = position < table->columns.size() && table->columns[position].name == name;
      const auto column = in_place ? position : table->find(name);
      // A computed field has no column to go to.
      if (!column) raise_no_such_field(name);
      columns.push_back(*column);
      values.push_back(rows_[row][position]);
    }
    if (state.is_new) {
      state.identity = session.insert_row(*table, columns, values);
      for (const store::Column& column : table->columns)
        if (const auto position = column.assigned ? layout_->find(column.name) : std::nullopt)
          rows_[row][*position] = Variant::from_integer(state.identity.number);
    } else {
      session.update_row(*table, state.identity, columns, values);
    }
    state.changed.clear();
    state.is_new = false;
  });
}

void Recordset::SetActiveConnection(ConnectionPtr connection) {
  if (open_) fetch_rest();
  connection_ = std::move(connection);
}

// Guards

void Recordset::require_open() const {
  if (!open_) raise(error_number::kObjectClosed);
}

void Recordset::require_updatable() const {
  require_open();
  if (!updatable_) raise(error_number::kFeatureNotAvailable);
}

std::size_t Recordset::position_of(std::string_view name) const {
  const auto position = layout_->find(name);
  if (!position) raise_no_such_field(name);
  return *position;
}

}  // namespace mercato
