// SPDX-License-Identifier: Apache-2.0
#include "classification/unspsc_code.h"

#include "values/text.h"

namespace mercato::unspsc {
namespace {

constexpr std::size_t kPair = 2;

}  // namespace

std::optional<Place> place_of(const std::string& code) {
  if (const std::size_t length = text::length(code); length != 8 && length != 10) return std::nullopt;
  if (!text::parse_number(code)) return std::nullopt;  // what reads as a number has no character beyond ASCII
  Place place;
  for (std::size_t at = 0; at < code.size(); at += kPair) {
    // A pair such as "1E" can be part of a number without being one: it is neither a zero pair nor a level.
    const std::optional<double> pair = text::parse_number(code.substr(at, kPair));
    if (pair.value_or(0) != 0) {
      place = {code.substr(0, at), code.substr(at, kPair), static_cast<std::int16_t>(at / kPair + 1)};
    } else if (pair && text::parse_number(code.substr(at + kPair)).value_or(0) != 0) {
      return std::nullopt;
    }
  }
  return place;
}

std::string without_zero_pairs(std::string code) {
  while (code.size() > kPair && code.size() % kPair == 0 && code.ends_with("00")) code.resize(code.size() - kPair);
  return code;
}

std::int16_t level_below(const std::string& code) { return static_cast<std::int16_t>(code.size() / kPair + 1); }

}  // namespace mercato::unspsc
