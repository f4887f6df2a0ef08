// SPDX-License-Identifier: Apache-2.0
// The ids of products that may fit, the least first: from the text index where the words and the store allow it, else
// by reading. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "mercato/recordset.h"
#include "mercato/search.h"

namespace mercato::search {

class Candidates {
 public:
  // Squeezed words. Only ids above `after`.
  Candidates(ConnectionPtr connection, std::vector<std::string> words, const ProductSearch& search,
             std::int32_t after = 0);

  // The next ones, at most so many; none at the end.
  std::vector<std::int32_t> next(std::size_t most);

 private:
  bool propose_more();
  void begin_reading(const ProductSearch& search);

  ConnectionPtr connection_;
  std::vector<std::string> words_;
  std::int32_t last_;  // of those that were told

  std::vector<std::int64_t> proposed_;  // by the index, which was asked for so many
  std::size_t asked_ = 0;
  std::size_t next_ = 0;  // of `proposed_` to be told

  RecordsetPtr read_;  // when they are found by reading, else nothing
};

}  // namespace mercato::search
