// SPDX-License-Identifier: Apache-2.0
// Judged items as documents of the library's own, written as they come. One thread.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/judging.h"

namespace mercato::exchange {

// A file that has its name when it is finished: until then it is called so with ".part" behind it.
class WrittenFile {
 public:
  // Raises 75 when it cannot be written; so do the others.
  explicit WrittenFile(std::string path);
  ~WrittenFile();  // what is not finished goes
  WrittenFile(const WrittenFile&) = delete;
  WrittenFile& operator=(const WrittenFile&) = delete;

  void write(std::string_view text);
  void finish();
  const std::string& path() const { return path_; }

 private:
  [[noreturn]] void fail() const;

  std::string path_;
  std::ofstream file_;
};

// A Product document and a ProductPrice document.
class ItemDocuments {
 public:
  ItemDocuments(const std::string& products, const std::string& prices);

  void add(const JudgedItem& item);
  void finish();

  const std::string& products_path() const { return products_.path(); }
  const std::string& prices_path() const { return prices_.path(); }
  std::size_t products() const { return product_count_; }
  std::size_t price_lines() const { return price_count_; }
  // Where they stood in the supplier's file.
  const std::vector<std::size_t>& lines_of_products() const { return product_lines_; }
  const std::vector<std::size_t>& lines_of_prices() const { return price_lines_; }

 private:
  WrittenFile products_;
  WrittenFile prices_;
  std::vector<std::size_t> product_lines_;
  std::vector<std::size_t> price_lines_;
  std::size_t product_count_ = 0;
  std::size_t price_count_ = 0;
};

// One record of a document. A product without fields has none.
std::string product_element(const JudgedItem& item);
std::string price_element(const std::string& number, const JudgedPrice& price);

// Appends a text as the content of an element, or as the value of an attribute in quotes.
void append_escaped(std::string& xml, std::string_view text);
// Appends a cell of comma-separated text.
void append_cell(std::string& csv, std::string_view text);

}  // namespace mercato::exchange
