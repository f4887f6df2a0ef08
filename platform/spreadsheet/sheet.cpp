// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/sheet.h"

#include <charconv>
#include <utility>

namespace mercato::spreadsheet {
namespace {

std::optional<std::int32_t> whole_number(std::string_view text) {
  std::int32_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

// The column of a reference such as "AB12". 0 when it has none; with too many letters, more than any sheet has.
std::int32_t column_of(std::string_view reference) {
  std::int32_t column = 0;
  for (const char letter : reference) {
    if (letter < 'A' || letter > 'Z' || column > SheetReader::kMostColumns) break;
    column = column * 26 + (letter - 'A' + 1);
  }
  return column;
}

CellKind kind_of(std::string_view type) {
  if (type == "s") return CellKind::shared_text;
  if (type == "str" || type == "inlineStr") return CellKind::text;
  if (type == "b") return CellKind::boolean;
  if (type == "e") return CellKind::error;
  if (type == "d") return CellKind::date;
  return CellKind::number;
}

void append_utf8(std::string& text, unsigned code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0 | (code >> 6));
    text += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    text += static_cast<char>(0xE0 | (code >> 12));
    text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  }
}

}  // namespace

std::string unescaped(std::string_view text) {
  std::string plain;
  std::size_t done = 0;
  for (std::size_t at = text.find("_x"); at != std::string_view::npos; at = text.find("_x", at)) {
    unsigned code = 0;
    const std::string_view digits = text.substr(at + 2, 4);
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    const bool is_escape = digits.size() == 4 && result.ptr == digits.data() + 4 && text.substr(at + 6, 1) == "_";
    // One half of a surrogate pair is no character and stays as it is written.
    if (!is_escape || (code >= 0xD800 && code < 0xE000)) {
      at += 2;
      continue;
    }
    plain += text.substr(done, at - done);
    append_utf8(plain, code);
    at += 7;
    done = at;
  }
  plain += text.substr(done);
  return plain;
}

SheetReader::SheetReader(PartStream stream, std::string part_name, const Limits& limits)
    : part_name_(part_name), limits_(limits), parser_(std::move(stream), std::move(part_name), *this) {}

std::optional<RawRow> SheetReader::next() {
  while (ready_.empty() && parser_.advance()) {
  }
  if (ready_.empty()) return std::nullopt;
  RawRow row = std::move(ready_.front());
  ready_.pop_front();
  return row;
}

void SheetReader::fail(const std::string& reason) const { throw Unreadable("its part " + part_name_ + " " + reason); }

void SheetReader::open(const Element& element) {
  if (!in_rows_) {
    in_rows_ = element.name == "sheetData";
  } else if (!in_row_) {
    if (element.name == "row") open_row(element);
  } else if (!in_cell_) {
    if (element.name == "c") open_cell(element);
  } else if (element.name == "f") {
    cell_.has_formula = true;
  } else if (element.name == "is") {
    in_inline_text_ = true;
  } else if (element.name == "rPh") {
    ++phonetic_;
  } else if (element.name == "v" || (element.name == "t" && in_inline_text_ && phonetic_ == 0)) {
    takes_text_ = true;
  }
}

void SheetReader::close(std::string_view name) {
  if (in_cell_) {
    if (name == "v" || name == "t") takes_text_ = false;
    if (name == "is") in_inline_text_ = false;
    if (name == "rPh") --phonetic_;
    if (name != "c") return;
    in_cell_ = false;
    if (!cell_.value.empty() || cell_.has_formula) row_.cells.push_back(std::move(cell_));
  } else if (in_row_) {
    if (name != "row") return;
    in_row_ = false;
    if (!row_.cells.empty()) ready_.push_back({row_.number, std::exchange(row_.cells, {})});
  } else if (name == "sheetData") {
    in_rows_ = false;
  }
}

void SheetReader::text(std::string_view piece) {
  if (!takes_text_) return;
  if (cell_.value.size() + piece.size() > limits_.max_cell_bytes) fail("has a cell with too long a text");
  cell_.value += piece;
}

void SheetReader::open_row(const Element& element) {
  const std::string_view given = element.attribute("r");
  const std::optional<std::int32_t> number = given.empty() ? row_.number + 1 : whole_number(given);
  if (!number || *number <= row_.number) fail("has rows that are not in order");
  if (*number > kMostRows) fail("has too many rows");
  row_.number = *number;
  in_row_ = true;
  cell_.column = 0;
}

void SheetReader::open_cell(const Element& element) {
  if (row_.cells.size() >= kMostColumns) fail("has a row with too many cells");
  const std::string_view reference = element.attribute("r");
  const std::int32_t column = reference.empty() ? cell_.column + 1 : column_of(reference);
  if (column < 1) fail("has a cell without a column");
  if (column > kMostColumns) fail("has too many columns");
  const std::string_view style = element.attribute("s");
  cell_ = {};
  cell_.column = column;
  cell_.kind = kind_of(element.attribute("t"));
  cell_.style = static_cast<std::uint32_t>(style.empty() ? 0 : whole_number(style).value_or(0));
  in_cell_ = true;
  in_inline_text_ = false;
  takes_text_ = false;
  phonetic_ = 0;
}

}  // namespace mercato::spreadsheet
