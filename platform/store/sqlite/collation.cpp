// SPDX-License-Identifier: Apache-2.0
#include "platform/store/sqlite/collation.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>

#include "mercato/raised_error.h"
#include "values/same_text.h"

namespace mercato::store::sqlite {
namespace {

int compare_by(const UCollator* collator, std::string_view left, std::string_view right) {
  UErrorCode status = U_ZERO_ERROR;
  return ucol_strcollUTF8(collator, left.data(), static_cast<std::int32_t>(left.size()), right.data(),
                          static_cast<std::int32_t>(right.size()), &status);
}

[[noreturn]] void refuse(UErrorCode status) {
  raise(error_number::kStoreFailure, "SQLite store",
        std::string("The order of texts is not available: ") + u_errorName(status));
}

// The one collator that all others are clones of, and the places of single characters in its order.
struct Root {
  Root() {
    UErrorCode status = U_ZERO_ERROR;
    collator.reset(ucol_open("", &status));
    if (U_FAILURE(status)) refuse(status);
    ucol_setStrength(collator.get(), UCOL_SECONDARY);
    // Marks may stand in any order.
    ucol_setAttribute(collator.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    if (U_FAILURE(status)) refuse(status);
    rank_characters();
  }

  // Two ASCII texts differ by their first characters of different rank: none of these characters has a secondary weight
  // of its own or joins with a neighbour. Control characters weigh nothing, so they have no rank.
  void rank_characters() {
    std::array<char, 128> characters{};
    std::iota(characters.begin(), characters.end(), char{0});
    const auto order = [this](char left, char right) { return compare_by(collator.get(), {&left, 1}, {&right, 1}); };
    std::sort(characters.begin(), characters.end(), [&order](char left, char right) { return order(left, right) < 0; });
    std::uint8_t rank = 0;
    char previous = '\0';
    for (const char character : characters) {
      if (compare_by(collator.get(), {&character, 1}, {}) == 0) continue;
      if (rank == 0 || order(previous, character) != 0) ++rank;
      ranks[static_cast<unsigned char>(character)] = rank;
      previous = character;
    }
  }

  std::unique_ptr<UCollator, decltype([](UCollator* each) { ucol_close(each); })> collator;
  std::array<std::uint8_t, 256> ranks{};  // 0: ask ICU
};

const Root& root() {
  static const Root instance;
  return instance;
}

}  // namespace

TextOrder::TextOrder() : ranks_(&root().ranks) {
  UErrorCode status = U_ZERO_ERROR;
  collator_.reset(ucol_clone(root().collator.get(), &status));
  if (U_FAILURE(status)) refuse(status);
}

int TextOrder::compare(std::string_view left, std::string_view right) const {
  left = text::without_trailing_blanks(left);
  right = text::without_trailing_blanks(right);
  const std::array<std::uint8_t, 256>& ranks = *ranks_;
  const std::size_t common = std::min(left.size(), right.size());
  std::size_t i = 0;
  for (; i < common; ++i) {
    const std::uint8_t rank = ranks[static_cast<unsigned char>(left[i])];
    if (rank == 0 || rank != ranks[static_cast<unsigned char>(right[i])]) break;
  }
  // The rank at a position; behind the end something below all ranks, but not the sign to ask ICU.
  constexpr int kEnd = -1;
  const auto rank_at = [&ranks](std::string_view text, std::size_t position) -> int {
    return position < text.size() ? ranks[static_cast<unsigned char>(text[position])] : kEnd;
  };
  // A character without a rank could also change what the one before it weighs.
  const int left_rank = rank_at(left, i), right_rank = rank_at(right, i);
  if (left_rank != 0 && right_rank != 0) {
    if (left_rank == right_rank) return 0;
    if (rank_at(left, i + 1) != 0 && rank_at(right, i + 1) != 0) return left_rank < right_rank ? -1 : 1;
  }
  if (left == right) return 0;
  if (const int order = compare_by(collator_.get(), left, right); order != 0) return order;
  // ICU passes over characters that show nothing and over forms of a letter; they count all the same.
  return text::compare_folded(left, right);
}

}  // namespace mercato::store::sqlite
