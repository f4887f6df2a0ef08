// SPDX-License-Identifier: Apache-2.0
// How much a workbook may ask of its reader. What the archive's directory claims is never believed: bytes are counted
// as they are unpacked.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mercato::spreadsheet {

struct Limits {
  std::uint64_t max_file_bytes = std::uint64_t{128} << 20;
  // Of one part, unpacked: no more than this, and beyond `free_part_bytes` no more than `max_ratio` times the file.
  std::uint64_t max_part_bytes = std::uint64_t{1} << 30;
  std::uint64_t free_part_bytes = std::uint64_t{32} << 20;
  std::uint64_t max_ratio = 200;
  std::size_t max_cell_bytes = 4 * 32767;  // of one text; cells hold 32,767 characters
};

}  // namespace mercato::spreadsheet
