// SPDX-License-Identifier: Apache-2.0
#include "mercato/collection.h"

#include <new>
#include <utility>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato {

void Collection::Add(Variant item) { entries_.push_back({std::nullopt, std::move(item)}); }

void Collection::Add(Variant item, std::string key) {
  const auto [position, is_new] = positions_.emplace(text::to_upper(key), entries_.size());
  if (!is_new) raise(error_number::kDuplicateKey);
  try {
    entries_.push_back({std::move(key), std::move(item)});
  } catch (const std::bad_alloc&) {
    positions_.erase(position);  // an index without an entry
    throw;
  }
}

const Collection::Entry& Collection::entry_at(std::int32_t position) const {
  if (position < 1 || position > Count()) raise(error_number::kSubscriptOutOfRange);
  return entries_[static_cast<std::size_t>(position - 1)];
}

const Variant& Collection::Item(std::int32_t position) const { return entry_at(position).item; }

const Variant& Collection::Item(std::string_view key) const {
  const auto found = positions_.find(text::to_upper(key));
  if (found == positions_.end()) raise(error_number::kInvalidArgument);
  return entries_[found->second].item;
}

const Variant& Collection::Item(const Variant& position_or_key) const {
  return position_or_key.is_text() ? Item(std::string_view(position_or_key.text_value()))
                                   : Item(position_or_key.to_long());
}

const std::optional<std::string>& Collection::key_at(std::int32_t position) const { return entry_at(position).key; }

}  // namespace mercato
