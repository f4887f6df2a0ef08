// SPDX-License-Identifier: Apache-2.0
// Talks to a `mercato rpc` in another process, one question at a time.
#pragma once

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace mercato::test {

class RpcSession {
 public:
  // The command is a shell's, and has to end in the gateway.
  explicit RpcSession(std::string command) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw std::runtime_error("no socket");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    std::string shell = "sh", option = "-c";
    char* const arguments[] = {shell.data(), option.data(), command.data(), nullptr};
    const int refused = ::posix_spawn(&process_, "/bin/sh", &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    socket_ = ends[0];
    if (refused != 0) throw std::runtime_error("no shell");
  }
  // The gateway ends at the end of its input, with status 0.
  ~RpcSession() {
    ::close(socket_);
    int status = -1;
    ::waitpid(process_, &status, 0);
    EXPECT_EQ(status, 0);
  }
  RpcSession(const RpcSession&) = delete;
  RpcSession& operator=(const RpcSession&) = delete;

  // The whole answer, with its "result" or its "error".
  nlohmann::json answer(const std::string& method, const nlohmann::json& params) {
    const nlohmann::json request = {{"jsonrpc", "2.0"}, {"id", ++requests_}, {"method", method}, {"params", params}};
    write(request.dump() + "\n");
    nlohmann::json answer = nlohmann::json::parse(read_line());
    EXPECT_EQ(answer.at("id"), requests_);
    return answer;
  }

  // For what is asked before the answers to what was asked before are there.
  void send(const std::string& line) const { write(line + "\n"); }
  pid_t process() const { return process_; }
  nlohmann::json next_answer() { return nlohmann::json::parse(read_line()); }

 private:
  void write(const std::string& text) const {
    for (std::size_t sent = 0; sent < text.size();) {
      const auto count = ::send(socket_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) throw std::runtime_error("the gateway does not listen");
      sent += static_cast<std::size_t>(count);
    }
  }
  std::string read_line() {
    std::size_t end;
    while ((end = received_.find('\n')) == std::string::npos) {
      char piece[65536];
      const auto count = ::recv(socket_, piece, sizeof piece, 0);
      if (count <= 0) throw std::runtime_error("the gateway does not answer");
      received_.append(piece, static_cast<std::size_t>(count));
    }
    std::string line = received_.substr(0, end);
    received_.erase(0, end + 1);
    return line;
  }

  pid_t process_ = -1;
  int socket_ = -1;
  int requests_ = 0;
  std::string received_;
};

}  // namespace mercato::test
