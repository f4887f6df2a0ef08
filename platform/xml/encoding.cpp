#include "platform/xml/encoding.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

namespace mercato::xml {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LittleMark = "\xFF\xFE";
constexpr std::string_view kUtf16BigMark = "\xFE\xFF";

struct Known {
  std::string_view declared;  // in small letters
  const char* converter;      // nullptr: as it is
};
constexpr std::array kKnown = {
    Known{"utf-8", nullptr},           Known{"utf8", nullptr},        Known{"us-ascii", nullptr},
    Known{"iso-8859-1", "ISO-8859-1"}, Known{"latin1", "ISO-8859-1"}, Known{"windows-1252", "windows-1252"},
    Known{"cp1252", "windows-1252"},
};

// The value of the pseudo attribute "encoding" of the declaration, empty without one. Whether the declaration is
// well-formed is judged later, on the text in UTF-8.
std::string declared_encoding(std::string_view bytes) {
  if (!bytes.starts_with("<?xml")) return {};
  const std::string_view declaration = bytes.substr(0, bytes.find("?>"));
  const auto name = declaration.find("encoding");
  if (name == std::string_view::npos) return {};
  const auto open = declaration.find_first_of("\"'", name);
  if (open == std::string_view::npos) return {};
  const auto close = declaration.find(declaration[open], open + 1);
  if (close == std::string_view::npos) return {};
  std::string value(declaration.substr(open + 1, close - open - 1));
  std::transform(value.begin(), value.end(), value.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return value;
}

std::string convert(std::string& bytes, const char* from, std::size_t max_bytes) {
  struct Close {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
  };
  const std::string impossible = "it cannot be converted from " + std::string(from) + " to UTF-8";
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) return impossible;
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, Close> converter(ucnv_open(from, &status));
  if (U_FAILURE(status)) return impossible;
  // A sequence that stands for no character is a fault, not a question mark.
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);

  const auto run = [&](char* target, std::int32_t capacity) {
    return ucnv_toAlgorithmic(UCNV_UTF8, converter.get(), target, capacity, bytes.data(),
                              static_cast<std::int32_t>(bytes.size()), &status);
  };
  const std::int32_t size = run(nullptr, 0);  // measures
  if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return impossible;
  if (static_cast<std::size_t>(size) > max_bytes) return "it has more than " + std::to_string(max_bytes) + " bytes";
  status = U_ZERO_ERROR;
  std::string text(static_cast<std::size_t>(size), '\0');
  ucnv_resetToUnicode(converter.get());
  run(text.data(), size);
  if (U_FAILURE(status)) return impossible;
  bytes = std::move(text);
  return {};
}

}  // namespace

std::string to_utf8(std::string& bytes, std::size_t max_bytes) {
  const std::string_view view = bytes;
  if (view.starts_with(std::string_view("\xFF\xFE\0\0", 4)) || view.starts_with(std::string_view("\0\0\xFE\xFF", 4))) {
    return "the encoding UTF-32 is not read";
  }
  if (view.starts_with(kUtf16LittleMark) || view.starts_with(kUtf16BigMark)) {
    const char* converter = view.starts_with(kUtf16LittleMark) ? "UTF-16LE" : "UTF-16BE";
    bytes.erase(0, kUtf16LittleMark.size());
    return convert(bytes, converter, max_bytes);
  }
  const bool marked = view.starts_with(kUtf8Mark);
  if (marked) bytes.erase(0, kUtf8Mark.size());
  const std::string declared = declared_encoding(bytes);
  if (marked || declared.empty()) return {};
  const auto* known = std::find_if(kKnown.begin(), kKnown.end(),
                                   [&](const Known& candidate) { return candidate.declared == declared; });
  if (known == kKnown.end()) return "the encoding \"" + declared.substr(0, 40) + "\" is not read";
  return known->converter == nullptr ? std::string() : convert(bytes, known->converter, max_bytes);
}

}  // namespace mercato::xml
