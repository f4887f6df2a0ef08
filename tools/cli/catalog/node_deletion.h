// SPDX-License-Identifier: Apache-2.0
// Deletes nodes, or a catalogue whole, after it was said what goes with them. Main thread.
#pragma once

#include <functional>
#include <string>

#include "keeping/node_keeping.h"
#include "tools/cli/commands.h"

namespace mercato::cli {

struct DeletionWishes {
  bool dry_run = false;
  bool yes = false;
};

// `act` deletes, within a transaction that is kept or taken back. `subject` says what, up to its nodes. Raises what `act`
// raises, and 5 without consent; nothing is deleted then. The result is the exit status.
int delete_nodes(const std::function<keeping::DeletedNodes()>& act,
                 const std::function<std::string(const keeping::DeletedNodes&)>& subject, const DeletionWishes& wishes,
                 const OutputOptions& output);

}  // namespace mercato::cli
