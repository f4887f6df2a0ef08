// SPDX-License-Identifier: Apache-2.0
// Statements about many ids: the ids come in lists of few lengths, so that the statements have few shapes. Any thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "frame/lib_sql.h"

namespace mercato::search {

inline constexpr std::size_t kShortList = 16;
inline constexpr std::size_t kLongList = 256;

// Runs the statement that `statement_with` makes of each list, which stands in brackets, and hands on each row. A short
// list is filled up with its last id.
template <class StatementWith, class Take>
void for_each_row(const ConnectionPtr& connection, std::span<const std::int32_t> ids, StatementWith statement_with,
                  Take take) {
  while (!ids.empty()) {
    const std::span<const std::int32_t> some = ids.first(std::min(ids.size(), kLongList));
    ids = ids.subspan(some.size());
    const std::size_t length = some.size() <= kShortList ? kShortList : kLongList;
    Sql list("(");
    for (std::size_t place = 0; place < length; ++place) {
      if (place > 0) list << ",";
      list << some[std::min(place, some.size() - 1)];
    }
    list << ")";
    const RecordsetPtr rows = open_read_only(statement_with(list), connection);
    for (; !rows->Eof(); rows->MoveNext()) take(*rows);
    rows->Close();
  }
}

}  // namespace mercato::search
