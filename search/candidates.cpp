// SPDX-License-Identifier: Apache-2.0
#include "search/candidates.h"

#include <algorithm>
#include <utility>

#include "frame/lib_sql.h"
#include "frame/proposed_rows.h"
#include "search/id_list.h"
#include "values/text.h"

namespace mercato::search {
namespace {

// Longer words and more of them narrow hardly anything down, but cost the index a look-up for each three characters.
constexpr std::size_t kMostWords = 8;
constexpr std::size_t kMostCharacters = 40;

// What any text looks like that holds the word with signs anywhere in it.
std::string pattern_of(std::string_view word) {
  std::string pattern = "%";
  for (; !word.empty(); word.remove_prefix(text::left(word, 1).size())) (pattern += text::left(word, 1)) += '%';
  return pattern;
}

}  // namespace

Candidates::Candidates(ConnectionPtr connection, std::vector<std::string> words, const ProductSearch& search,
                       std::int32_t after)
    : connection_(std::move(connection)), words_(std::move(words)), last_(after) {
  // The longest words are the rarest.
  std::ranges::stable_sort(words_, std::ranges::greater(), [](const std::string& word) { return text::length(word); });
  if (words_.size() > kMostWords) words_.resize(kMostWords);
  for (std::string& word : words_) word.resize(text::left(word, kMostCharacters).size());
  if (!propose_more()) begin_reading(search);
}

// More than the index was asked for before, for it always begins with the least. Most often once is enough. False when
// the store cannot propose.
bool Candidates::propose_more() {
  constexpr std::size_t kFirst = kCountedProducts + kLongList;
  constexpr std::size_t kGrowth = 8;
  asked_ = asked_ == 0 ? kFirst : asked_ * kGrowth;
  std::optional<std::vector<std::int64_t>> proposed = rows_that_may_hold(connection_, "PRODUCT", words_, asked_);
  if (!proposed) return false;
  proposed_ = std::move(*proposed);
  next_ = static_cast<std::size_t>(std::ranges::upper_bound(proposed_, last_) - proposed_.begin());
  return true;
}

void Candidates::begin_reading(const ProductSearch& search) {
  Sql sql = search.category ? Sql("SELECT PRODUCT.PRODUCTID FROM PRODUCT INNER JOIN PRODUCTSBYCATEGORY ON "
                                  "PRODUCTSBYCATEGORY.PRODUCTID = PRODUCT.PRODUCTID AND "
                                  "PRODUCTSBYCATEGORY.CATEGORYID = ")
                                  << *search.category
                            : Sql("SELECT PRODUCT.PRODUCTID FROM PRODUCT");
  sql << " WHERE PRODUCT.PRODUCTID > " << last_;
  if (search.supplier) sql << " AND PRODUCT.BUSINESSPARTNERID = " << *search.supplier;
  for (const std::string& word : words_) {
    const std::string pattern = pattern_of(word);
    sql << " AND (PRODUCT.PARTNUMBER LIKE N'" << value(pattern) << "' OR PRODUCT.PRODUCTDESCRIPTION LIKE N'"
        << value(pattern) << "' OR PRODUCT.BUYFROMPARTNUMBER LIKE N'" << value(pattern)
        << "' OR PRODUCT.MFRPARTNUMBER LIKE N'" << value(pattern) << "')";
  }
  sql << " ORDER BY PRODUCT.PRODUCTID";
  // On a connection of its own: others run statements while it is read.
  read_ = open_read_only(sql, open_connection(connection_->connection_string()));
}

std::vector<std::int32_t> Candidates::next(std::size_t most) {
  std::vector<std::int32_t> ids;
  if (read_) {
    for (; ids.size() < most && !read_->Eof(); read_->MoveNext()) ids.push_back(read_->Value(0).to_long());
    return ids;
  }
  while (next_ == proposed_.size() && proposed_.size() == asked_) propose_more();
  for (; ids.size() < most && next_ < proposed_.size(); ++next_)
    ids.push_back(last_ = static_cast<std::int32_t>(proposed_[next_]));
  return ids;
}

}  // namespace mercato::search
