// SPDX-License-Identifier: Apache-2.0
// What the readers of several formats do alike when they put an item together. Any thread.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "exchange/formats/format.h"
#include "exchange/item.h"

namespace mercato::exchange {

// An item that is being put together. Values that are empty add nothing.
class ItemBuilder {
 public:
  Item item;

  // A column's value. The first one counts; answers false when the column has one already.
  bool field(std::string_view name, std::string_view value, Place place);
  // A property's value, under its name as a document has it (property_name_of). Several of one name become one, with
  // "; " between them.
  void property(std::string_view name, std::string_view value, Place place);

 private:
  std::unordered_map<std::string, std::size_t> places_;  // of fields by their names, a property's with a mark in front
};

// What a file says of itself in front of its items. Of several values for one name the first that is not empty counts.
class FileHeader {
 public:
  // A default of the items, or what else ItemSink::header takes.
  void set(const char* name, std::string_view value) {
    if (!value.empty()) values_.emplace(name, value);
  }
  // Something to be shown.
  void show(const char* what, std::string_view value) {
    if (!value.empty()) shown_.emplace_back(what, value);
  }
  // Tells all of it, once.
  void tell(ItemSink& sink);

 private:
  std::map<std::string, std::string> values_;
  std::vector<std::pair<std::string, std::string>> shown_;
  bool is_told_ = false;
};

// A decimal number with its sign moved to the right by that many places, to the left when they are below 0: 85700 and
// -2 give 857.00, 0.19 and 2 give 19. A comma stays one. A text that is no such number stays as it is.
std::string moved_decimal(std::string_view number, int places);

// Both with a blank between them, or the first alone when the second is empty.
std::string with(std::string_view name, std::string_view more);

// The day of a date with or without a time: "2005-01-31" of "2005-01-31T00:00:00+01:00".
inline std::string_view day_of(std::string_view date) { return date.substr(0, date.find('T')); }

inline bool is_web_address(std::string_view text) {
  return text.starts_with("http://") || text.starts_with("https://");
}

// Whether both denote the same language: "de", "deu", "GER", "de-AT".
bool same_language(std::string_view left, std::string_view right);

}  // namespace mercato::exchange
