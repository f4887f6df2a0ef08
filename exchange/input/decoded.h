// SPDX-License-Identifier: Apache-2.0
// A stream of bytes as text in UTF-8, whatever encoding it is in, and its lines. One thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "exchange/input/bytes.h"

struct UConverter;

namespace mercato::exchange {

// The encoding of bytes that do not name it, by the name that ICU has for it: "UTF-8", "windows-1252", "IBM850". Empty
// as long as all of them are ASCII. An encoding of Windows is preferred to that of ISO which it contains.
std::string encoding_of(std::string_view begin);

class Decoded {
 public:
  // The encoding is found out when none is given: by the mark at the beginning, or else where the first bytes stand
  // that are not ASCII. Raises 5 for an encoding that nobody knows. `bytes` must outlive this.
  explicit Decoded(Bytes& bytes, const std::string& encoding = {});
  ~Decoded();
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;

  // The next piece of text, whole characters in UTF-8 without a mark, valid until the next call; empty at the end.
  // Raises 5, naming the line, for bytes that are no text in the encoding, and for those of files that hold no text.
  std::string_view next();

  // "UTF-8" as long as nothing else has come.
  std::string encoding() const { return encoding_.empty() ? "UTF-8" : encoding_; }

 private:
  struct Close {
    void operator()(UConverter* converter) const noexcept;
  };

  void choose(std::string_view encoding);
  void begin();
  std::string_view whole_characters(std::string_view piece);
  std::string_view converted(std::string_view piece);
  std::string_view counted(std::string_view text);
  [[noreturn]] void fail(std::string_view before) const;

  Bytes& bytes_;
  std::string encoding_;                          // empty: all was ASCII so far
  std::unique_ptr<UConverter, Close> converter_;  // null: the bytes are UTF-8
  std::string text_;                              // what was returned last, where it is not the bytes themselves
  std::string held_;                              // the beginning of a character whose rest is in the next piece
  std::uint64_t line_ = 1;                        // of what comes next
  char16_t lead_ = 0;                             // the first half of a pair whose second half is in the next piece
  bool begun_ = false;
  bool at_start_ = true;
  bool ended_ = false;
};

// The lines of a text, without their ends (LF, CR LF, or CR alone).
class Lines {
 public:
  static constexpr std::size_t kLongest = std::size_t{1} << 20;

  explicit Lines(Decoded& text) : text_(text) {}

  // False at the end. The line is valid until the next call. Raises 5 for one of more than kLongest bytes.
  bool next(std::string_view& line);
  // Of the line that was given last, counted from 1.
  std::uint64_t number() const { return number_; }

 private:
  bool fill();

  Decoded& text_;
  std::string_view rest_;
  std::string line_;  // one that stands in several pieces
  std::uint64_t number_ = 0;
  bool after_return_ = false;  // the last line ended with CR: an LF in front of the rest belongs to it
};

}  // namespace mercato::exchange
