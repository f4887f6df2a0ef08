// SPDX-License-Identifier: Apache-2.0
// Any bytes as a workbook. The first byte says as what: as the file itself, or as one of the parts of a small workbook
// that is otherwise right (packing would hide most of the bytes from the fuzzer). Whatever is opened must keep the
// promises of platform/spreadsheet/workbook.h.
#include <unistd.h>
#include <zip.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/spreadsheet/number_format.h"
#include "platform/spreadsheet/workbook.h"
#include "tests/support/workbook_files.h"

namespace {

using mercato::spreadsheet::Area;
using mercato::spreadsheet::Limits;
using mercato::spreadsheet::Workbook;

void require(bool promise) {
  if (!promise) std::abort();
}

void exercise(const std::string& path) {
  Limits limits;
  limits.free_part_bytes = std::uint64_t{1} << 20;
  Workbook workbook(limits);
  if (!workbook.open(path)) {
    require(!workbook.is_open() && workbook.error().ends_with('.'));
    return;
  }
  require(workbook.error().empty());
  const auto area = workbook.used_area();
  std::vector<std::string> texts;
  std::int64_t rows = 0;
  for (; workbook.next_row(3, texts); ++rows) require(texts.size() == 3);
  require(texts.empty() && !workbook.next_row(3, texts));
  require((rows > 0) == area.has_value());
  if (!area) return;
  require(area->first_row >= 1 && area->last_row <= 1048576 && area->first_column >= 1 && area->last_column <= 16384);
  require(rows <= area->last_row - area->first_row + 1);
}

// The formats without a workbook around them.
void exercise_format(std::string_view bytes) {
  const std::size_t split = bytes.find('\0');
  const mercato::spreadsheet::NumberFormat format(bytes.substr(0, split));
  const std::string rest(split == std::string_view::npos ? std::string_view() : bytes.substr(split + 1));
  const double number = std::strtod(rest.c_str(), nullptr);
  for (const double tried : {number, -number, 0.0, 46204.75}) {
    format.text_of(tried, mercato::spreadsheet::DateSystem::from_1900);
    format.text_of(tried, mercato::spreadsheet::DateSystem::from_1904);
  }
  format.text_of(rest);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  // One file for each process that fuzzes.
  static const std::string path =
      (std::filesystem::temp_directory_path() / ("workbook_fuzz-" + std::to_string(::getpid()) + ".xlsx")).string();
  namespace test = mercato::test;
  auto parts = test::workbook_parts({test::row(1, "<c r=\"A1\" t=\"s\"><v>0</v></c>" + test::number_cell("B1", "5", 1)),
                                     {"<t>shared</t>"},
                                     {"0.00"}});
  const std::size_t which = data[0] % (parts.size() + 3);
  if (which == parts.size()) {
    exercise_format(bytes);
    return 0;
  }
  if (which == parts.size() + 1) {  // as rows: the fuzzer does not have to find the markup around them
    parts = test::workbook_parts({std::string(bytes), {"<t>shared</t>"}, {"0.00"}});
    test::write_archive(path, parts);
  } else if (which == parts.size() + 2) {
    std::ofstream(path, std::ios::binary) << bytes;
  } else {
    parts[which].content = bytes;
    test::write_archive(path, parts);
  }
  exercise(path);
  std::filesystem::remove(path);
  return 0;
}
