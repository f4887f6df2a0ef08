// SPDX-License-Identifier: Apache-2.0
// An ordered list with optional text keys, addressed from 1. Keys are compared without regard to case.
// Shared by reference; one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "mercato/export.h"
#include "mercato/variant.h"

namespace mercato {

/// An ordered list with optional text keys, which are compared without regard to case.
class MERCATO_API Collection : public Object {
 public:
  /// The name of the class at the interface.
  static constexpr std::string_view kClassName = "Collection";
  std::string_view type_name() const override { return kClassName; }

  /// Adds an item without a key at the end.
  void Add(Variant item);
  /// Adds an item with a key at the end. Raises 457 when the key is taken; the collection is then unchanged.
  void Add(Variant item, std::string key);
  /// The item at a position from 1. Raises 9 outside.
  const Variant& Item(std::int32_t position) const;
  /// The item of a key. Raises 5 when there is none.
  const Variant& Item(std::string_view key) const;
  /// The item by whatever the Variant holds: a text is a key, anything else a position.
  const Variant& Item(const Variant& position_or_key) const;
  /// How many items there are.
  std::int32_t Count() const { return static_cast<std::int32_t>(entries_.size()); }

  /// The key of a position from 1, or nothing when it was added without one.
  const std::optional<std::string>& key_at(std::int32_t position) const;

 private:
  struct Entry {
    std::optional<std::string> key;
    Variant item;
  };
  const Entry& entry_at(std::int32_t position) const;

  std::vector<Entry> entries_;
  std::unordered_map<std::string, std::size_t> positions_;  // upper-cased key to index
};

/// Shared with whoever holds it.
using CollectionPtr = std::shared_ptr<Collection>;

}  // namespace mercato
