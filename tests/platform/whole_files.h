// SPDX-License-Identifier: Apache-2.0
// Files read and written whole.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

namespace mercato::test {

inline std::string read_whole(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void write_whole(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

}  // namespace mercato::test
