// SPDX-License-Identifier: Apache-2.0
#include "bench/support/price_converter.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string_view>

#include "bench/support/component_files.h"
#include "bench/support/document_text.h"

namespace mercato::bench {
namespace {

struct Tier {
  long from;
  std::string_view price;
};

// The text has to outlive the tiers.
std::vector<Tier> tiers_of(std::string_view text) {
  std::vector<Tier> tiers;
  while (!text.empty()) {
    const std::string_view one = text.substr(0, text.find(';'));
    text.remove_prefix(std::min(one.size() + 1, text.size()));
    Tier tier{};
    const auto [end, code] = std::from_chars(one.data(), one.data() + one.size(), tier.from);
    if (code != std::errc() || end == one.data() + one.size() || *end != ':')
      throw std::runtime_error("no price tier: " + std::string(one));
    tier.price = one.substr(static_cast<std::size_t>(end - one.data()) + 1);
    tiers.push_back(tier);
  }
  return tiers;
}

}  // namespace

ConvertedPrices components_to_prices(const std::filesystem::path& csv, std::size_t limit, std::ostream& document) {
  CsvReader reader(csv);
  const std::size_t part_number = reader.column("part_number");
  const std::size_t currency = reader.column("currency");
  const std::size_t price_tiers = reader.column("price_tiers");

  ConvertedPrices converted;
  document << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ProductPrices>\n";
  std::vector<std::string> row;
  while (reader.next(row)) {
    const std::vector<Tier> tiers = tiers_of(row[price_tiers]);
    if (tiers.empty()) continue;
    if (tiers.size() > limit - converted.lines) break;
    converted.part_numbers.push_back(with_typographic_apostrophes(row[part_number]));
    for (std::size_t index = 0; index < tiers.size(); ++index, ++converted.lines) {
      document << "  <ProductPrice buyfrompartnumber=\"" << escaped(converted.part_numbers.back()) << "\">\n"
               << "    <CurrencyCode>" << escaped(row[currency]) << "</CurrencyCode>\n"
               << "    <Price>" << escaped(tiers[index].price) << "</Price>\n";
      if (index + 1 < tiers.size()) document << "    <QuantityTo>" << tiers[index + 1].from - 1 << "</QuantityTo>\n";
      document << "    <PriceEffectiveDate>1/1/2026</PriceEffectiveDate>\n"
               << "    <PriceExpiryDate>12/31/2026</PriceExpiryDate>\n"
               << "  </ProductPrice>\n";
    }
  }
  document << "</ProductPrices>\n";
  return converted;
}

}  // namespace mercato::bench
