// SPDX-License-Identifier: Apache-2.0
// Products of the store in the forms in which they can be taken up again. Each says what it cannot hold. One thread.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "exchange/stored/stored_products.h"
#include "exchange/writers/table_writers.h"

namespace mercato::exchange {

class ProductWriter {
 public:
  virtual ~ProductWriter() = default;
  // Answers how many records it wrote.
  virtual std::size_t product(const StoredProduct& product) = 0;
  // Finishes the output, too.
  virtual void finish() = 0;

  // What was not written, by what it is.
  const std::map<std::string, std::size_t>& left_out() const { return left_out_; }

 protected:
  void leave_out(const std::string& what) { ++left_out_[what]; }
  // Appends a text to a document, with blanks for the characters that none may hold.
  void append_text(std::string& xml, std::string_view text);

 private:
  std::map<std::string, std::size_t> left_out_;
};

// A row for each product, a column for each property.
std::unique_ptr<ProductWriter> product_table(std::unique_ptr<TableWriter> table,
                                             const std::vector<std::string>& properties);
// A row for each price line.
std::unique_ptr<ProductWriter> price_table(std::unique_ptr<TableWriter> table);
// A line for each product, with all that belongs to it; or for each price line.
std::unique_ptr<ProductWriter> product_lines(Output& output);
std::unique_ptr<ProductWriter> price_lines(Output& output);
// The library's own documents, for `mercato upload` and `mercato prices upload`.
std::unique_ptr<ProductWriter> product_document(Output& output);
std::unique_ptr<ProductWriter> price_document(Output& output);
// BMEcat 1.2, with the prices and the categories.
std::unique_ptr<ProductWriter> bmecat_document(Output& output, const std::vector<StoredCategory>& categories);

}  // namespace mercato::exchange
