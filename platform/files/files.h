// SPDX-License-Identifier: Apache-2.0
// Files and folders of the host: test, create, delete, read whole, write whole.
// Paths are host paths (see paths.h for the others). Stateless calls, any thread; an AtomicFile belongs to one thread.
// Failures name the path in their description: 53 file not found, 70 permission denied, 76 path not found,
// 75 everything else.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mercato::files {

inline constexpr std::size_t kDefaultMaxBytes = std::size_t{1} << 30;

// False also for a path that cannot be looked at, and for a file of that name.
bool folder_exists(const std::string& path);

// Creates one level. A folder that is there already is no failure, so that two runs may create it side by side.
// Raises 76 when the parent is missing, 70 without permission, else 75.
void create_folder(const std::string& path);

// Deletes the folder with everything in it. Of a link only the link is deleted. Raises 76 when there is no such folder,
// and 70 when it or anything in it is read-only; nothing is deleted then. Raises 70 without permission, else 75; what
// was deleted before stays deleted.
void delete_folder(const std::string& path);

// False also for a path that cannot be looked at, and for a folder of that name.
bool file_exists(const std::string& path);

// Raises 53 when there is no such file, 70 without permission and for a read-only file, 75 for a folder.
void delete_file(const std::string& path);

// Raises 70 for a file that is read-only and for one in a folder that may not be written, as delete_file does. Deletes
// nothing.
void require_deletable(const std::string& path);

// The whole content. Raises 53 when there is no such file, 70 without permission, 75 for a folder and for a file of
// more than `max_bytes`.
std::string read_file(const std::string& path, std::size_t max_bytes = kDefaultMaxBytes);

// Puts `bytes` in the place of whatever file stood at `path`. See AtomicFile.
void write_file_atomically(const std::string& path, std::string_view bytes);

// Deletes the files that writers left in this folder when they were killed. A file that any process is still writing
// stays. Never raises: what cannot be deleted stays.
void delete_abandoned_files(const std::string& folder) noexcept;

// A file that is written beside its path and takes the path only when it is complete and on the disk, so that a reader
// sees the old content or the new, never half of one. Without commit nothing remains; only a process that is killed
// leaves the file beside it, for delete_abandoned_files.
// Each call raises 76 when the folder is missing, 70 without permission, else 75.
class AtomicFile {
 public:
  explicit AtomicFile(std::string path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  void write(std::string_view bytes);
  // The last call on the object.
  void commit();

 private:
  AtomicFile() = default;
  void discard() noexcept;

  std::string path_;
  std::string beside_;
  int descriptor_ = -1;
};

}  // namespace mercato::files
