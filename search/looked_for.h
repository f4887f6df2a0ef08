// SPDX-License-Identifier: Apache-2.0
// The words that are looked for, and how they fit a product. Knows no store. Immutable; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/search.h"

namespace mercato::search {

// How a product fits, and whether it does so by a number that is written in another way than the text.
struct Standing {
  Fit fit = Fit::listed;
  bool other_spelling = false;
};

class LookedFor {
 public:
  explicit LookedFor(std::string_view text);

  // Without the blanks at its ends.
  const std::string& text() const { return text_; }
  // Squeezed, and none of them empty. Of a text without a letter or digit there are none.
  const std::vector<std::string>& words() const { return words_; }
  // The words, put together.
  const std::string& whole() const { return whole_; }
  bool is_everything() const { return text_.empty(); }
  bool is_nothing() const { return !text_.empty() && words_.empty(); }
  // The forms in which a GTIN may be stored that has the words as its digits.
  const std::vector<std::string>& gtins() const { return gtins_; }

  // Nothing when the product does not fit.
  std::optional<Standing> standing_of(const FoundProduct& product) const;
  std::vector<FoundPlace> places_in(const FoundProduct& product) const;

 private:
  bool is_gtin(const FoundProduct& product) const;

  std::string text_;
  std::vector<std::string> words_;
  std::string whole_;
  std::vector<std::string> gtins_;
};

// The words of a text: what stands between its blanks. Those without a letter or digit are left out.
std::vector<std::string_view> words_of(std::string_view text);

}  // namespace mercato::search
