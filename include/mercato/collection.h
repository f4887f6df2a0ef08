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

class MERCATO_API Collection : public Object {
 public:
  static constexpr std::string_view kClassName = "Collection";
  std::string_view type_name() const override { return kClassName; }

  void Add(Variant item);
  /// Raises 457 when the key is taken; the collection is then unchanged.
  void Add(Variant item, std::string key);
  /// By position from 1 (raises 9 outside) or by key (raises 5 when there is none).
  const Variant& Item(std::int32_t position) const;
  const Variant& Item(std::string_view key) const;
  /// By whatever the Variant holds: a text is a key, anything else a position.
  const Variant& Item(const Variant& position_or_key) const;
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

using CollectionPtr = std::shared_ptr<Collection>;

}  // namespace mercato
