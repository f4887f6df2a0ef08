// SPDX-License-Identifier: Apache-2.0
#include "search/looked_for.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>

#include "values/same_text.h"
#include "values/squeezed_text.h"
#include "values/text.h"

namespace mercato::search {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

bool is_blank(char character) { return kBlanks.find(character) != std::string_view::npos; }
bool counts(char byte) { return !text::is_squeezed_out(byte); }
std::string squeezed(std::string_view text) { return text::squeezed(text::folded(text)); }
bool holds(std::string_view text, std::string_view piece) { return text.find(piece) != std::string_view::npos; }

// Whether the word stands between two blanks. The text begins and ends with one.
bool holds_whole(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1))
    if (text[at - 1] == ' ' && text[at + word.size()] == ' ') return true;
  return false;
}

// A description as words are looked for in it: each word squeezed, between blanks. `keeps_parts`: what a sign divides
// are words of their own, so that "usb" is a whole word of "USB-C".
std::string squeezed_words(std::string_view folded, bool keeps_parts) {
  std::string words(folded.size() + 2, ' ');
  std::size_t end = 1;  // behind a blank or the last word
  for (const char character : folded) {
    if (counts(character))
      words[end++] = character;
    else if ((keeps_parts || is_blank(character)) && words[end - 1] != ' ')
      words[end++] = ' ';
  }
  words.resize(words[end - 1] == ' ' ? end : end + 1);
  return words;
}

std::string_view without_zeros(std::string_view digits) {
  return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

// The text as it is, and its digits with the zeros that a GTIN of each length has in front.
std::vector<std::string> gtins_of(const std::string& text, const std::string& whole) {
  constexpr std::array<std::size_t, 4> kLengths = {8, 12, 13, 14};
  std::vector<std::string> forms = {text, whole};
  if (whole.size() < kLengths.front() || whole.find_first_not_of("0123456789") != std::string::npos) return forms;
  const std::string digits(without_zeros(whole));
  for (const std::size_t length : kLengths)
    if (digits.size() <= length) forms.push_back(std::string(length - digits.size(), '0') + digits);
  return forms;
}

// A text, squeezed, that knows which of its characters each byte comes from. Letters that are not composed have no
// characters of their own in the composed text, so there each byte comes from all of the text.
class TracedText {
 public:
  TracedText(std::string_view text, bool keeps_blanks) : length_(text::length(text)) {
    std::string folded;
    std::vector<std::size_t> places;
    for (std::size_t begin = 0, place = 0; begin < text.size(); ++place) {
      const std::string_view character = text::left(text.substr(begin), 1);
      begin += character.size();
      folded += text::folded(character);
      places.resize(folded.size(), place);
    }
    const std::string composed = text::folded(text);
    is_traced_ = folded == composed;
    for (std::size_t at = 0; at < composed.size(); ++at) {
      const char byte = composed[at];
      if (!counts(byte) && !(keeps_blanks && is_blank(byte))) continue;
      squeezed_ += counts(byte) ? byte : ' ';
      if (is_traced_) places_.push_back(places[at]);
    }
  }

  // Adds the places of the piece.
  void find(std::string_view piece, FoundField field, std::vector<FoundPlace>& found) const {
    for (std::size_t at = squeezed_.find(piece); at != std::string::npos;
         at = squeezed_.find(piece, at + piece.size())) {
      const std::size_t begin = is_traced_ ? places_[at] : 0;
      const std::size_t end = is_traced_ ? places_[at + piece.size() - 1] + 1 : length_;
      found.push_back({field, begin, end - begin});
    }
  }

 private:
  std::size_t length_;  // of the text, in characters
  std::string squeezed_;
  bool is_traced_ = false;
  std::vector<std::size_t> places_;  // by the bytes of `squeezed_`
};

// Places in the order of fields and texts, those that overlap made one.
std::vector<FoundPlace> united(std::vector<FoundPlace> places) {
  std::ranges::sort(places, {}, [](const FoundPlace& place) { return std::pair(place.field, place.begin); });
  std::vector<FoundPlace> result;
  for (const FoundPlace& place : places) {
    FoundPlace* const last = result.empty() || result.back().field != place.field ? nullptr : &result.back();
    if (last && place.begin < last->begin + last->length)
      last->length = std::max(last->length, place.begin + place.length - last->begin);
    else
      result.push_back(place);
  }
  return result;
}

}  // namespace

std::vector<std::string_view> words_of(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t begin = text.find_first_not_of(kBlanks); begin != std::string_view::npos;) {
    const std::size_t end = std::min(text.find_first_of(kBlanks, begin), text.size());
    const std::string_view word = text.substr(begin, end - begin);
    if (std::ranges::any_of(word, counts)) words.push_back(word);
    begin = text.find_first_not_of(kBlanks, end);
  }
  return words;
}

LookedFor::LookedFor(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  text_ = text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
  for (const std::string_view word : words_of(text_)) {
    words_.push_back(squeezed(word));
    whole_ += words_.back();
  }
  gtins_ = gtins_of(text_, whole_);
}

bool LookedFor::is_gtin(const FoundProduct& product) const {
  if (product.gtin.empty()) return false;
  return std::ranges::any_of(gtins_, [&](const std::string& form) { return text::same(form, product.gtin); });
}

std::optional<Standing> LookedFor::standing_of(const FoundProduct& product) const {
  if (is_everything()) return Standing{};
  const std::array<const std::string*, 3> fields = {&product.part_number, &product.supplier_part_number,
                                                    &product.manufacturer_part_number};
  std::array<std::string, 3> numbers;
  for (std::size_t field = 0; field < fields.size(); ++field) numbers[field] = squeezed(*fields[field]);

  if (numbers[0] == whole_) return Standing{Fit::part_number, !text::same(*fields[0], text_)};
  if (numbers[1] == whole_ || numbers[2] == whole_)
    return Standing{Fit::other_number, !text::same(*fields[1], text_) && !text::same(*fields[2], text_)};
  if (is_gtin(product)) return Standing{Fit::other_number, !text::same(product.gtin, text_)};
  const auto any_number = [&](const auto& fits) { return std::ranges::any_of(numbers, fits); };
  if (any_number([&](const std::string& number) { return number.starts_with(whole_); }))
    return Standing{Fit::number_begins};
  if (any_number([&](const std::string& number) { return holds(number, whole_); })) return Standing{Fit::number_holds};

  const std::string folded = text::folded(product.description);
  const std::string description = squeezed_words(folded, false);
  std::string parts;  // made where it is needed
  bool all_whole = true;
  for (const std::string& word : words_) {
    const bool in_description = holds(description, word);
    if (!in_description && !any_number([&](const std::string& number) { return holds(number, word); }))
      return std::nullopt;
    if (!all_whole || any_number([&](const std::string& number) { return number == word; })) continue;
    if (in_description && holds_whole(description, word)) continue;
    if (in_description && parts.empty()) parts = squeezed_words(folded, true);
    all_whole = in_description && holds_whole(parts, word);
  }
  return Standing{all_whole ? Fit::whole_words : Fit::parts_of_words};
}

std::vector<FoundPlace> LookedFor::places_in(const FoundProduct& product) const {
  std::vector<FoundPlace> places;
  if (words_.empty()) return places;
  const auto look = [&](const std::string& text, FoundField field) {
    const TracedText traced(text, field == FoundField::description);
    std::vector<FoundPlace> found;
    if (field != FoundField::description) traced.find(whole_, field, found);
    if (found.empty())
      for (const std::string& word : words_) traced.find(word, field, found);
    places.insert(places.end(), found.begin(), found.end());
  };
  look(product.part_number, FoundField::part_number);
  look(product.supplier_part_number, FoundField::supplier_part_number);
  look(product.manufacturer_part_number, FoundField::manufacturer_part_number);
  look(product.description, FoundField::description);
  if (is_gtin(product)) places.push_back({FoundField::gtin, 0, text::length(product.gtin)});
  return united(std::move(places));
}

}  // namespace mercato::search
