// SPDX-License-Identifier: Apache-2.0
// The products of a command that takes many: named one by one, in a file, or by what they have in common. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/cli/commands.h"
#include "tools/cli/menu.h"
#include "tools/gateway/json_values.h"

namespace mercato::cli {

struct ChosenProducts {
  std::vector<std::string> names;
  std::string file;  // "-" for standard input
  std::string supplier;
  std::string category;
  std::string part_number;  // a pattern

  // Whether each of them was named on the command line.
  bool are_named() const { return !names.empty(); }
};

// What the help of such a command says behind its examples.
inline constexpr const char* kChoiceHelp =
    "Products are named one by one or in a file, or chosen by what they have in common; all that is said has to "
    "hold.\n";

// The arguments PRODUCT and the options, of which at least one is needed.
void add_choice(Command& command, ChosenProducts& chosen);

// The ids, in ascending order; only disabled or only enabled ones where that is asked for. Raises 5, with a line on
// standard error for each fault of the file, when a product is not there or may be several.
std::vector<std::int32_t> choose(const ChosenProducts& chosen, const std::optional<bool>& disabled = std::nullopt);

// Says which products an act would be about, the first of them by name, and that nothing was changed. `json` gets the
// members "dryRun" and "first". Returns kDone.
int tell_dry_run(const OutputOptions& output, const std::vector<std::int32_t>& products, gateway::Json json,
                 const std::string& words);

}  // namespace mercato::cli
