// SPDX-License-Identifier: Apache-2.0
// Stores for measuring: fresh ones with the library's own tables, and the settings that lead the library to them.
#pragma once

#include <filesystem>
#include <string>

namespace mercato::bench {

// A folder that goes away with the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Makes a store of that name, or where that connection string leads, with all tables, empty but for the unit that the
// converted documents name. Closes all idle sessions, so that nothing of the process holds it.
void create_store(const std::filesystem::path& path);
void create_store(const std::string& connection_string);

std::string connection_string(const std::filesystem::path& store);

// Registers the classes and makes the store the one that they use, with that web root and without a log file.
void use_store(const std::filesystem::path& store, const std::filesystem::path& web_root);
void use_store(const std::string& connection_string, const std::filesystem::path& web_root);

}  // namespace mercato::bench
