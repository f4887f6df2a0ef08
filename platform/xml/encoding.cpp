// SPDX-License-Identifier: Apache-2.0
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

struct Mark {
  std::string_view bytes;
  const char* converter;  // nullptr: as it is
};
// The longer ones first: the mark of UTF-32LE begins with that of UTF-16LE.
constexpr std::array kMarks = {
    Mark{{"\xFF\xFE\0\0", 4}, "UTF-32LE"}, Mark{{"\0\0\xFE\xFF", 4}, "UTF-32BE"}, Mark{"\xEF\xBB\xBF", nullptr},
    Mark{"\xFF\xFE", "UTF-16LE"},          Mark{"\xFE\xFF", "UTF-16BE"},
};

constexpr std::string_view kDeclaration = "<?xml";
// "<?xml" is the same in all encodings of the EBCDIC family, and so are the other letters of a declaration.
constexpr std::string_view kEbcdicDeclaration = "\x4C\x6F\xA7\x94\x93";
constexpr const char* kAnyEbcdic = "ibm-37";

// "<?" in units of more than one byte, in which the letters of a declaration are those of ASCII with zeros beside them.
constexpr std::array kWideBeginnings = {
    Mark{{"<\0?\0", 4}, "UTF-16LE"},
    Mark{{"\0<\0?", 4}, "UTF-16BE"},
    Mark{{"<\0\0\0?\0\0\0", 8}, "UTF-32LE"},
    Mark{{"\0\0\0<\0\0\0?", 8}, "UTF-32BE"},
};

// Such bytes are taken as they are; whether they are UTF-8 is judged with the document.
bool is_utf8(std::string_view declared) {
  return declared.empty() || declared == "utf-8" || declared == "utf8" || declared == "us-ascii";
}

// ICU's own name of the encoding. Empty for one that ICU does not list: opening it would make ICU look for a file.
std::string_view known_name(const std::string& declared) {
  UErrorCode status = U_ZERO_ERROR;
  const char* name = ucnv_getAlias(declared.c_str(), 0, &status);
  return name == nullptr || U_FAILURE(status) ? std::string_view() : std::string_view(name);
}

// The value of the pseudo attribute "encoding" of the declaration, empty without one. Whether the declaration is
// well-formed is judged later, on the text in UTF-8.
std::string declared_encoding(std::string_view bytes) {
  if (!bytes.starts_with(kDeclaration)) return {};
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
  for (const Mark& mark : kMarks) {
    if (!bytes.starts_with(mark.bytes)) continue;
    bytes.erase(0, mark.bytes.size());
    return mark.converter == nullptr ? std::string() : convert(bytes, mark.converter, max_bytes);
  }
  constexpr std::size_t kLongestDeclaration = 200;
  const auto wide = std::find_if(kWideBeginnings.begin(), kWideBeginnings.end(),
                                 [&bytes](const Mark& begin) { return bytes.starts_with(begin.bytes); });
  std::string declared;
  if (wide != kWideBeginnings.end()) {
    std::string begin = bytes.substr(0, 4 * kLongestDeclaration);
    std::erase(begin, '\0');
    declared = declared_encoding(begin);
  } else if (bytes.starts_with(kEbcdicDeclaration)) {
    std::string begin = bytes.substr(0, kLongestDeclaration);
    if (std::string fault = convert(begin, kAnyEbcdic, max_bytes); !fault.empty()) return fault;
    declared = declared_encoding(begin);
  } else {
    declared = declared_encoding(bytes);
    if (is_utf8(declared)) return {};
  }
  const std::string shown = "\"" + declared.substr(0, 40) + "\"";
  const std::string_view name = known_name(declared);
  if (name.empty()) return "the encoding " + shown + " is not read";
  const char* from = declared.c_str();
  // "UTF-16" and "UTF-32" leave the order of the bytes to the beginning.
  if (wide != kWideBeginnings.end() && std::string_view(wide->converter).starts_with(name)) from = wide->converter;
  if (std::string fault = convert(bytes, from, max_bytes); !fault.empty()) return fault;
  // Before the conversion the bytes began with a declaration. When they no longer do, the declared encoding is wrong.
  return bytes.starts_with(kDeclaration) ? std::string() : "it is not in the encoding " + shown + " that it declares";
}

}  // namespace mercato::xml
