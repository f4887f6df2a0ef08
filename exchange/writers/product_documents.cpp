// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "exchange/writers/product_writers.h"
#include "platform/xml/characters.h"
#include "upload/product_fields.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// As the library reads a day that has a time.
std::string library_day(std::string_view stored) { return text::replace_all(stored, "T", " "); }

// Of a property: it stands in a document under its own name.
bool can_be_element(std::string_view property) {
  if (!xml::is_name(property) || property.find(':') != std::string_view::npos) return false;
  const auto& fields = upload::field_names();
  return std::ranges::find(fields, text::to_upper(property)) == fields.end();
}

class Document : public ProductWriter {
 public:
  Document(Output& output, std::string root, std::string record)
      : output_(output), root_(std::move(root)), record_(std::move(record)) {
    output_.write(std::string(kDeclaration) + "<" + root_ + ">\n");
  }
  void finish() override {
    output_.write("</" + root_ + ">\n");
    output_.finish();
  }

 protected:
  void begin(const StoredProduct& product) {
    text_ = "  <" + record_ + " buyfrompartnumber=\"";
    append_text(text_, product.number);
    text_ += "\">\n";
  }
  void element(std::string_view name, std::string_view value) {
    text_.append("    <").append(name).append(">");
    append_text(text_, value);
    text_.append("</").append(name).append(">\n");
  }
  void end() {
    text_ += "  </" + record_ + ">\n";
    output_.write(text_);
  }

 private:
  Output& output_;
  const std::string root_;
  const std::string record_;
  std::string text_;
};

class ProductDocument final : public Document {
 public:
  explicit ProductDocument(Output& output) : Document(output, "Products", "Product") {}

  std::size_t product(const StoredProduct& product) override {
    begin(product);
    for (const StoredField& field : stored_fields()) {
      const std::string_view value = product.field(field.name);
      if (value.empty()) continue;
      // The library takes a list apart when it has been told what separates it.
      if (field.name == "BUYERID" && value.find(kBuyerSeparator) != std::string_view::npos)
        element(upload::kSeparatorKey, kBuyerSeparator);
      element(field.name, field.kind == StoredKind::day ? library_day(value) : value);
    }
    for (const StoredProperty& property : product.properties) {
      if (!property.value) continue;  // an element would make a text of nothing
      if (can_be_element(property.name))
        element(property.name, *property.value);
      else
        leave_out("property " + property.name);
    }
    end();
    return 1;
  }
};

class PriceDocument final : public Document {
 public:
  explicit PriceDocument(Output& output) : Document(output, "ProductPrices", "ProductPrice") {}

  std::size_t product(const StoredProduct& product) override {
    for (const StoredPrice& price : product.prices) {
      begin(product);
      const auto unless_empty = [this](std::string_view name, const std::string& value) {
        if (!value.empty()) element(name, value);
      };
      unless_empty("CurrencyCode", price.currency);
      unless_empty("Price", price.amount);
      element("QuantityTo", price.quantity_to);
      element("PriceEffectiveDate", library_day(price.from_day));
      if (!price.to_day.empty()) element("PriceExpiryDate", library_day(price.to_day));
      unless_empty("PriceTaxPercentage", price.tax_percentage);
      unless_empty("DiscountPerc", price.discount_percentage);
      unless_empty("DiscountAmount", price.discount_amount);
      unless_empty("FreightCost", price.freight_cost);
      // Without the element a line can only be added, and is refused where it stands already.
      if (price.has_group) element("GROUPBY", price.group);
      end();
    }
    return product.prices.size();
  }
};

}  // namespace

void ProductWriter::append_text(std::string& xml, std::string_view text) {
  for (std::size_t bad = xml::first_illegal(text); bad != std::string_view::npos; bad = xml::first_illegal(text)) {
    leave_out("character that no document may hold");
    append_escaped(xml, text.substr(0, bad));
    xml += ' ';
    text.remove_prefix(bad + 1);
  }
  append_escaped(xml, text);
}

std::unique_ptr<ProductWriter> product_document(Output& output) { return std::make_unique<ProductDocument>(output); }

std::unique_ptr<ProductWriter> price_document(Output& output) { return std::make_unique<PriceDocument>(output); }

}  // namespace mercato::exchange
