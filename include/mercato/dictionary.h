// SPDX-License-Identifier: Apache-2.0
// A map ordered by insertion. Keys are compared exactly: texts byte by byte, numbers by value, and a text never equals
// a number. Finding a key costs constant time. Shared by reference; one thread at a time.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "mercato/export.h"
#include "mercato/variant.h"

namespace mercato {

/// A map from any value to any value, ordered by insertion.
/// Keys are compared exactly: texts byte by byte, numbers by value, and a text never equals a number.
class MERCATO_API Dictionary : public Object {
 public:
  /// The name of the class at the interface.
  static constexpr std::string_view kClassName = "Dictionary";
  std::string_view type_name() const override { return kClassName; }

  /// Raises 457 when the key exists; the dictionary is then unchanged.
  void Add(Variant key, Variant item);
  /// Replaces the item of an existing key, which keeps its place, or adds the key at the end.
  void Set(Variant key, Variant item);
  /// The item; a missing key is created with Empty.
  Variant& Item(const Variant& key);
  /// Whether the key is there.
  bool Exists(const Variant& key) const;
  /// Raises 32811 when the key does not exist.
  void Remove(const Variant& key);
  /// How many keys there are.
  std::int32_t Count() const { return static_cast<std::int32_t>(live_); }
  /// A snapshot of the keys, in insertion order.
  Array Keys() const;
  /// A snapshot of the items, in insertion order.
  Array Items() const;

  /// The item, or nothing; unlike Item it never creates a key.
  const Variant* find(std::string_view text_key) const;
  /// The same for a key of any type.
  const Variant* find(const std::same_as<Variant> auto& key) const { return find_any(key); }

  /// Visits key and item in insertion order. The dictionary must not change meanwhile.
  template <class Visitor>
  void for_each(Visitor visit) const {
    for (const Entry& entry : entries_)
      if (!entry.removed) visit(entry.key, entry.item);
  }
  /// A dictionary with the keys of this one, in their order, and these items, one for each key. Records use it: their
  /// keys are worked out once. Raises 9 when the numbers differ.
  std::shared_ptr<Dictionary> with_items(std::vector<Variant> items) const;
  /// Makes room for that many entries, so that adding them moves nothing.
  void reserve(std::size_t count) { entries_.reserve(count); }

 private:
  struct Entry {
    Variant key;
    Variant item;
    std::size_t hash;
    bool removed = false;
  };
  static constexpr std::uint32_t kNone = UINT32_MAX;

  std::uint32_t locate(const Variant& key, std::size_t hash) const;
  std::uint32_t locate_text(std::string_view key, std::size_t hash) const;
  const Variant* find_any(const Variant& key) const;
  void append(Variant key, Variant item, std::size_t hash);
  void rebuild_index();

  std::vector<Entry> entries_;        // in insertion order, removed ones marked until the next rebuild
  std::vector<std::uint32_t> index_;  // open addressing; empty while the dictionary is small
  std::size_t live_ = 0;
};

/// Shared with whoever holds it.
using DictionaryPtr = std::shared_ptr<Dictionary>;

}  // namespace mercato
