// SPDX-License-Identifier: Apache-2.0
// The order of a paged query: a statement with the sort fields, then the key fields, behind it. A pure function.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "mercato/statement.h"
#include "platform/store/row_layout.h"

namespace mercato::collaborators {

// What is known of a statement's rows.
struct PagedRows {
  store::RowLayoutPtr layout;
  std::optional<store::TableInfo> table;  // that all of them come from, when there is one
};

// The statement, ordered by the sort fields, then by those key fields that are in its result. A sort field is a column
// of the result or of the one table, or a qualified name that the store finds in the statement. An order of the
// statement's own is replaced by sort fields, and kept when there are none. Only names get into the statement.
// Raises 5, source "Bauteil.DRecordset", for a sort field that is none; 0x80040E14 for a statement that cannot be cut
// into words.
Sql with_page_order(const std::string& statement, const PagedRows& rows, std::string_view sort_fields,
                    std::string_view key_fields);

}  // namespace mercato::collaborators
