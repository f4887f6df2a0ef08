// SPDX-License-Identifier: Apache-2.0
// Their headers are those that `own_mapping` knows (formats/own_table.h).
#include <unordered_map>

#include "exchange/formats/own_table.h"
#include "exchange/writers/product_writers.h"
#include "values/same_text.h"

namespace mercato::exchange {
namespace {

class ProductTable final : public ProductWriter {
 public:
  ProductTable(std::unique_ptr<TableWriter> table, const std::vector<std::string>& properties)
      : table_(std::move(table)) {
    cells_.push_back({std::string(kNumberHeader)});
    for (const StoredField& field : stored_fields()) cells_.push_back({std::string(field.name)});
    cells_.push_back({std::string(kCategoriesHeader)});
    for (const std::string& name : properties) {
      // Two properties may have one name.
      if (!places_.emplace(text::folded(name), cells_.size()).second) continue;
      cells_.push_back({std::string(kPropertyHeader) + name});
    }
    table_->row(cells_);
  }

  std::size_t product(const StoredProduct& product) override {
    for (TableCell& cell : cells_) cell = {};
    cells_[0].text = product.number;
    std::size_t place = 1;
    for (const StoredField& field : stored_fields())
      cells_[place++] = {std::string(product.field(field.name)), field.kind == StoredKind::number};
    for (const StoredCategory& category : product.categories)
      cells_[place].text.append(cells_[place].text.empty() ? "" : "; ").append(category.name);
    for (const StoredProperty& property : product.properties) {
      const auto known = places_.find(text::folded(property.name));
      if (known == places_.end() || !cells_[known->second].text.empty())
        leave_out("second value of property " + property.name);
      else
        cells_[known->second].text = property.value.value_or("");
    }
    table_->row(cells_);
    return 1;
  }
  void finish() override { table_->finish(); }

 private:
  std::unique_ptr<TableWriter> table_;
  std::vector<TableCell> cells_;
  std::unordered_map<std::string, std::size_t> places_;  // of properties
};

class PriceTable final : public ProductWriter {
 public:
  explicit PriceTable(std::unique_ptr<TableWriter> table) : table_(std::move(table)) {
    std::vector<TableCell> headers{{std::string(kNumberHeader)}};
    for (const PriceHeader& header : kPriceHeaders) headers.push_back({std::string(header.name)});
    table_->row(headers);
  }

  std::size_t product(const StoredProduct& product) override {
    std::vector<TableCell> cells;
    for (const StoredPrice& price : product.prices) {
      cells.assign(1, {product.number});
      for (const PriceHeader& header : kPriceHeaders) cells.push_back({price.*header.stored, header.is_number});
      table_->row(cells);
    }
    return product.prices.size();
  }
  void finish() override { table_->finish(); }

 private:
  std::unique_ptr<TableWriter> table_;
};

}  // namespace

std::unique_ptr<ProductWriter> product_table(std::unique_ptr<TableWriter> table,
                                             const std::vector<std::string>& properties) {
  return std::make_unique<ProductTable>(std::move(table), properties);
}

std::unique_ptr<ProductWriter> price_table(std::unique_ptr<TableWriter> table) {
  return std::make_unique<PriceTable>(std::move(table));
}

}  // namespace mercato::exchange
