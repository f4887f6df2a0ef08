// SPDX-License-Identifier: Apache-2.0
#include "frame/proposed_rows.h"

#include "platform/store/driver.h"

namespace mercato {

std::optional<std::vector<std::int64_t>> rows_that_may_hold(const ConnectionPtr& connection, std::string_view table,
                                                            std::span<const std::string> words, std::size_t most) {
  return connection->reporting([&]() -> std::optional<std::vector<std::int64_t>> {
    store::Session& session = connection->session();
    const store::TableInfo* const info = session.table(table);
    if (info == nullptr) return std::nullopt;
    return session.proposals(*info, words, most);
  });
}

}  // namespace mercato
