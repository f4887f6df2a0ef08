// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/upload_lease.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>

#include "platform/clock/universal_time.h"

namespace mercato::exchange {
namespace {

std::string host_name() {
  std::array<char, 64> name{};
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

}  // namespace

std::string this_process() {
  // In a container every process may have the number of the one before.
  static const auto kBirth = std::chrono::system_clock::now().time_since_epoch() / std::chrono::milliseconds(1);
  return host_name() + ":" + std::to_string(::getpid()) + ":" + std::to_string(kBirth);
}

bool is_gone(const std::string& owner, const Variant& lease) {
  if (owner == this_process()) return false;
  const std::size_t colon = owner.find(':');
  if (colon != std::string::npos && owner.substr(0, colon) == host_name()) {
    pid_t process = 0;
    std::from_chars(owner.data() + colon + 1, owner.data() + owner.size(), process);
    if (process <= 0 || process == ::getpid() || (::kill(process, 0) != 0 && errno == ESRCH)) return true;
  }
  return lease.is_null() || lease.to_date() < clock::universal_time();
}

}  // namespace mercato::exchange
