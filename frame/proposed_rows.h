// SPDX-License-Identifier: Apache-2.0
// The text index of a table, for who looks for words in it: which rows may hold them. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/connection.h"

namespace mercato {

// The assigned keys of at most `most` rows that may hold all of these words: all that do and a few others, in the order
// of the keys, the least ones when there are more. Nothing when that can only be answered by reading: no word has three
// letters or digits, or the table has no text index. Raises what the store raises.
std::optional<std::vector<std::int64_t>> rows_that_may_hold(const ConnectionPtr& connection, std::string_view table,
                                                            std::span<const std::string> words, std::size_t most);

}  // namespace mercato
