// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/item_building.h"

#include <unicode/locid.h>

#include <algorithm>

#include "exchange/formats/mapping.h"

namespace mercato::exchange {
namespace {

constexpr std::string_view kDecimalDigits = "0123456789";

std::string language_of(std::string_view code) {
  return icu::Locale::createCanonical(std::string(code).c_str()).getLanguage();
}

}  // namespace

bool ItemBuilder::field(std::string_view name, std::string_view value, Place place) {
  if (value.empty()) return true;
  if (!places_.emplace(name, item.fields.size()).second) return false;
  item.fields.push_back({std::string(name), std::string(value), place});
  return true;
}

void ItemBuilder::property(std::string_view called, std::string_view value, Place place) {
  const std::string name = property_name_of(called);
  if (value.empty() || name.empty()) return;
  const auto [at, is_new] = places_.emplace("=" + name, item.fields.size());
  if (is_new)
    item.fields.push_back({name, std::string(value), place, true});
  else
    item.fields[at->second].value.append("; ").append(value);
}

void FileHeader::tell(ItemSink& sink) {
  if (is_told_) return;
  is_told_ = true;
  sink.header(values_);
  for (const auto& [what, value] : shown_) sink.found_out(what, value);
}

std::string moved_decimal(std::string_view number, int places) {
  std::string_view rest = number;
  const bool is_negative = rest.starts_with('-');
  if (is_negative) rest.remove_prefix(1);
  const std::size_t sign = std::min(rest.find_first_not_of(kDecimalDigits), rest.size());
  std::string whole(rest.substr(0, sign));
  const char decimal_sign = sign < rest.size() ? rest[sign] : '.';
  std::string part(rest.substr(std::min(sign + 1, rest.size())));
  if ((decimal_sign != '.' && decimal_sign != ',') || part.find_first_not_of(kDecimalDigits) != std::string::npos ||
      (whole.empty() && part.empty()))
    return std::string(number);

  if (places < 0) {
    const auto count = static_cast<std::size_t>(-places);
    whole.insert(0, count - std::min(whole.size(), count), '0');
    part.insert(0, whole, whole.size() - count);
    whole.erase(whole.size() - count);
  } else {
    const auto count = static_cast<std::size_t>(places);
    part.append(count - std::min(part.size(), count), '0');
    whole.append(part, 0, count);
    part.erase(0, count);
    part.erase(part.find_last_not_of('0') + 1);
  }
  whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size()));
  if (whole.empty()) whole = "0";
  return (is_negative ? "-" : "") + whole + (part.empty() ? "" : decimal_sign + part);
}

std::string with(std::string_view name, std::string_view more) {
  return more.empty() ? std::string(name) : std::string(name).append(" ").append(more);
}

bool same_language(std::string_view left, std::string_view right) {
  return left == right || (!left.empty() && !right.empty() && language_of(left) == language_of(right));
}

}  // namespace mercato::exchange
