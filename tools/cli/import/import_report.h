// SPDX-License-Identifier: Apache-2.0
// What an import came to, and how the command prints it. Main thread.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "exchange/importing.h"
#include "exchange/missing_products.h"
#include "keeping/group_loading.h"
#include "tools/cli/commands.h"
#include "tools/cli/upload/report_printing.h"

namespace mercato::cli {

// What the uploads of all parts came to.
struct UploadTotals {
  struct Kind {
    std::size_t inserted = 0;
    std::size_t updated = 0;  // really changed, when a journal tells
    std::size_t unchanged = 0;
    std::size_t refused = 0;
    std::size_t left = 0;
  };
  struct Refusal {
    std::size_t count = 0;
    UploadFinding first;
  };
  Kind products;
  Kind prices;
  std::map<std::pair<std::string, std::string>, Refusal> refusals;  // by field and reason
  std::vector<std::string> remaining_files;
  std::string stopped_by;
  bool interrupted = false;  // by Ctrl-C: that ended it
  std::int32_t journal = 0;  // the number of the upload; 0 for none
  bool taken_back = false;   // all or nothing was asked for

  void add(const UploadFinding& finding);
  bool has_all() const { return products.refused + products.left + prices.refused + prices.left == 0; }
  // What was applied is left.
  void take_back();
};

// The products of the supplier that his file does not name, where these were asked for.
struct MissingReport {
  bool is_known = true;  // else a record had no number that could be read, or the file none at all
  std::vector<exchange::MissingProduct> products;
  bool are_disabled = false;
};

enum class ImportUse { looked_at, written, uploaded };

struct ImportOutcome {
  const std::string& file;
  ImportUse use;
  const exchange::ImportReport& report;
  const UploadTotals& totals;
  const std::optional<MissingReport>& missing;
  const keeping::GroupLoading* groups;  // null when they were not asked for
};

// Prints it, and answers the exit status.
int told(const ImportOutcome& outcome, const OutputOptions& output);

}  // namespace mercato::cli
