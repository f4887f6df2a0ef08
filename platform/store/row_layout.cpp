// SPDX-License-Identifier: Apache-2.0
#include "platform/store/row_layout.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "values/text.h"

namespace mercato::store {
namespace {

constexpr std::uint32_t kFree = UINT32_MAX;

// The same for a name in any case: the bit in which the cases of a letter differ is set in every byte. That it is set
// in other characters too only makes some names meet in one slot.
std::size_t hash_of_name(std::string_view name) {
  constexpr std::uint64_t kCaseBits = 0x2020202020202020u;
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15u;
  std::uint64_t hash = name.size();
  const auto mix = [&hash](std::uint64_t word) { hash = std::rotl((hash ^ (word | kCaseBits)) * kFactor, 31); };
  std::uint64_t word = 0;
  if (name.size() >= sizeof word) {
    // Eight bytes at a time, the last eight overlapping those before.
    for (std::size_t i = 0; i + sizeof word < name.size(); i += sizeof word) {
      std::memcpy(&word, name.data() + i, sizeof word);
      mix(word);
    }
    std::memcpy(&word, name.data() + name.size() - sizeof word, sizeof word);
  } else {
    for (const char c : name) word = (word << 8) | static_cast<unsigned char>(c);
  }
  mix(word);
  return static_cast<std::size_t>(hash ^ (hash >> 32));
}

// Callers nearly always spell a name as the table does.
bool same_name(std::string_view left, std::string_view right) {
  return left == right || text::equal_names(left, right);
}

}  // namespace

RowLayout::RowLayout(std::vector<Column> columns, std::string table)
    : columns_(std::move(columns)), index_(std::bit_ceil(columns_.size() * 2 + 1), kFree), table_(std::move(table)) {
  const std::size_t mask = index_.size() - 1;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (find(columns_[i].name)) continue;
    std::size_t slot = hash_of_name(columns_[i].name) & mask;
    while (index_[slot] != kFree) slot = (slot + 1) & mask;
    index_[slot] = static_cast<std::uint32_t>(i);
  }
}

std::optional<std::size_t> RowLayout::find(std::string_view name) const {
  const std::size_t mask = index_.size() - 1;
  for (std::size_t slot = hash_of_name(name) & mask; index_[slot] != kFree; slot = (slot + 1) & mask)
    if (same_name(columns_[index_[slot]].name, name)) return index_[slot];
  return std::nullopt;
}

bool TableInfo::has_text_index() const { return std::ranges::any_of(columns, &Column::in_text_index); }

std::optional<std::size_t> TableInfo::find(std::string_view column_name) const {
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (same_name(columns[i].name, column_name)) return i;
  return std::nullopt;
}

}  // namespace mercato::store
