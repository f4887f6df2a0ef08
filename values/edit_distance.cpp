// SPDX-License-Identifier: Apache-2.0
#include "values/edit_distance.h"

#include <algorithm>
#include <utility>

#include "values/text.h"

namespace mercato::text {

Characters characters_of(std::string_view text) {
  Characters characters;
  for (; !text.empty(); text.remove_prefix(characters.back().size())) characters.push_back(left(text, 1));
  return characters;
}

std::size_t edit_distance(const Characters& left, const Characters& right, std::size_t most) {
  if (std::max(left.size(), right.size()) - std::min(left.size(), right.size()) > most) return most + 1;
  std::vector<std::size_t> before_last, last(right.size() + 1), row(right.size() + 1);
  for (std::size_t j = 0; j < last.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= left.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const bool same = left[i - 1] == right[j - 1];
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
      if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
        row[j] = std::min(row[j], before_last[j - 2] + 1);
    }
    if (std::ranges::min(row) > most) return most + 1;
    before_last = std::exchange(last, row);
  }
  return last.back();
}

}  // namespace mercato::text
