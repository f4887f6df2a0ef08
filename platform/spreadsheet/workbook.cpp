// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/workbook.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <new>
#include <utility>

#include "mercato/date.h"
#include "mercato/raised_error.h"
#include "platform/files/paths.h"
#include "platform/spreadsheet/cell_digits.h"
#include "platform/spreadsheet/sheet.h"
#include "platform/spreadsheet/workbook_parts.h"

namespace mercato::spreadsheet {
namespace {

std::optional<double> real_number(std::string_view text) {
  double number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

// The days of an ISO date, as a cell counts them.
std::optional<double> days_of(std::string_view iso, DateSystem dates) {
  std::string readable(iso.substr(0, iso.find('Z')));
  std::replace(readable.begin(), readable.end(), 'T', ' ');
  const std::optional<Date> date = Date::parse(readable);
  if (!date) return std::nullopt;
  constexpr double kSystemsApart = 1462;
  return date->days() - (dates == DateSystem::from_1904 ? kSystemsApart : 0);
}

// In decimal form, whatever its size.
std::string plain_text(double number) {
  DecimalDigits decimal = decimal_digits_of(number);
  if (decimal.digits.empty()) return "0";
  std::string text = number < 0 ? "-" : "";
  if (decimal.point <= 0)
    return text + "0." + std::string(static_cast<std::size_t>(-decimal.point), '0') + decimal.digits;
  const auto point = static_cast<std::size_t>(decimal.point);
  if (decimal.digits.size() <= point) return text + decimal.digits + std::string(point - decimal.digits.size(), '0');
  return text + decimal.digits.substr(0, point) + "." + decimal.digits.substr(point);
}

}  // namespace

struct Workbook::State {
  State(const std::string& path, std::string_view sheet_name, const Limits& its_limits)
      : limits(its_limits), package(path, limits) {
    parts = find_parts(package, sheet_name);
    texts.read(package, parts.texts, limits);
    formats = read_formats(package, parts.styles);
    SheetReader sheet(package.open(parts.sheet), parts.sheet, limits);
    while (const auto row = sheet.next()) take_in(*row);
  }

  // Widens the area by the row's cells, and checks what they refer to.
  void take_in(const RawRow& row) {
    for (const RawCell& cell : row.cells) {
      if (!has_content(cell)) continue;
      if (!area) area = Area{row.number, cell.column, row.number, cell.column};
      area->last_row = row.number;
      area->first_column = std::min(area->first_column, cell.column);
      area->last_column = std::max(area->last_column, cell.column);
    }
  }

  bool has_content(const RawCell& cell) const {
    if (cell.has_formula) return true;
    return cell.kind == CellKind::shared_text ? !shared_text(cell.value).empty() : !cell.value.empty();
  }

  std::string_view shared_text(std::string_view number) const {
    std::size_t index = 0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), index);
    if (result.ec != std::errc{} || result.ptr != number.data() + number.size() || index >= texts.size())
      throw Unreadable("it refers to a text that it does not have");
    return texts[index];
  }

  const NumberFormat& format_of(const RawCell& cell) const {
    static const NumberFormat general;
    return cell.style < formats.size() ? *formats[cell.style] : general;
  }

  std::string displayed(const RawCell& cell) const {
    if (cell.value.empty()) return {};
    switch (cell.kind) {
      case CellKind::shared_text:
        return format_of(cell).text_of(shared_text(cell.value));
      case CellKind::text:
        return format_of(cell).text_of(unescaped(cell.value));
      case CellKind::boolean:
        return cell.value == "1" || cell.value == "true" ? "TRUE" : "FALSE";
      case CellKind::error:
        return cell.value;
      case CellKind::date:
      case CellKind::number:
        break;
    }
    const std::optional<double> number =
        cell.kind == CellKind::date ? days_of(cell.value, parts.dates) : real_number(cell.value);
    return number ? format_of(cell).text_of(*number, parts.dates) : cell.value;
  }

  // With all digits, and a day in one form. Digits with zeros in front are a number of things, not of units.
  std::string stored(const RawCell& cell) const {
    if (cell.value.empty() || (cell.kind != CellKind::number && cell.kind != CellKind::date)) return displayed(cell);
    const std::optional<double> number =
        cell.kind == CellKind::date ? days_of(cell.value, parts.dates) : real_number(cell.value);
    if (!number) return cell.value;
    const NumberFormat& format = format_of(cell);
    if (cell.kind == CellKind::date || (format.shows_date(*number) && *number >= 1)) {
      static const NumberFormat iso("yyyy-mm-dd");
      return iso.text_of(*number, parts.dates);
    }
    const std::string shown = format.text_of(*number, parts.dates);
    const bool padded_number =
        shown.size() > 1 && shown.front() == '0' && shown.find_first_not_of("0123456789") == std::string::npos;
    return padded_number || format.shows_date(*number) ? shown : plain_text(*number);
  }

  const Limits limits;
  Package package;
  WorkbookParts parts;
  SharedTexts texts;
  std::vector<std::shared_ptr<const NumberFormat>> formats;
  std::optional<Area> area;
  std::unique_ptr<SheetReader> rows;  // the second reading
};

Workbook::Workbook(const Limits& limits) : limits_(limits) {}
Workbook::~Workbook() = default;
Workbook::Workbook(Workbook&&) noexcept = default;
Workbook& Workbook::operator=(Workbook&&) noexcept = default;

bool Workbook::open(std::string_view file, std::string_view sheet) {
  state_.reset();
  error_.clear();
  row_number_ = 0;
  std::string reason;
  try {
    const std::string path = files::host_path(file);
    // For the host a name ends at a NUL, so it has to end there for us.
    if (path.find('\0') != std::string::npos) throw Unreadable("its name has a NUL");
    state_ = std::make_unique<State>(path, sheet, limits_);
    return true;
  } catch (const Unreadable& unreadable) {
    reason = unreadable.what();
  } catch (const std::bad_alloc&) {
    reason = "there is no memory for it";
  }
  error_ = "The workbook \"" + std::string(file) + "\" cannot be loaded: " + reason + ".";
  return false;
}

void Workbook::close() { state_.reset(); }

const std::optional<Area>& Workbook::used_area() const {
  if (!state_) raise(error_number::kObjectNotSet);
  return state_->area;
}

bool Workbook::next_row(std::size_t columns, std::vector<std::string>& texts, Cells cells) {
  texts.clear();
  if (!state_) raise(error_number::kObjectNotSet);
  State& state = *state_;
  if (!state.area) return false;
  try {
    if (!state.rows)
      state.rows =
          std::make_unique<SheetReader>(state.package.open(state.parts.sheet), state.parts.sheet, state.limits);
    for (;;) {
      const std::optional<RawRow> row = state.rows->next();
      if (!row) return false;
      if (std::none_of(row->cells.begin(), row->cells.end(),
                       [&](const RawCell& cell) { return state.has_content(cell); }))
        continue;
      row_number_ = row->number;
      texts.resize(columns);
      for (const RawCell& cell : row->cells) {
        const auto place = static_cast<std::size_t>(cell.column - state.area->first_column);
        if (place < columns) texts[place] = cells == Cells::stored ? state.stored(cell) : state.displayed(cell);
      }
      return true;
    }
  } catch (const Unreadable& unreadable) {
    raise(error_number::kPathFileAccess, {}, "The workbook cannot be read on: " + std::string(unreadable.what()));
  }
}

}  // namespace mercato::spreadsheet
