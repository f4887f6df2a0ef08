// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

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
}

SpooledBody::~SpooledBody() {
  if (descriptor_ < 0) return;
  ::close(descriptor_);
  ::unlink(path_.c_str());
}

bool SpooledBody::add(std::string_view piece) {
  while (!piece.empty()) {
    const ssize_t written = ::write(descriptor_, piece.data(), piece.size());
    if (written <= 0) return false;
    piece.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool SpooledBody::keep() {
  const bool whole = ::fsync(descriptor_) == 0;
  if (!whole) return false;
  ::close(descriptor_);
  descriptor_ = -1;
  return true;
}

}  // namespace mercato::host
