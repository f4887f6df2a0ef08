// SPDX-License-Identifier: Apache-2.0
#include "tools/gateway/stoppable_input.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace mercato::gateway {

StoppableInput::Bytes::Bytes(int descriptor) : descriptor_(descriptor), stopped_(::eventfd(0, EFD_CLOEXEC)) {
  if (stopped_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

StoppableInput::Bytes::~Bytes() { ::close(stopped_); }

void StoppableInput::Bytes::stop() const { ::eventfd_write(stopped_, 1); }

StoppableInput::Bytes::int_type StoppableInput::Bytes::underflow() {
  std::array<pollfd, 2> watched = {{{descriptor_, POLLIN, 0}, {stopped_, POLLIN, 0}}};
  while (::poll(watched.data(), watched.size(), -1) < 0)
    if (errno != EINTR) return traits_type::eof();
  if (watched[1].revents != 0) return traits_type::eof();
  ssize_t count;
  do {
    count = ::read(descriptor_, block_.data(), block_.size());
  } while (count < 0 && errno == EINTR);
  if (count <= 0) return traits_type::eof();
  setg(block_.data(), block_.data(), block_.data() + count);
  return traits_type::to_int_type(block_.front());
}

}  // namespace mercato::gateway
