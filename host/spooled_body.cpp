// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "exchange/journal/upload_queue.h"
#include "host/route.h"
#include "host/upload_runner.h"
#include "mercato/raised_error.h"

namespace mercato::host {

SpooledBody::SpooledBody() : name_(random_text(12)) {
  for (char& letter : name_)
    if (letter == '-') letter = '_';
  path_ = (std::filesystem::path(uploads_folder()) / name_).string();
  descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor_ < 0) raise(error_number::kPathFileAccess, {}, "The document cannot be kept");
  static_cast<void>(::flock(descriptor_, LOCK_EX) == 0);  // where files have no locks their age has to do
}

SpooledBody::~SpooledBody() {
  if (!kept_) ::unlink(path_.c_str());
  ::close(descriptor_);
}

bool SpooledBody::add(std::string_view piece) {
  while (!piece.empty()) {
    const ssize_t written = ::write(descriptor_, piece.data(), piece.size());
    if (written <= 0) return false;
    piece.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool SpooledBody::sync() const { return ::fsync(descriptor_) == 0; }

void forget_half_documents() {
  constexpr std::chrono::minutes kYoung{1};  // it may be between its making and its lock
  std::error_code ignored;
  for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(uploads_folder(), ignored)) {
    const std::string name = entry.path().filename().string();
    const auto age = std::filesystem::file_time_type::clock::now() - entry.last_write_time(ignored);
    if (name.find('.') != std::string::npos || age < kYoung || exchange::is_document_of_upload(name)) continue;
    const int descriptor = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) continue;
    if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0 && !exchange::is_document_of_upload(name))
      ::unlink(entry.path().c_str());
    ::close(descriptor);
  }
}

}  // namespace mercato::host
