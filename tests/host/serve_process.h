// SPDX-License-Identifier: Apache-2.0
// `mercato serve` as a process of its own, on a free port of 127.0.0.1. It is killed when nobody ended it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace mercato::test {

class ServeProcess {
 public:
  // Listens when it is made. Its log goes behind what the file has.
  ServeProcess(const std::filesystem::path& settings, const std::string& tokens, const std::filesystem::path& log) {
    std::vector<std::string> words = {MERCATO_TOOL,  "serve",     "--config", settings.string(), "--listen",
                                      "127.0.0.1:0", "--workers", "4",        "--tokens",        tokens};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    EXPECT_EQ(::posix_spawn(&process_, MERCATO_TOOL, &actions, nullptr, arguments.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    std::string line;
    for (char letter = 0; ::read(ends[0], &letter, 1) == 1 && letter != '\n';) line += letter;
    ::close(ends[0]);
    const std::string begin = "listening on http://127.0.0.1:";
    EXPECT_EQ(line.substr(0, begin.size()), begin);
    if (line.starts_with(begin)) port_ = static_cast<std::uint16_t>(std::stoi(line.substr(begin.size())));
  }
  ServeProcess(const ServeProcess&) = delete;
  ServeProcess& operator=(const ServeProcess&) = delete;
  ~ServeProcess() { kill(); }

  std::uint16_t port() const { return port_; }
  pid_t id() const { return process_; }
  void signal(int number) const { ::kill(process_, number); }
  // Its wait status.
  int wait() {
    int status = -1;
    if (process_ > 0) ::waitpid(std::exchange(process_, -1), &status, 0);
    return status;
  }
  void kill() {
    if (process_ > 0) signal(SIGKILL);
    wait();
  }

 private:
  pid_t process_ = -1;
  std::uint16_t port_ = 0;
};

}  // namespace mercato::test
