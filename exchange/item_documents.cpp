// SPDX-License-Identifier: Apache-2.0
#include "exchange/item_documents.h"

#include <cstdio>
#include <filesystem>
#include <utility>

#include "mercato/raised_error.h"

namespace mercato::exchange {
namespace {

constexpr std::string_view kPart = ".part";
constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

void append_element(std::string& xml, std::string_view name, std::string_view value) {
  xml.append("    <").append(name).append(">");
  append_escaped(xml, value);
  xml.append("</").append(name).append(">\n");
}

}  // namespace

WrittenFile::WrittenFile(std::string path)
    : path_(std::move(path)), file_(path_ + std::string(kPart), std::ios::binary | std::ios::trunc) {
  if (!file_) fail();
}

WrittenFile::~WrittenFile() {
  if (!file_.is_open()) return;
  file_.close();
  std::remove((path_ + std::string(kPart)).c_str());
}

void WrittenFile::write(std::string_view text) {
  file_.write(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file_) fail();
}

void WrittenFile::finish() {
  file_.close();
  std::error_code failure;
  if (file_) std::filesystem::rename(path_ + std::string(kPart), path_, failure);
  if (!file_ || failure) fail();
}

void WrittenFile::fail() const {
  raise(error_number::kPathFileAccess, {}, "The file \"" + path_ + "\" cannot be written.");
}

ItemDocuments::ItemDocuments(const std::string& products, const std::string& prices)
    : products_(products), prices_(prices) {
  products_.write(std::string(kDeclaration) + "<Products>\n");
  prices_.write(std::string(kDeclaration) + "<ProductPrices>\n");
}

void ItemDocuments::add(const JudgedItem& item) {
  if (!item.fields.empty()) {
    ++product_count_;
    product_lines_.push_back(item.place.line);
    products_.write(product_element(item));
  }
  for (const JudgedPrice& price : item.prices) {
    ++price_count_;
    price_lines_.push_back(price.place.line);
    prices_.write(price_element(item.number, price));
  }
}

std::string product_element(const JudgedItem& item) {
  std::string text = "  <Product buyfrompartnumber=\"";
  append_escaped(text, item.number);
  text += "\">\n";
  for (const auto& [name, value] : item.fields) append_element(text, name, value);
  return text + "  </Product>\n";
}

std::string price_element(const std::string& number, const JudgedPrice& price) {
  std::string text = "  <ProductPrice buyfrompartnumber=\"";
  append_escaped(text, number);
  text += "\">\n";
  append_element(text, "CurrencyCode", price.currency);
  append_element(text, "Price", price.amount);
  if (!price.quantity_to.empty()) append_element(text, "QuantityTo", price.quantity_to);
  append_element(text, "PriceEffectiveDate", price.from_day);
  append_element(text, "PriceExpiryDate", price.to_day);
  for (const auto& [name, value] :
       {std::pair("PriceTaxPercentage", &price.tax_percentage), std::pair("DiscountPerc", &price.discount_percentage),
        std::pair("DiscountAmount", &price.discount_amount), std::pair("FreightCost", &price.freight_cost)})
    if (!value->empty()) append_element(text, name, *value);
  append_element(text, "GROUPBY", price.group);  // a line with the empty group can be changed later
  return text + "  </ProductPrice>\n";
}

void ItemDocuments::finish() {
  products_.write("</Products>\n");
  prices_.write("</ProductPrices>\n");
  products_.finish();
  prices_.finish();
}

void append_escaped(std::string& xml, std::string_view text) {
  for (const char byte : text) switch (byte) {
      case '&':
        xml += "&amp;";
        break;
      case '<':
        xml += "&lt;";
        break;
      case '>':
        xml += "&gt;";
        break;
      case '"':
        xml += "&quot;";
        break;
      case '\r':
        xml += "&#13;";
        break;
      case '\n':
        xml += "&#10;";
        break;
      case '\t':
        xml += "&#9;";
        break;
      default:
        xml += byte;
    }
}

void append_cell(std::string& csv, std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    csv += text;
    return;
  }
  csv += '"';
  for (const char byte : text) csv.append(byte == '"' ? 2 : 1, byte);
  csv += '"';
}

}  // namespace mercato::exchange
