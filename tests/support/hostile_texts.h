// SPDX-License-Identifier: Apache-2.0
// Texts that try to be more than a text: what no caller may get into a statement.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace mercato::test {

// Longer than any buffer that somebody may have thought of. Under a sanitizer, which takes its time for each byte, than
// most of them.
#ifdef MERCATO_SANITIZED
inline constexpr std::size_t kVeryLong = std::size_t{1} << 17;
#else
inline constexpr std::size_t kVeryLong = std::size_t{1} << 20;
#endif

inline const std::vector<std::string>& hostile_texts() {
  static const std::vector<std::string> texts = {
      "'",
      "''",
      "'''",
      "' OR '1'='1",
      "' OR 1=1 --",
      "'; DELETE FROM PRODUCT; --",
      "'; DROP TABLE PRODUCT; SELECT '",
      "x' UNION SELECT PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION FROM PRODUCT WHERE 'a'='a",
      "1 OR 1=1",
      "1; DELETE FROM PRODUCT",
      "1) OR (1=1",
      "(SELECT MAX(PRODUCTID) FROM PRODUCT)",
      "-- ",
      "/* ",
      "*/",
      "[",
      "]",
      "[]'[",
      "\"",
      "\\'; DELETE FROM PRODUCT; --",
      "%_[^a]",
      std::string("a\0b", 3),
      std::string("\0'; DELETE FROM PRODUCT; --", 27),
      "\xFF\xFE'",
      "\xC0\xA7 OR 1=1 --",
      "\xE2\x80\x8F' OR 1=1",
      "\xE2\x80\x99 OR 1=1",
      "\r\nGO\r\nDELETE FROM PRODUCT",
      std::string(65536, 'x'),
      std::string(65536, '\''),
      std::string(kVeryLong, 'x'),
  };
  return texts;
}

}  // namespace mercato::test
