// SPDX-License-Identifier: Apache-2.0
// A supplier's file as bytes: a path, or "-" for standard input; unpacked when it is gzip or zstd, or a zip archive with
// one file. A workbook, which is a zip archive too, is given as it is.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "exchange/input/bytes.h"

namespace mercato::exchange {

// What a packed file may unpack to: never more than `most_bytes`, and beyond `free_bytes` no more than `most_ratio`
// times what was read of it.
struct UnpackingLimits {
  std::uint64_t most_bytes = std::uint64_t{64} << 30;
  std::uint64_t free_bytes = std::uint64_t{64} << 20;
  std::uint64_t most_ratio = 250;
};

// Raises 53 for a path without a file, 75 for one that cannot be read, 5 for an archive that does not hold one file.
// Its `next` raises 5 for packed bytes that are damaged or unpack to too much.
std::unique_ptr<Bytes> open_source(const std::string& path, const UnpackingLimits& limits = {});

// Whether a file that begins so is a workbook (.xlsx).
bool is_workbook(std::string_view begin);

}  // namespace mercato::exchange
