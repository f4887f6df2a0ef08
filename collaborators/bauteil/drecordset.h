// SPDX-License-Identifier: Apache-2.0
// Bauteil.DRecordset: runs a statement and gives its rows page by page. Only the rows of one page are held; each move
// runs the statement anew, so that a page shows the rows as they are then. One thread at a time.
//
// Rows are ordered by the sort fields, then by the key fields, so that a row stands on one page only. A statement with
// an order of its own keeps it when there are no sort fields.
//
// What has to survive between two requests is a text: the position, the page size and the sort fields. The statement is
// not in it: whoever opens the query knows it, and a text that went through a browser cannot bring one in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mercato/class_table.h"
#include "mercato/recordset.h"

namespace mercato::collaborators {

class DRecordset : public ComponentOf<DRecordset> {
 public:
  static constexpr std::string_view kClassName = "DRecordset";
  static const ClassTable& table();

  // Settings. They count from the next OpenQuery on.
  void SetConnectionString(const std::string& text);
  // Takes over position, page size and sort fields of an earlier object. The empty text is no state and changes
  // nothing. Raises 5, source "Bauteil.DRecordset", for a text that is no state; nothing is changed then.
  void SetPersistedState(const std::string& state);
  // A size below 1 leaves the size as it is: that of the persisted state, else 10.
  void SetPageSize(std::int16_t rows);
  // "COLUMN, COLUMN DESC": columns of the result, in any case, each with an optional ASC or DESC. Empty: none.
  void SetSortFields(const std::string& fields);

  // Forgets the position: back to the first page.
  void Reset();
  // Goes to the position of the state when `position` is -1, else to the page of that number. Page size and sort fields
  // stay. Raises 5 as SetPersistedState does, and for another position below 1.
  void RestoreState(std::int16_t position, const std::string& state);
  // Runs the statement and reads the page of the position; when there are fewer rows by now, the last page.
  // Key fields, "COLUMN, COLUMN", that are not in the result do not take part in the order.
  // Raises 5, source "Bauteil.DRecordset", for sort fields that are no columns of the result, and what the store
  // raises.
  void OpenQuery(const std::string& statement, const std::string& key_fields);

  // The page. All of these raise kObjectClosed until a query is open.
  RecordsetPtr PageRows();    // a disconnected recordset, the caller's own
  bool NextPage();            // false on the last page, which is then read anew
  bool PreviousPage();        // false on the first page
  std::int32_t PageNumber();  // from 1, also when there are no rows
  std::int32_t PageCount();   // 0 when there are no rows
  std::int32_t RowCount();    // of the query, when the page was read
  // The state for a later request. Needs no open query.
  std::string PersistedState();

 private:
  struct OpenedQuery {
    Sql statement;
    std::int64_t page_size;
    // Of the page:
    store::RowLayoutPtr layout = {};
    std::vector<std::vector<Variant>> rows = {};
    std::int64_t row_count = 0;
  };

  OpenedQuery& opened();
  std::int64_t page_number();
  void go_to_page(std::int64_t number);
  void go_to_row(std::int64_t row);

  std::string connection_string_;
  std::string sort_fields_;
  std::int64_t page_size_ = 10;
  std::int64_t first_row_ = 0;  // of the page, from 0
  std::optional<OpenedQuery> opened_;
};

}  // namespace mercato::collaborators
