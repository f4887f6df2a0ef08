// SPDX-License-Identifier: Apache-2.0
// Folders of their own for tests.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

namespace mercato::test {

// Where a folder lies. In memory nobody waits for a disk: that is for all tests but those that want to meet the moments
// at which a real one is waited for.
enum class Place : std::uint8_t { in_memory, on_disk };

// In memory where the machine has room there, else as on_disk: in the folder for temporary files.
inline const std::filesystem::path& folder_for_tests(Place place) {
  static const std::filesystem::path on_disk = std::filesystem::temp_directory_path();
  static const std::filesystem::path in_memory = [] {
    constexpr const char* kMemory = "/dev/shm";
    constexpr std::uintmax_t kEnough = 512u << 20;
    std::error_code none;
    const std::filesystem::space_info space = std::filesystem::space(kMemory, none);
    return !none && space.available > kEnough && ::access(kMemory, W_OK | X_OK) == 0 ? kMemory : on_disk;
  }();
  return place == Place::in_memory ? in_memory : on_disk;
}

inline std::filesystem::path make_temporary_folder(Place place = Place::in_memory) {
  std::string name = folder_for_tests(place) / "mercato-test-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  return name;
}

// A folder that is gone with the object.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(Place place = Place::in_memory) : path_(make_temporary_folder(place)) {}
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string operator/(const std::string& name) const { return (path_ / name).string(); }
  std::string path() const { return path_.string(); }
  std::size_t entries() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  std::filesystem::path path_;
};

}  // namespace mercato::test
