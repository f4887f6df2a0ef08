// SPDX-License-Identifier: Apache-2.0
#include <charconv>
#include <nlohmann/json.hpp>

#include "exchange/formats/own_table.h"
#include "exchange/writers/product_writers.h"

namespace mercato::exchange {
namespace {

using Json = nlohmann::ordered_json;

// Texts of the store may be no text; a number is written as it stands there.
std::string line_of(const Json& json) {
  return json.dump(-1, ' ', false, nlohmann::detail::error_handler_t::replace) + "\n";
}

Json value_of(const std::string& text, bool is_number) {
  if (text.empty()) return nullptr;
  double number = 0;
  const char* const end = text.data() + text.size();
  if (!is_number || std::from_chars(text.data(), end, number).ptr != end) return text;
  std::int64_t whole = 0;
  if (std::from_chars(text.data(), end, whole).ptr == end) return whole;
  return number;
}

Json json_of(const StoredPrice& price) {
  Json json;
  for (const PriceHeader& header : kPriceHeaders)
    json[std::string(header.name)] = value_of(price.*header.stored, header.is_number);
  return json;
}

class ProductLines final : public ProductWriter {
 public:
  explicit ProductLines(Output& output) : output_(output) {}

  std::size_t product(const StoredProduct& product) override {
    Json json = {{"PRODUCTID", product.id}, {std::string(kNumberHeader), value_of(product.number, false)}};
    for (const StoredField& field : stored_fields())
      json[std::string(field.name)] =
          value_of(std::string(product.field(field.name)), field.kind == StoredKind::number);
    json["properties"] = Json::array();
    for (const StoredProperty& property : product.properties)
      json["properties"].push_back(
          {{"name", property.name}, {"value", property.value ? Json(*property.value) : Json()}});
    json["categories"] = Json::array();
    for (const StoredCategory& category : product.categories)
      json["categories"].push_back({{"id", category.id}, {"name", category.name}});
    json["prices"] = Json::array();
    for (const StoredPrice& price : product.prices) json["prices"].push_back(json_of(price));
    output_.write(line_of(json));
    return 1;
  }
  void finish() override { output_.finish(); }

 private:
  Output& output_;
};

class PriceLines final : public ProductWriter {
 public:
  explicit PriceLines(Output& output) : output_(output) {}

  std::size_t product(const StoredProduct& product) override {
    for (const StoredPrice& price : product.prices) {
      Json json = {{"PRODUCTID", product.id}, {std::string(kNumberHeader), value_of(product.number, false)}};
      json.update(json_of(price));
      output_.write(line_of(json));
    }
    return product.prices.size();
  }
  void finish() override { output_.finish(); }

 private:
  Output& output_;
};

}  // namespace

std::unique_ptr<ProductWriter> product_lines(Output& output) { return std::make_unique<ProductLines>(output); }

std::unique_ptr<ProductWriter> price_lines(Output& output) { return std::make_unique<PriceLines>(output); }

}  // namespace mercato::exchange
