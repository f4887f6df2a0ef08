// SPDX-License-Identifier: Apache-2.0
#include "platform/files/paths.h"

#include <algorithm>
#include <filesystem>

#include "mercato/raised_error.h"

namespace mercato::files {
namespace {

bool is_control(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

}  // namespace

std::string host_path(std::string_view interface_path) {
  std::string path(interface_path);
  std::replace(path.begin(), path.end(), '\\', static_cast<char>(std::filesystem::path::preferred_separator));
  return path;
}

void require_plain_file_key(std::string_view key) {
  // Checked first, so that no later text repeats a character that would spoil a log line.
  if (std::any_of(key.begin(), key.end(), is_control)) {
    raise(error_number::kPathFileAccess, {}, "The file key contains a control character");
  }
  const auto refuse = [&](std::string_view reason) {
    raise(error_number::kPathFileAccess, {}, "The file key \"" + std::string(key) + "\" " + std::string(reason));
  };
  if (key.find_first_of("/\\") != std::string_view::npos) refuse("contains a path separator");
  if (key == "." || key == "..") refuse("names a folder");
}

}  // namespace mercato::files
