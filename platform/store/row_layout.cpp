#include "platform/store/row_layout.h"

#include <bit>

#include "frame/types/text.h"

namespace mercato::store {
namespace {

constexpr std::uint32_t kFree = UINT32_MAX;

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::size_t hash_of_name(std::string_view name) {
  std::uint64_t hash = 14695981039346656037u;
  for (char c : name) hash = (hash ^ static_cast<unsigned char>(upper(c))) * 1099511628211u;
  return static_cast<std::size_t>(hash ^ (hash >> 32));
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
    if (text::equal_names(columns_[index_[slot]].name, name)) return index_[slot];
  return std::nullopt;
}

std::optional<std::size_t> TableInfo::find(std::string_view column_name) const {
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (text::equal_names(columns[i].name, column_name)) return i;
  return std::nullopt;
}

}  // namespace mercato::store
