// SPDX-License-Identifier: Apache-2.0
// Runs commands of the tool within this process: without the time that a process takes to start, and on a day of the
// test's (mercato/clock.h).
#pragma once

#include <filesystem>
#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>

#include "mercato/settings.h"
#include "platform/store/session_pool.h"
#include "tests/tools/run_tool.h"
#include "tools/cli/run_command.h"

namespace mercato::test {

// Whether failures are kept apart from answers, or stand among them as on a terminal.
enum class Streams : std::uint8_t { apart, together };

// While it lives, commands work in this folder, and what they say is kept.
class InProcess {
 public:
  explicit InProcess(const std::filesystem::path& folder) : before_(std::filesystem::current_path()) {
    store::close_idle_sessions();
    std::filesystem::current_path(folder);
  }
  // Settings and sessions know stores by names that mean others in the next folder.
  ~InProcess() {
    store::close_idle_sessions();
    collaborators::set_settings({});
    std::filesystem::current_path(before_);
  }
  InProcess(const InProcess&) = delete;
  InProcess& operator=(const InProcess&) = delete;

  static ToolRun run(const Words& words, const std::string& input = {}, Streams streams = Streams::apart) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = run_between(input, *out.rdbuf(), *(streams == Streams::together ? out : err).rdbuf(), words);
    return {status, out.str(), err.str()};
  }
  // The answer goes into `output`.
  static ToolRun run_into(std::streambuf& output, const Words& words) {
    std::ostringstream err;
    const int status = run_between({}, output, *err.rdbuf(), words);
    return {status, {}, err.str()};
  }

 private:
  class Instead {
   public:
    Instead(std::ios& stream, std::streambuf& buffer) : stream_(stream), before_(stream.rdbuf(&buffer)) {}
    ~Instead() {
      stream_.rdbuf(before_);  // and it is good again
    }
    Instead(const Instead&) = delete;
    Instead& operator=(const Instead&) = delete;

   private:
    std::ios& stream_;
    std::streambuf* before_;
  };

  static int run_between(const std::string& input, std::streambuf& output, std::streambuf& failures,
                         const Words& words) {
    std::istringstream in(input);
    const Instead in_of(std::cin, *in.rdbuf());
    const Instead out_of(std::cout, output);
    const Instead err_of(std::cerr, failures);
    return cli::run_command(words);
  }

  std::filesystem::path before_;
};

}  // namespace mercato::test
