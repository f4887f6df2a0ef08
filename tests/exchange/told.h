// SPDX-License-Identifier: Apache-2.0
// What a reader told its sink, as lines of text, for assertions on the whole of it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "exchange/formats/format.h"
#include "mercato/raised_error.h"

namespace mercato::exchange {

// In the order of the file; at the end what was left out, by name, with how often.
class Told final : public ItemSink {
 public:
  void header(const std::map<std::string, std::string>& values) override {
    lines_ += "header";
    for (const auto& [name, value] : values) lines_ += " " + name + "=" + value;
    lines_ += "\n";
  }
  void notation(const Notation& found) override { lines_ += std::string("decimal sign ") + found.decimal_sign + "\n"; }
  void found_out(std::string_view what, std::string_view value) override {
    lines_ += std::string(what).append(" is ").append(value).append("\n");
  }
  void item(Item item) override {
    static constexpr const char* kActions[] = {"put ", "update ", "remove "};
    lines_ += kActions[static_cast<std::size_t>(item.action)] + item.number + at(item.place);
    for (const ItemField& field : item.fields)
      lines_ += (field.is_property ? "  (" + field.name + ") " : "  " + field.name + " ") + field.value + "\n";
    for (const ItemPrice& price : item.prices) {
      lines_ += "  price " + price.amount;
      const auto part = [this](const char* word, const std::string& value) {
        if (!value.empty()) lines_ += std::string(" ") + word + " " + value;
      };
      part("for", price.amount_for);
      part("times", price.factor);
      part("in", price.currency);
      part("from", price.from_quantity);
      part("since", price.from_day);
      part("until", price.to_day);
      part("group", price.group);
      part("tax", price.tax_percentage);
      lines_ += "\n";
    }
    for (const std::string& category : item.categories) lines_ += "  category " + category + "\n";
  }
  void category(ItemCategory category) override {
    lines_ += "category " + category.id + " below " + category.parent + ": " + category.name + at(category.place);
  }
  void link(std::string_view number, std::string_view category, Place place) override {
    lines_ += std::string(number).append(" is in ").append(category).append(at(place));
  }
  void left_out(std::string_view name, Place) override { ++left_out_[std::string(name)]; }
  void flawed(std::string_view number, std::string_view reason, Place place) override {
    lines_ += std::string("flawed ").append(number).append(": ").append(reason).append(at(place));
  }

  std::string text() const {
    std::string all = lines_;
    for (const auto& [name, count] : left_out_) all += "left out " + std::to_string(count) + " " + name + "\n";
    return all;
  }

 private:
  static std::string at(Place place) { return " @" + std::to_string(place.line) + "\n"; }

  std::string lines_;
  std::map<std::string, std::size_t> left_out_;
};

// Reads by the format that takes the bytes for its own. A failure is told as the last line.
inline std::string told(Bytes& bytes, const ReadingOptions& options = {}) {
  Told sink;
  const Format* const format = format_of(bytes.peek());
  if (!format) return "no format";
  std::string failure;
  try {
    format->read(bytes, options, sink);
  } catch (const Raised& raised) {
    failure = "raised " + raised.error().Description + "\n";
  }
  return sink.text() + failure;
}

inline std::string told(std::string_view text, const ReadingOptions& options = {}, std::size_t piece = 0) {
  BytesOfText bytes(text, piece == 0 ? text.size() : piece);
  return told(bytes, options);
}

}  // namespace mercato::exchange
