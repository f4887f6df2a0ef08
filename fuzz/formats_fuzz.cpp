// SPDX-License-Identifier: Apache-2.0
// Any bytes as a supplier's file: the first byte chooses the format, the second one how the bytes are cut into pieces.
// Whatever is told must keep the promises of exchange/formats/format.h.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>

#include "exchange/formats/format.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace {

using namespace mercato::exchange;

void require(bool promise) {
  if (!promise) std::abort();
}

bool is_text(std::string_view text) { return mercato::text::is_valid(text); }

class Judge final : public ItemSink {
 public:
  void header(const std::map<std::string, std::string>& values) override {
    require(++headers_ == 1 && items_ == 0);
    for (const auto& [name, value] : values) require(!name.empty() && is_text(value));
  }
  void item(Item item) override {
    ++items_;
    require(!item.number.empty() && is_text(item.number));
    for (const ItemField& field : item.fields)
      require(!field.name.empty() && !field.value.empty() && is_text(field.name) && is_text(field.value));
    for (const ItemPrice& price : item.prices) require(!price.amount.empty() && is_text(price.amount));
    for (const std::string& category : item.categories) require(!category.empty());
    require(item.action != Item::Action::remove || (item.fields.empty() && item.prices.empty()));
  }
  void category(ItemCategory category) override { require(is_text(category.id) && is_text(category.name)); }
  void link(std::string_view number, std::string_view category, Place) override {
    require(!number.empty() && !category.empty());
  }
  void left_out(std::string_view name, Place) override { require(is_text(name)); }
  void flawed(std::string_view, std::string_view reason, Place) override {
    require(!reason.empty() && is_text(reason));
  }

 private:
  std::size_t headers_ = 0;
  std::size_t items_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
  const Format& format = formats()[data[0] % formats().size()];
  static_cast<void>(format.recognises(bytes));
  ReadingOptions options;
  if (data[1] & 1U) options.language = "de";
  if (data[1] & 2U) options.territory = "DE";
  if (data[1] & 4U) options.price_kind = "list";
  constexpr std::size_t kSmallest = 1;
  BytesOfText pieces(bytes, kSmallest + (data[1] >> 3U) * 50U);
  Judge judge;
  try {
    format.read(pieces, options, judge);
  } catch (const mercato::Raised& raised) {
    require(!raised.error().Description.empty() && raised.error().Description.find('\n') == std::string::npos);
  }
  return 0;
}
