// The order of a paged query: a statement with the sort fields, then the key fields, behind it. A pure function.
#pragma once

#include <string>
#include <string_view>

#include "platform/store/row_layout.h"
#include "platform/store/statement.h"

namespace mercato::collaborators {

// The statement, ordered by the sort fields, then by those key fields that are in its result. An order of its own is
// replaced by sort fields, and kept when there are none. Only names of `result` get into the statement.
// Raises 5, source "Bauteil.DRecordset", for a sort field that is no column of the result or has anything but ASC or
// DESC behind it; 0x80040E14 for a statement that cannot be cut into words.
Sql with_page_order(const std::string& statement, const store::RowLayout& result, std::string_view sort_fields,
                    std::string_view key_fields);

}  // namespace mercato::collaborators
