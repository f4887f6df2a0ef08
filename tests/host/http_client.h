// SPDX-License-Identifier: Apache-2.0
// A client that sends any bytes, well formed or not, over a socket of its own. One thread.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace mercato::test {

struct HttpAnswer {
  int status = 0;  // 0: the connection was closed without an answer
  std::map<std::string, std::string> fields;
  std::string body;
};

class HttpClient {
 public:
  explicit HttpClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  HttpClient(HttpClient&& other) noexcept
      : socket_(std::exchange(other.socket_, -1)), connected_(other.connected_), read_(std::move(other.read_)) {}
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;
  ~HttpClient() {
    if (socket_ >= 0) ::close(socket_);
  }

  bool connected() const { return connected_; }
  void send(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }
  // The next answer; waits so many seconds for each of its parts. That to HEAD tells of a body that does not come.
  HttpAnswer answer(int seconds = 10, bool to_head = false) {
    HttpAnswer answer;
    while (read_.find("\r\n\r\n") == std::string::npos)
      if (!read(seconds)) return answer;
    const std::size_t end = read_.find("\r\n\r\n");
    std::string head = read_.substr(0, end + 2);
    read_.erase(0, end + 4);
    answer.status = std::stoi(head.substr(9, 3));
    for (std::size_t line = head.find("\r\n") + 2; line < head.size(); line = head.find("\r\n", line) + 2) {
      const std::size_t colon = head.find(": ", line);
      answer.fields[head.substr(line, colon - line)] = head.substr(colon + 2, head.find("\r\n", line) - colon - 2);
    }
    const auto length = answer.fields.find("Content-Length");
    const std::size_t wanted = to_head || length == answer.fields.end() ? 0 : std::stoul(length->second);
    while (read_.size() < wanted)
      if (!read(seconds)) break;
    answer.body = read_.substr(0, wanted);
    read_.erase(0, wanted);
    return answer;
  }
  // `fields`: whole lines, each with its end.
  void send_request(const std::string& method, const std::string& target, const std::string& fields = "",
                    const std::string& body = "") const {
    send(method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + fields +
         (body.empty() && method == "GET" ? std::string() : "Content-Length: " + std::to_string(body.size()) + "\r\n") +
         "\r\n" + body);
  }
  HttpAnswer ask(const std::string& method, const std::string& target, const std::string& fields = "",
                 const std::string& body = "") {
    send_request(method, target, fields, body);
    return answer();
  }
  // Everything up to the end of the connection.
  std::string rest(int seconds = 10) {
    while (read(seconds)) {
    }
    return std::move(read_);
  }
  // Whether the other side closes within so many seconds, without another byte.
  bool is_closed(int seconds) {
    pollfd watched{socket_, POLLIN, 0};
    char byte = 0;
    return ::poll(&watched, 1, seconds * 1000) > 0 && ::recv(socket_, &byte, 1, 0) <= 0;
  }

 private:
  bool read(int seconds) {
    pollfd watched{socket_, POLLIN, 0};
    if (::poll(&watched, 1, seconds * 1000) <= 0) return false;
    char bytes[8192];
    const ssize_t count = ::recv(socket_, bytes, sizeof bytes, 0);
    if (count <= 0) return false;
    read_.append(bytes, static_cast<std::size_t>(count));
    return true;
  }

  int socket_;
  bool connected_ = false;
  std::string read_;
};

}  // namespace mercato::test
