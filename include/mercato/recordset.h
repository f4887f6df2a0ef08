// SPDX-License-Identifier: Apache-2.0
// The rows of a query: streamed (forward only), held (client side), or updatable. One thread at a time.
// A recordset cut loose from its connection owns its rows and stays readable.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/connection.h"
#include "mercato/export.h"
#include "mercato/variant.h"

namespace mercato {

/// @cond internal
namespace store {
class Cursor;
class RowLayout;
using RowLayoutPtr = std::shared_ptr<const RowLayout>;
}  // namespace store
/// @endcond

/// Where the rows are kept: in the store, or fetched at once.
enum class CursorLocation : std::int32_t { server = 2, client = 3 };
/// How one moves through the rows: `forward_only` streams them, all others hold them.
enum class CursorType : std::int32_t { unspecified = -1, forward_only = 0, keyset = 1, dynamic = 2, fixed = 3 };
/// Whether rows can be changed, and when changes are written: at once, or by UpdateBatch with `batch_optimistic`.
enum class LockType : std::int32_t {
  unspecified = -1,
  read_only = 1,
  pessimistic = 2,
  optimistic = 3,
  batch_optimistic = 4
};

/// The rows of a query. One thread at a time.
class MERCATO_API Recordset : public Object {
 public:
  /// Use `create`: a recordset is shared.
  Recordset();
  ~Recordset() override;
  /// A new recordset, closed.
  static std::shared_ptr<Recordset> create();
  /// The name of the class at the interface.
  static constexpr std::string_view kClassName = "Recordset";
  std::string_view type_name() const override { return kClassName; }

  /// To be set before Open. With a cursor at the client, all rows are fetched at once.
  void SetCursorLocation(CursorLocation iLocation) { location_ = iLocation; }

  /// Runs the query and stands on its first row. Raises kObjectOpen, kObjectClosed for a closed connection, and what the
  /// store raises.
  /// A cursor with optimistic locks is updatable: it reads one table, or shows distinct rows of one with its key. A
  /// read-only forward-only one streams.
  void Open(const Sql& iSource, const ConnectionPtr& iConnection, CursorType iCursorType, LockType iLockType,
            std::int32_t iOptions);
  /// The same on a connection of its own, which it opens.
  void Open(const Sql& iSource, const std::string& iConnectionString, CursorType iCursorType, LockType iLockType,
            std::int32_t iOptions);
  /// For the library itself: a recordset without a store, made of these rows.
  static std::shared_ptr<Recordset> from_rows(store::RowLayoutPtr layout, std::vector<std::vector<Variant>> rows);
  /// For the library itself: the streamed result of an executed statement.
  static std::shared_ptr<Recordset> streaming(ConnectionPtr connection, std::unique_ptr<store::Cursor> cursor);

  /// 1 when it is open, else 0.
  std::int32_t State() const { return open_ ? 1 : 0; }
  /// Raises kObjectClosed when it is closed.
  void Close();

  /// Whether there is no current row: behind the last one, or in an empty result. Raises kObjectClosed.
  bool Eof() const;  ///< no current row, behind the last one or in an empty result; raises kObjectClosed
  /// Whether the result was empty. Raises kObjectClosed.
  bool Bof() const;
  /// Raises kNoCurrentRow at the end.
  void MoveNext();
  /// Back to the first row. Raises kFeatureNotAvailable on a streamed recordset that has moved.
  void MoveFirst();

  /// Number of columns. Raises kObjectClosed.
  std::size_t FieldCount() const;
  /// The name of the column at a position from 0. Raises kNoSuchField, kObjectClosed.
  const std::string& FieldName(std::size_t position) const;
  /// For the library itself: the columns.
  const store::RowLayoutPtr& layout() const { return layout_; }
  /// The current row's value. Raises kNoSuchField, kNoCurrentRow.
  const Variant& Value(std::string_view name) const;
  /// The same by the column's position from 0.
  const Variant& Value(std::size_t position) const;

  // Writing. Raises kFeatureNotAvailable when the recordset is not updatable.

  /// Begins a new row, which becomes the current one. Raises kFeatureNotAvailable, as all that writes does, when the
  /// recordset is not updatable.
  void AddNew();
  /// Converts to the column's type: raises 13 for what cannot be converted, kValueTooLong is the store's to raise.
  void SetValue(std::string_view name, const Variant& value);
  /// Writes the row under construction, or the changed fields of the current one. An assigned key can be read after it;
  /// other fields that were not set read as Null. With batch locks, and while cut loose, nothing is written before
  /// UpdateBatch. Without a change it does nothing. Moving on, and AddNew, update what was changed; Close drops it.
  /// Raises kNoCurrentRow at the end, and what the store raises: the change is then still there, unwritten.
  void Update();
  /// Writes all changes in the order of the rows. Raises kObjectClosed without an open connection. Rows before one that
  /// fails are written.
  void UpdateBatch();

  /// The connection, or null once cut loose. Setting null fetches what is left and cuts loose; setting a connection
  /// binds again, so that changes of a batch can be written.
  const ConnectionPtr& ActiveConnection() const { return connection_; }
  /// See ActiveConnection.
  void SetActiveConnection(ConnectionPtr connection);

  /// All rows that are held, for handing a disconnected recordset on. Fetches what is left.
  const std::vector<std::vector<Variant>>& rows();
  /// The number of rows; -1 for a streamed recordset, which does not know it.
  std::int32_t RecordCount() const;

 private:
  using Row = std::vector<Variant>;

  struct MERCATO_INTERNAL RowState;  // what an updatable recordset knows of a row besides its values

  void require_open() const;
  void require_updatable() const;
  std::size_t position_of(std::string_view name) const;
  bool at_end() const { return current_ >= rows_.size(); }
  void advance();
  void fetch_rest();
  void write_current_row_if_dirty();
  void write_row(std::size_t row);

  store::RowLayoutPtr layout_;
  ConnectionPtr connection_;
  std::unique_ptr<store::Cursor> cursor_;  // while rows are streamed; `rows_` then holds the current one only
  std::vector<Row> rows_;
  std::vector<RowState> states_;  // one for each row of an updatable recordset, else empty
  std::size_t current_ = 0;
  CursorLocation location_ = CursorLocation::server;
  bool open_ = false;
  bool updatable_ = false;
  bool batch_ = false;
  bool was_empty_ = false;
  bool has_moved_ = false;
};

}  // namespace mercato
