// SPDX-License-Identifier: Apache-2.0
// The process `mercato`: its signals, and what is left to say without memory.
#include <csignal>
#include <iostream>
#include <new>

#include "tools/cli/library.h"
#include "tools/cli/run_command.h"
#include "tools/gateway/memory_reserve.h"

int main(int count, char** texts) try {
  mercato::gateway::keep_memory_reserve();
  // The reader of the output may go away. Writing then fails, and the objects are released in order.
  std::signal(SIGPIPE, SIG_IGN);
  // A file that may not grow any further becomes a failure of the write.
  std::signal(SIGXFSZ, SIG_IGN);
  return mercato::cli::run_command({texts + 1, texts + count});
} catch (const std::bad_alloc&) {
  std::cerr << "mercato: Out of memory.\n";
  return mercato::cli::kFailed;
}
