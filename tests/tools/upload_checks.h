// SPDX-License-Identifier: Apache-2.0
// Checks that the tests of both upload commands share.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "exchange/uploading/upload_report.h"
#include "tests/tools/run_tool.h"

namespace mercato::test {

inline void expect_counts(const exchange::UploadReport& report, std::size_t applied, std::size_t refused,
                          std::size_t remaining) {
  EXPECT_EQ(report.applied(), applied);
  EXPECT_EQ(report.refused, refused);
  EXPECT_EQ(report.remaining, remaining);
  EXPECT_EQ(report.read, applied + refused + remaining);
}

// Of the records of a document, in order.
inline std::vector<std::string> part_numbers_in(const std::filesystem::path& document) {
  std::vector<std::string> part_numbers;
  const std::string text = read_whole(document);
  constexpr std::string_view kBefore = "buyfrompartnumber=\"";
  for (std::size_t at = 0; (at = text.find(kBefore, at)) != std::string::npos;) {
    at += kBefore.size();
    part_numbers.push_back(text.substr(at, text.find('"', at) - at));
  }
  return part_numbers;
}

}  // namespace mercato::test
