// SPDX-License-Identifier: Apache-2.0
#include "exchange/input/decoded.h"

#include <unicode/ucnv.h>
#include <unicode/ucsdet.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

constexpr std::size_t kSample = std::size_t{64} * 1024;
constexpr std::size_t kBeforeForeign = 1000;  // ASCII that helps to recognise the language of what follows

struct Mark {
  std::string_view bytes;
  const char* encoding;
};
// The longer ones first: the mark of UTF-32LE begins with that of UTF-16LE.
constexpr std::array kMarks = {
    Mark{{"\xFF\xFE\0\0", 4}, "UTF-32LE"}, Mark{{"\0\0\xFE\xFF", 4}, "UTF-32BE"}, Mark{"\xEF\xBB\xBF", "UTF-8"},
    Mark{"\xFF\xFE", "UTF-16LE"},          Mark{"\xFE\xFF", "UTF-16BE"},
};

const Mark* mark_of(std::string_view begin) {
  const auto found = std::ranges::find_if(kMarks, [begin](const Mark& mark) { return begin.starts_with(mark.bytes); });
  return found == kMarks.end() ? nullptr : &*found;
}

std::size_t first_beyond_ascii(std::string_view text) {
  std::size_t position = 0;
  for (std::uint64_t word = 0; position + sizeof word <= text.size(); position += sizeof word) {
    std::memcpy(&word, text.data() + position, sizeof word);
    if ((word & 0x8080808080808080U) != 0) break;
  }
  while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80) ++position;
  return position;
}

// How many bytes at the end begin a character that does not end there.
std::size_t unfinished_character(std::string_view text) {
  for (std::size_t back = 1; back <= 3 && back <= text.size(); ++back) {
    const auto byte = static_cast<unsigned char>(text[text.size() - back]);
    if (byte < 0x80) return 0;
    if (byte < 0xC0) continue;
    const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
    return length > back ? back : 0;
  }
  return 0;
}

// Of the character, or the stray byte, at this position.
std::size_t length_of_character(std::string_view text, std::size_t position) {
  const auto byte = static_cast<unsigned char>(text[position]);
  return byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
}

std::size_t length_of_valid_beginning(std::string_view text) {
  std::size_t position = 0;
  while (position < text.size()) {
    const std::size_t length = length_of_character(text, position);
    if (!text::is_valid(text.substr(position, length))) break;
    position += length;
  }
  return position;
}

// A few bytes that are none in a text full of UTF-8 are a fault of that text, which no other encoding mends.
bool is_meant_as_utf8(std::string_view begin) {
  begin.remove_suffix(unfinished_character(begin));
  std::size_t good = 0;
  std::size_t bad = 0;
  for (std::size_t position = 0; position < begin.size();) {
    const std::size_t length = length_of_character(begin, position);
    const bool valid = text::is_valid(begin.substr(position, length));
    if (length > 1 && valid) ++good;
    if (!valid) ++bad;
    position += valid ? length : 1;
  }
  return good > 10 * bad;
}

// Text in units of two bytes has zeros beside its letters, and all on one side.
const char* wide_encoding_of(std::string_view begin) {
  std::array<std::size_t, 2> zeros{};
  const std::size_t looked_at = std::min<std::size_t>(begin.size(), 4096) / 2 * 2;
  for (std::size_t position = 0; position < looked_at; ++position)
    if (begin[position] == '\0') ++zeros[position % 2];
  if (zeros[1] > looked_at / 4 && zeros[0] <= looked_at / 50) return "UTF-16LE";
  if (zeros[0] > looked_at / 4 && zeros[1] <= looked_at / 50) return "UTF-16BE";
  return nullptr;
}

bool is_letter(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'); }

// DOS has its letters where Windows has quotes and dashes, and lines of boxes where Windows has its letters. So what
// stands beside an ASCII letter tells the two apart.
bool is_from_dos(std::string_view begin) {
  std::size_t dos = 0;
  std::size_t windows = 0;
  for (std::size_t position = 0; position < begin.size(); ++position) {
    const auto byte = static_cast<unsigned char>(begin[position]);
    if (byte < 0x80) continue;
    const bool beside_letter = (position > 0 && is_letter(begin[position - 1])) ||
                               (position + 1 < begin.size() && is_letter(begin[position + 1]));
    if (!beside_letter) continue;
    if ((byte >= 0x80 && byte <= 0x90) || (byte >= 0x93 && byte <= 0x9A && byte != 0x96 && byte != 0x97) ||
        (byte >= 0xA0 && byte <= 0xA5) || byte == 0xE1)
      ++dos;
    else if (byte >= 0xC0)
      ++windows;
  }
  return dos > windows;
}

struct Superset {
  std::string_view narrow;
  const char* wide;
};
constexpr std::array kSupersets = {Superset{"ISO-8859-1", "windows-1252"}, Superset{"ISO-8859-2", "windows-1250"},
                                   Superset{"ISO-8859-7", "windows-1253"}, Superset{"ISO-8859-9", "windows-1254"}};

std::string detected(std::string_view begin) {
  struct CloseDetector {
    void operator()(UCharsetDetector* detector) const { ucsdet_close(detector); }
  };
  constexpr const char* kUsual = "windows-1252";
  constexpr std::int32_t kLeastConfidence = 15;
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UCharsetDetector, CloseDetector> detector(ucsdet_open(&status));
  if (U_FAILURE(status)) return kUsual;
  ucsdet_setText(detector.get(), begin.data(), static_cast<std::int32_t>(begin.size()), &status);
  const UCharsetMatch* match = ucsdet_detect(detector.get(), &status);
  if (U_FAILURE(status) || match == nullptr) return kUsual;
  const std::string_view name = ucsdet_getName(match, &status);
  if (U_FAILURE(status) || ucsdet_getConfidence(match, &status) < kLeastConfidence) return kUsual;
  for (const Superset& superset : kSupersets)
    if (name == superset.narrow) return superset.wide;
  // What remains are the encodings of Windows and of East Asia. UTF-8 it is not, and nobody sends the others.
  for (const std::string_view possible :
       {"windows-125", "ISO-8859-5", "KOI8-R", "Shift_JIS", "GB18030", "Big5", "EUC-JP", "EUC-KR"})
    if (name.starts_with(possible)) return std::string(name);
  return kUsual;
}

}  // namespace

std::string encoding_of(std::string_view begin) {
  begin = begin.substr(0, kSample);
  if (const Mark* mark = mark_of(begin)) return mark->encoding;
  if (const char* wide = wide_encoding_of(begin)) return wide;
  if (first_beyond_ascii(begin) == begin.size()) return {};
  if (is_meant_as_utf8(begin)) return "UTF-8";
  return is_from_dos(begin) ? "IBM850" : detected(begin);
}

void Decoded::Close::operator()(UConverter* converter) const noexcept { ucnv_close(converter); }

Decoded::Decoded(Bytes& bytes, const std::string& encoding) : bytes_(bytes) {
  if (!encoding.empty()) choose(encoding);
}

Decoded::~Decoded() = default;

void Decoded::choose(std::string_view encoding) {
  const std::string asked(encoding);
  UErrorCode status = U_ZERO_ERROR;
  // Asked first: opening an encoding that ICU does not list would make it look for a file.
  const char* known = ucnv_getAlias(asked.c_str(), 0, &status);
  if (known == nullptr || U_FAILURE(status))
    raise(error_number::kInvalidArgument, {},
          "There is no encoding \"" + asked + "\". Usual ones are UTF-8, UTF-16, windows-1252 and IBM850.");
  encoding_ = asked;
  if (std::string_view(known) == "UTF-8") {
    encoding_ = known;
    return;
  }
  converter_.reset(ucnv_open(asked.c_str(), &status));
  if (U_FAILURE(status)) raise(error_number::kInvalidArgument, {}, "The encoding \"" + asked + "\" cannot be used.");
  // Bytes that stand for no character are a fault, not a question mark.
  ucnv_setToUCallBack(converter_.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
}

void Decoded::begin() {
  begun_ = true;
  const std::string_view start = bytes_.peek();
  if (!encoding_.empty()) return;
  if (mark_of(start) || wide_encoding_of(start)) choose(encoding_of(start));
}

std::string_view Decoded::next() {
  if (!begun_) begin();
  while (!ended_) {
    std::string_view piece = bytes_.next();
    ended_ = piece.empty();
    if (encoding_.empty()) {
      const std::size_t ascii = first_beyond_ascii(piece);
      if (ascii == piece.size()) {
        if (ended_) break;
        at_start_ = false;
        return counted(piece);
      }
      choose(encoding_of(piece.substr(ascii - std::min(ascii, kBeforeForeign))));
    }
    std::string_view text = converter_ ? converted(piece) : whole_characters(piece);
    if (text.empty()) continue;
    if (at_start_ && text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    at_start_ = false;
    if (!text.empty()) return counted(text);
  }
  return {};
}

// The bytes themselves, without a character that the next piece ends.
std::string_view Decoded::whole_characters(std::string_view piece) {
  if (!held_.empty()) {
    text_ = held_;
    text_ += piece;
    held_.clear();
    piece = text_;
  }
  if (!ended_) {
    const std::size_t unfinished = unfinished_character(piece);
    held_.assign(piece.substr(piece.size() - unfinished));
    piece.remove_suffix(unfinished);
  }
  if (!text::is_valid(piece)) fail(piece.substr(0, length_of_valid_beginning(piece)));
  return piece;
}

std::string_view Decoded::converted(std::string_view piece) {
  text_.clear();
  const char* source = piece.data();
  const char* const source_end = source + piece.size();
  std::array<UChar, 4096> units;
  for (bool more = true; more;) {
    UErrorCode status = U_ZERO_ERROR;
    UChar* target = units.data();
    ucnv_toUnicode(converter_.get(), &target, units.data() + units.size(), &source, source_end, nullptr,
                   static_cast<UBool>(ended_), &status);
    for (const UChar* unit = units.data(); unit != target; ++unit) {
      if (U16_IS_LEAD(*unit)) {
        lead_ = *unit;
      } else {
        text::append(text_, U16_IS_TRAIL(*unit) ? static_cast<char32_t>(U16_GET_SUPPLEMENTARY(lead_, *unit)) : *unit);
      }
    }
    more = status == U_BUFFER_OVERFLOW_ERROR;
    if (!more && U_FAILURE(status)) fail(text_);
  }
  return text_;
}

std::string_view Decoded::counted(std::string_view text) {
  if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos) {
    line_ += static_cast<std::uint64_t>(std::ranges::count(text.substr(0, zero), '\n'));
    raise(error_number::kInvalidArgument, {},
          "Line " + std::to_string(line_) + " has a byte 0, which no text has: it may be a file of another format.");
  }
  line_ += static_cast<std::uint64_t>(std::ranges::count(text, '\n'));
  return text;
}

void Decoded::fail(std::string_view before) const {
  const auto line = line_ + static_cast<std::uint64_t>(std::ranges::count(before, '\n'));
  raise(error_number::kInvalidArgument, {},
        "Line " + std::to_string(line) + " is no text in the encoding " + encoding() +
            ". Name the encoding of the file with --encoding.");
}

bool Lines::fill() {
  if (!rest_.empty()) return true;
  rest_ = text_.next();
  return !rest_.empty();
}

bool Lines::next(std::string_view& line) {
  line_.clear();
  bool found = false;
  while (fill()) {
    if (after_return_ && rest_.front() == '\n') rest_.remove_prefix(1);
    after_return_ = false;
    if (rest_.empty()) continue;
    found = true;
    const std::size_t end = rest_.find_first_of("\r\n");
    const std::string_view part = rest_.substr(0, end);
    if (line_.size() + part.size() > kLongest)
      raise(error_number::kInvalidArgument, {},
            "Line " + std::to_string(number_ + 1) + " has more than " + std::to_string(kLongest) +
                " bytes: it may be a file of another format.");
    if (end == std::string_view::npos) {
      line_ += part;
      rest_ = {};
      continue;
    }
    after_return_ = rest_[end] == '\r';
    rest_.remove_prefix(end + 1);
    ++number_;
    if (line_.empty()) {
      line = part;
    } else {
      line_ += part;
      line = line_;
    }
    return true;
  }
  if (!found) return false;
  ++number_;
  line = line_;
  return true;
}

}  // namespace mercato::exchange
