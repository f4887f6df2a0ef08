// SPDX-License-Identifier: Apache-2.0
#include "mercato/dictionary.h"

#include <functional>

#include "mercato/raised_error.h"

namespace mercato {
namespace {

constexpr std::int32_t kNoSuchKey = 32811;
constexpr std::size_t kIndexFrom = 9;  // with fewer entries a search walks them

std::size_t hash_text(std::string_view text) { return std::hash<std::string_view>{}(text); }

std::size_t hash_of(const Variant& key) {
  if (key.is_text()) return hash_text(key.text_value());
  if (key.is_object()) return std::hash<const Object*>{}(key.object_value().get());
  if (key.is_null() || key.is_missing() || key.is_array()) return static_cast<std::size_t>(key.type());
  return std::hash<double>{}(key.to_double());
}

bool same_key(const Variant& left, const Variant& right) {
  const bool numbers = left.is_numeric() && right.is_numeric() && !left.is_text() && !right.is_text();
  return numbers ? left.to_double() == right.to_double() : left == right;
}

}  // namespace

std::uint32_t Dictionary::locate(const Variant& key, std::size_t hash) const {
  if (key.is_text()) return locate_text(key.text_value(), hash);
  if (index_.empty()) {
    for (std::uint32_t position = 0; position < entries_.size(); ++position)
      if (!entries_[position].removed && entries_[position].hash == hash && same_key(entries_[position].key, key))
        return position;
    return kNone;
  }
  const std::size_t mask = index_.size() - 1;
  for (std::size_t slot = hash & mask; index_[slot] != kNone; slot = (slot + 1) & mask) {
    const Entry& entry = entries_[index_[slot]];
    if (!entry.removed && entry.hash == hash && same_key(entry.key, key)) return index_[slot];
  }
  return kNone;
}

std::uint32_t Dictionary::locate_text(std::string_view key, std::size_t hash) const {
  const auto matches = [&](const Entry& entry) {
    return !entry.removed && entry.hash == hash && entry.key.is_text() && entry.key.text_value() == key;
  };
  if (index_.empty()) {
    for (std::uint32_t position = 0; position < entries_.size(); ++position)
      if (matches(entries_[position])) return position;
    return kNone;
  }
  const std::size_t mask = index_.size() - 1;
  for (std::size_t slot = hash & mask; index_[slot] != kNone; slot = (slot + 1) & mask)
    if (matches(entries_[index_[slot]])) return index_[slot];
  return kNone;
}

void Dictionary::append(Variant key, Variant item, std::size_t hash) {
  // The index gets its room first: once the entry is there, nothing may fail before it is in the index.
  const std::size_t size = entries_.size() + 1;
  const bool indexed = !index_.empty() || size >= kIndexFrom;
  if (indexed && size * 2 > index_.size()) rebuild_index();
  entries_.push_back({std::move(key), std::move(item), hash, false});
  ++live_;
  if (!indexed) return;
  const std::size_t mask = index_.size() - 1;
  std::size_t slot = hash & mask;
  while (index_[slot] != kNone) slot = (slot + 1) & mask;
  index_[slot] = static_cast<std::uint32_t>(entries_.size() - 1);
}

void Dictionary::rebuild_index() {
  std::size_t size = 32;
  while (size < (live_ + 1) * 4) size *= 2;
  std::vector<std::uint32_t> index(size, kNone);  // nothing changes before this memory is there
  std::erase_if(entries_, [](const Entry& entry) { return entry.removed; });
  index_.swap(index);
  for (std::uint32_t position = 0; position < entries_.size(); ++position) {
    std::size_t slot = entries_[position].hash & (size - 1);
    while (index_[slot] != kNone) slot = (slot + 1) & (size - 1);
    index_[slot] = position;
  }
}

void Dictionary::Add(Variant key, Variant item) {
  const std::size_t hash = hash_of(key);
  if (locate(key, hash) != kNone) raise(error_number::kDuplicateKey);
  append(std::move(key), std::move(item), hash);
}

void Dictionary::Set(Variant key, Variant item) {
  const std::size_t hash = hash_of(key);
  const std::uint32_t position = locate(key, hash);
  if (position == kNone)
    append(std::move(key), std::move(item), hash);
  else
    entries_[position].item = std::move(item);
}

Variant& Dictionary::Item(const Variant& key) {
  const std::size_t hash = hash_of(key);
  const std::uint32_t position = locate(key, hash);
  if (position != kNone) return entries_[position].item;
  append(key, {}, hash);
  return entries_.back().item;
}

std::shared_ptr<Dictionary> Dictionary::with_items(std::vector<Variant> items) const {
  if (items.size() != live_) raise(error_number::kSubscriptOutOfRange);
  auto filled = std::make_shared<Dictionary>();
  filled->entries_.reserve(live_);
  auto item = items.begin();
  for (const Entry& entry : entries_)
    if (!entry.removed) filled->entries_.push_back({entry.key, std::move(*item++), entry.hash, false});
  filled->live_ = live_;
  if (entries_.size() == live_)
    filled->index_ = index_;
  else
    filled->rebuild_index();
  return filled;
}

bool Dictionary::Exists(const Variant& key) const { return find(key) != nullptr; }

void Dictionary::Remove(const Variant& key) {
  const std::uint32_t position = locate(key, hash_of(key));
  if (position == kNone) raise(kNoSuchKey, {}, "The key is not in the dictionary");
  entries_[position].removed = true;
  entries_[position].item = {};
  --live_;
}

Array Dictionary::Keys() const {
  Array keys;
  keys.items.reserve(live_);
  for_each([&](const Variant& key, const Variant&) { keys.items.push_back(key); });
  return keys;
}

Array Dictionary::Items() const {
  Array items;
  items.items.reserve(live_);
  for_each([&](const Variant&, const Variant& item) { items.items.push_back(item); });
  return items;
}

const Variant* Dictionary::find_any(const Variant& key) const {
  const std::uint32_t position = locate(key, hash_of(key));
  return position == kNone ? nullptr : &entries_[position].item;
}

const Variant* Dictionary::find(std::string_view text_key) const {
  const std::uint32_t position = locate_text(text_key, hash_text(text_key));
  return position == kNone ? nullptr : &entries_[position].item;
}

}  // namespace mercato
