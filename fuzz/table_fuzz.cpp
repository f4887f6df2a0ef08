// SPDX-License-Identifier: Apache-2.0
// A mapping, a line of three dashes, and a table in any encoding: the table is read to its end or refused with a sentence;
// what is read as a number or a day is one; a proposed mapping is a mapping.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "exchange/formats/csv_format.h"
#include "exchange/formats/mapping.h"
#include "exchange/read_values.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace {

using namespace mercato::exchange;

void require(bool holds) {
  if (!holds) std::abort();
}

class Checking final : public ItemSink {
 public:
  void header(const std::map<std::string, std::string>&) override {}
  void notation(const Notation& found) override { notation_ = found; }
  void item(Item item) override {
    require(item.place.line > last_line_);
    last_line_ = item.place.line;
    for (const ItemField& field : item.fields) require(!field.value.empty() && mercato::text::is_valid(field.value));
    for (const ItemPrice& price : item.prices) {
      check_number(price.amount);
      check_number(price.from_quantity);
      check_day(price.from_day);
    }
  }
  void category(ItemCategory) override {}
  void link(std::string_view, std::string_view, Place) override {}
  void left_out(std::string_view name, Place) override { require(!name.empty()); }
  void flawed(std::string_view, std::string_view reason, Place) override { require(reason.ends_with('.')); }

 private:
  void check_number(std::string_view text) const {
    const ReadNumber number = read_number(text, notation_);
    if (number.reading != Reading::good) return;
    // Its text has one reading, whatever the notation, and stays as it is.
    require(read_number(number.text, {'.', 0, Notation::Dates::iso}).text == number.text);
  }
  void check_day(std::string_view text) const {
    const ReadDay day = read_day(text, notation_);
    if (day.reading == Reading::good) require(read_day(day.day.iso(), {}).day == day.day);
  }

  Notation notation_;
  std::uint64_t last_line_ = 0;
};

template <class Work>
void refused_or_done(Work work) {
  try {
    work();
  } catch (const mercato::Raised& raised) {
    require(raised.error().Description.ends_with('.'));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view all(reinterpret_cast<const char*>(data), size);
  constexpr std::string_view kBetween = "\n---\n";
  const std::size_t between = all.find(kBetween);
  const std::string_view table = between == std::string_view::npos ? all : all.substr(between + kBetween.size());
  std::optional<Mapping> mapping;
  if (between != std::string_view::npos)
    refused_or_done([&] { mapping = read_mapping(all.substr(0, between), "mapping.toml"); });
  refused_or_done([&] {
    BytesOfText bytes(table);
    ReadingOptions options;
    if (mapping) options.mapping = &*mapping;
    Checking sink;
    read_csv(bytes, options, sink);
  });
  refused_or_done([&] {
    BytesOfText bytes(table);
    const std::string proposed = propose_csv_mapping(bytes, {}, "table.csv");
    if (proposed.find("\n# number = ") == std::string::npos) read_mapping(proposed, "proposed.toml");
  });
  return 0;
}
