// SPDX-License-Identifier: Apache-2.0
#include "exchange/input/decoded.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "mercato/raised_error.h"

namespace mercato::exchange {
namespace {

// Bytes that come a few at a time.
class Trickle final : public Bytes {
 public:
  Trickle(std::string_view all, std::size_t most) : all_(all), most_(most) {}
  std::string_view next() override {
    const std::string_view piece = all_.substr(0, most_);
    all_.remove_prefix(piece.size());
    return piece;
  }
  std::string_view peek() override { return all_.substr(0, std::size_t{64} * 1024); }

 private:
  std::string_view all_;
  const std::size_t most_;
};

std::string decoded(std::string_view bytes, const std::string& encoding = {}, std::size_t at_once = 1U << 20U) {
  Trickle source(bytes, at_once);
  Decoded text(source, encoding);
  std::string all;
  for (std::string_view piece = text.next(); !piece.empty(); piece = text.next()) all += piece;
  return all;
}

std::string failure_of(std::string_view bytes, const std::string& encoding = {}) {
  try {
    decoded(bytes, encoding);
  } catch (const Raised& raised) {
    return raised.error().Description;
  }
  return "nothing raised";
}

std::string found_encoding(std::string_view bytes) {
  BytesOfText source(bytes);
  Decoded text(source);
  while (!text.next().empty()) {
  }
  return text.encoding();
}

TEST(DecodedText, IsUtf8WhateverTheEncodingOfTheFile) {
  const struct {
    const char* what;
    std::string_view bytes;
    const char* encoding;
    const char* expected;
  } cases[] = {
      {"ASCII", "Nut M8", "UTF-8", "Nut M8"},
      {"UTF-8", "Schl\xC3\xBCssel", "UTF-8", "Schlüssel"},
      {"UTF-8 with a mark", "\xEF\xBB\xBFSchl\xC3\xBCssel", "UTF-8", "Schlüssel"},
      {"a mark and ASCII", "\xEF\xBB\xBFNut", "UTF-8", "Nut"},
      {"UTF-16 with a mark", {"\xFF\xFE\x41\x00\xE9\x00\x3D\xD8\x00\xDE", 10}, "UTF-16LE", "Aé😀"},
      {"UTF-16 the other way", {"\xFE\xFF\x00\x41\x00\xE9\xD8\x3D\xDE\x00", 10}, "UTF-16BE", "Aé😀"},
      {"UTF-16 without a mark", {"n\0u\0m\0b\0e\0r\0;\0", 14}, "UTF-16LE", "number;"},
      {"Windows", "Preis f\xFCr Schl\xFCssel gro\xDF 5 \x80", "windows-1252", "Preis für Schlüssel groß 5 €"},
      {"DOS", "Preis f\x81r Schl\x81ssel gro\xE1", "IBM850", "Preis für Schlüssel groß"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.what);
    EXPECT_EQ(found_encoding(one.bytes), one.encoding);
    // What is found out depends on what stands in one piece; what it is read as does not.
    for (const std::size_t at_once : {1U, 2U, 3U, 1000U})
      EXPECT_EQ(decoded(one.bytes, one.encoding, at_once), one.expected) << at_once;
  }
}

TEST(DecodedText, OfManyEncodingsOfTheWorldIsFoundOut) {
  const std::string russian =
      "\xC3\xE0\xE5\xF7\xED\xFB\xE9 \xEA\xEB\xFE\xF7, \xF8\xE5\xF1\xF2\xE8\xE3\xF0\xE0\xED\xED\xE0\xFF "
      "\xE3\xE0\xE9\xEA\xE0 \xE8 \xE1\xEE\xEB\xF2 \xE4\xEB\xFF \xEC\xE5\xF2\xE0\xEB\xEB\xE0";
  EXPECT_EQ(found_encoding(russian), "windows-1251");
  EXPECT_EQ(decoded(russian).substr(0, 23), "Гаечный ключ");
}

TEST(DecodedText, TellsTheEncodingWhereTheFirstForeignByteStands) {
  const std::string text = std::string(300'000, 'a') + "\nf\xC3\xBCr";
  EXPECT_EQ(found_encoding(text), "UTF-8");
  EXPECT_EQ(decoded(text, {}, 100'000), std::string(300'000, 'a') + "\nfür");
  EXPECT_EQ(found_encoding(std::string(300'000, 'a') + "\nf\xFCr den Schl\xFCssel"), "windows-1252");
}

TEST(DecodedText, NamesTheLineOfBytesThatAreNoText) {
  EXPECT_EQ(failure_of("a\nb\xFF", "UTF-8"),
            "Line 2 is no text in the encoding UTF-8. Name the encoding of the file with --encoding.");
  EXPECT_EQ(failure_of("a\n\xC3", "UTF-8"),
            "Line 2 is no text in the encoding UTF-8. Name the encoding of the file with --encoding.");
  std::string mostly_good = "äöüßäöüßäöüß\näöüß\xFF\n";
  EXPECT_EQ(failure_of(mostly_good),
            "Line 2 is no text in the encoding UTF-8. Name the encoding of the file with --encoding.");
  EXPECT_EQ(failure_of({"a\nb\0c", 5}), "Line 2 has a byte 0, which no text has: it may be a file of another format.");
  EXPECT_EQ(failure_of("a", "klingon"),
            "There is no encoding \"klingon\". Usual ones are UTF-8, UTF-16, windows-1252 and IBM850.");
}

std::vector<std::string> lines_of(std::string_view bytes, std::size_t at_once) {
  Trickle source(bytes, at_once);
  Decoded text(source);
  Lines lines(text);
  std::vector<std::string> all;
  for (std::string_view line; lines.next(line);) {
    EXPECT_EQ(lines.number(), all.size() + 1);
    all.emplace_back(line);
  }
  return all;
}

TEST(LinesOfText, EndInAnyOfTheUsualWays) {
  const std::vector<std::string> expected = {"one", "", "two", "three", "", "four"};
  for (const std::size_t at_once : {1U, 2U, 3U, 5U, 100U})
    EXPECT_EQ(lines_of("one\n\ntwo\r\nthree\r\rfour", at_once), expected) << at_once;
  EXPECT_EQ(lines_of("one\r\n", 4), std::vector<std::string>{"one"});
  EXPECT_EQ(lines_of("\n", 1), std::vector<std::string>{""});
  EXPECT_EQ(lines_of("", 1), std::vector<std::string>{});
}

TEST(LinesOfText, AreBounded) {
  const std::string text = "short\n" + std::string(Lines::kLongest + 1, 'x');
  try {
    lines_of(text, 10'000);
    FAIL() << "nothing raised";
  } catch (const Raised& raised) {
    EXPECT_EQ(raised.error().Description, "Line 2 has more than 1048576 bytes: it may be a file of another format.");
  }
}

}  // namespace
}  // namespace mercato::exchange
