// SPDX-License-Identifier: Apache-2.0
// The one sequence of calls behind all paged lists: a DRecordset, the page's own when the caller brought a page, is set
// up, sent to the position where the list was left, and opened. Votes and tails are the methods' own. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "mercato/component.h"
#include "mercato/statement.h"
#include "mercato/variant.h"

namespace mercato {

struct PagedQuery {
  Sql statement;
  std::string key_fields;
  std::optional<std::string> sort_fields = {};  // left out, the list keeps its order; "" takes the order away
};

struct PageRequest {
  ComponentPtr page;  // a Page, or nothing
  std::string persisted_state;
  std::int32_t page_size;  // narrowed to 16 bits
};

// The sort fields of a list that hands them over only when there are any.
inline std::optional<std::string> unless_empty(std::string sort_fields) {
  if (sort_fields.empty()) return std::nullopt;
  return sort_fields;
}

// Returns the opened DRecordset. `connection_string` is asked only when there is no page. Raises 6 for a page size
// beyond 16 bits, 0x80040E14 for a statement in which a caller's clause is more than a clause, and what the page and
// the DRecordset raise.
ComponentPtr PagedRead(const PagedQuery& query, const PageRequest& request, const std::string& (*connection_string)());

// The statement, its rows restricted to these ids when any were given. The ids are joined with a blank: one works, and
// callers with several put the commas into the elements themselves.
Sql with_ids(Sql statement, std::string_view column, const Variant& ids);

}  // namespace mercato
