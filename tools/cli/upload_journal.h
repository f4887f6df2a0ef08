// SPDX-License-Identifier: Apache-2.0
// The journal of one command that uploads, unless its user wants none. A file that was uploaded before is told. Main
// thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "exchange/journal/journal.h"

namespace mercato::cli {

class UploadJournal {
 public:
  // `kind` as upload_records.h lists them. Raises what the store raises.
  UploadJournal(bool wanted, const std::string& kind, const std::string& file, const std::string& options = {});

  // None when nobody wants one.
  exchange::Journal* get() { return journal_ ? &*journal_ : nullptr; }

  // Of `applied` records those that changed nothing are counted by what the journal has seen. A failure is told on
  // standard error, unless
  // the upload was ended early anyway: what was uploaded stays uploaded.
  void end(const exchange::UploadResult& outcome, std::size_t applied,
           const std::vector<exchange::KeptFinding>& findings);

 private:
  std::optional<exchange::Journal> journal_;
};

}  // namespace mercato::cli
