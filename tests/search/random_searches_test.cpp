// SPDX-License-Identifier: Apache-2.0
// Searches for pieces of real and of hostile texts: what is found is what a walk over all products tells, in the same
// order with the text index and without.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "bench/support/component_files.h"
#include "bench/support/data_folder.h"
#include "frame/lib_general.h"
#include "tests/search/search_fixture.h"
#include "tests/support/hostile_texts.h"
#include "tests/support/random_rounds.h"
#include "values/same_text.h"
#include "values/text.h"

namespace mercato::test {
namespace {

struct TextsOfProduct {
  std::string part_number, description, supplier_part_number;
};

// As the header says it, by a walk over the characters.
std::string letters_and_digits(const std::string& text) {
  std::string kept;
  for (const char byte : text::folded(text))
    if (static_cast<unsigned char>(byte) >= 0x80 || std::isalnum(static_cast<unsigned char>(byte))) kept += byte;
  return kept;
}

std::vector<std::string> parts_at_blanks(const std::string& text) {
  std::vector<std::string> parts(1);
  for (const char byte : text)
    if (byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n')
      parts.emplace_back();
    else
      parts.back() += byte;
  return parts;
}

bool fits(const TextsOfProduct& product, const std::string& search) {
  bool any_word = false;
  for (const std::string& part : parts_at_blanks(search)) {
    const std::string word = letters_and_digits(part);
    if (word.empty()) continue;
    any_word = true;
    std::vector<std::string> places = {letters_and_digits(product.part_number),
                                       letters_and_digits(product.supplier_part_number)};
    for (const std::string& each : parts_at_blanks(product.description)) places.push_back(letters_and_digits(each));
    if (std::ranges::none_of(places, [&](const std::string& place) { return place.find(word) != std::string::npos; }))
      return false;
  }
  return any_word;
}

class RandomSearches : public SearchTest {
 protected:
  void SetUp() override {
    SearchTest::SetUp();
    const std::filesystem::path real = bench::data_folder() / "products" / "components-1k.csv";
    if (std::filesystem::exists(real)) {
      bench::CsvReader file(real);
      const std::size_t number = file.column("mfr_part_number"), description = file.column("description"),
                        supplier = file.column("part_number");
      for (std::vector<std::string> row; file.next(row);)
        products_.push_back(
            {std::string(text::left(row[number], 50)), std::string(text::left(row[description], 250)), row[supplier]});
    }
    for (const char* text :
         {"Gr\u00FC\u00DFe", "Gru\u0308\u00DFe", "\u0130stanbul", "\uD55C\uAD6D\uC5B4", "e\u0301\u0323x",
          "100% a_b [c] d*", "a-b/c.d\\e", "\U0001F600\U0001F601 x", "\u00A0nbsp\u00A0", "AND \"OR\" NOT"})
      products_.push_back({text, text, text});
    for (const std::string& text : hostile_texts())
      if (text::length(text) <= 50 && text.find('\0') == std::string::npos && text::is_valid(text))
        products_.push_back({text, text, text});
    insert_rows("PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER)", static_cast<int>(products_.size()),
                [&](int number) {
                  const TextsOfProduct& texts = products_[static_cast<std::size_t>(number - 1)];
                  return "N" + Gen_SqlValue(texts.part_number) + ", N" + Gen_SqlValue(texts.description) + ", N" +
                         Gen_SqlValue(texts.supplier_part_number);
                });
  }

  std::string random_search(RandomRounds& rounds) const {
    std::string search;
    for (unsigned words = 1 + rounds.below(3); words > 0; --words) {
      const TextsOfProduct& product = products_[rounds.below(static_cast<unsigned>(products_.size()))];
      const std::string& text = rounds.below(3) == 0   ? product.part_number
                                : rounds.below(2) == 0 ? product.supplier_part_number
                                                       : product.description;
      const auto length = static_cast<unsigned>(text::length(text));
      const unsigned begin = rounds.below(length + 1);
      const std::string_view behind = text::right(text, length - begin);
      search += std::string(text::left(behind, 1 + rounds.below(9)));
      search += " -.'%"[rounds.below(5)];
    }
    return rounds.below(2) == 0 ? text::to_upper(search) : search;
  }

  std::vector<TextsOfProduct> products_;
};

TEST_F(RandomSearches, FindWhatAWalkOverAllProductsTellsWithTheIndexAndWithout) {
  struct Answer {
    std::string search;
    std::vector<std::int32_t> ids;
  };
  std::vector<Answer> answers;
  ProductSearch search;
  search.limit = 2000;
  const auto ids_found = [&] {
    std::vector<std::int32_t> ids;
    for (const FoundProduct& product : find_products(search).products) ids.push_back(product.id);
    return ids;
  };
  constexpr int kSearches = 400;
  std::size_t found = 0;
  for (RandomRounds rounds(3); rounds.round() < kSearches && rounds.next();) {
    search.text = random_search(rounds);
    answers.push_back({search.text, ids_found()});
    const std::vector<std::int32_t>& ids = answers.back().ids;
    const std::set<std::int32_t> in_order(ids.begin(), ids.end());
    EXPECT_EQ(in_order.size(), ids.size()) << search.text;
    std::set<std::int32_t> expected;
    if (text::trim(text::replace_all(text::replace_all(search.text, "\t", " "), "\n", " ")).empty()) continue;
    for (std::size_t place = 0; place < products_.size(); ++place)
      if (fits(products_[place], search.text)) expected.insert(static_cast<std::int32_t>(place) + 1);
    EXPECT_EQ(in_order, expected) << "searching for: " << search.text;
    found += expected.size();
  }
  EXPECT_GT(found, answers.size());
  drop_text_index();
  for (const Answer& answer : answers) {
    search.text = answer.search;
    EXPECT_EQ(ids_found(), answer.ids) << "by reading: " << answer.search;
  }
}

TEST_F(RandomSearches, HostileTextsAreOnlyTexts) {
  const auto before = all_rows();
  for (const std::string& text : hostile_texts()) {
    EXPECT_NO_THROW(find(text)) << text.substr(0, 100);
    EXPECT_TRUE(find("resistor", text).products.empty()) << text.substr(0, 100);
  }
  EXPECT_EQ(all_rows(), before);
}

}  // namespace
}  // namespace mercato::test
