// SPDX-License-Identifier: Apache-2.0
// A web server on a free port of 127.0.0.1 that answers every request with what a function makes of its path.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace mercato::test {

class LocalServer {
 public:
  // The whole answer, head included. An empty one is never sent: the caller waits for as long as the server lives.
  using Answer = std::function<std::string(const std::string& path)>;

  explicit LocalServer(Answer answer) : answer_(std::move(answer)) {
    ::setenv("no_proxy", "127.0.0.1", 1);
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_, plain, length) != 0 || ::listen(listener_, 16) != 0 ||
        ::getsockname(listener_, plain, &length) != 0 || ::pipe(stop_.data()) != 0) {
      throw std::runtime_error("no local server");
    }
    root_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    thread_ = std::thread([this] { serve(); });
  }
  ~LocalServer() {
    ::close(stop_[1]);
    thread_.join();
    ::close(stop_[0]);
    ::close(listener_);
    for (const int connection : waiting_) ::close(connection);
  }
  LocalServer(const LocalServer&) = delete;
  LocalServer& operator=(const LocalServer&) = delete;

  std::string url(const std::string& path) const { return root_ + path; }

  static std::string page(const std::string& status, const std::string& body, const std::string& more_head = {}) {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n" +
           more_head + "\r\n" + body;
  }

 private:
  void serve() {
    for (;;) {
      std::array<pollfd, 2> events = {pollfd{listener_, POLLIN, 0}, pollfd{stop_[0], POLLIN, 0}};
      if (::poll(events.data(), events.size(), -1) < 0 || events[1].revents != 0) return;
      const int connection = ::accept(listener_, nullptr, nullptr);
      if (connection < 0) continue;
      std::string request;
      std::array<char, 4096> piece = {};
      while (request.find("\r\n\r\n") == std::string::npos) {
        const auto got = ::recv(connection, piece.data(), piece.size(), 0);
        if (got <= 0) break;
        request.append(piece.data(), static_cast<std::size_t>(got));
      }
      const auto path_begin = request.find(' ') + 1;
      const std::string answer = answer_(request.substr(path_begin, request.find(' ', path_begin) - path_begin));
      if (answer.empty()) {
        waiting_.push_back(connection);
        continue;
      }
      for (std::size_t sent = 0; sent < answer.size();) {
        const auto put = ::send(connection, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
        if (put <= 0) break;
        sent += static_cast<std::size_t>(put);
      }
      ::close(connection);
    }
  }

  Answer answer_;
  std::string root_;
  int listener_ = -1;
  std::array<int, 2> stop_ = {-1, -1};
  std::vector<int> waiting_;
  std::thread thread_;
};

}  // namespace mercato::test
