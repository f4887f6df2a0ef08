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

  // A failure is told on standard error, unless the upload was ended early anyway: what was uploaded stays uploaded.
  void end(const exchange::UploadResult& outcome, const std::vector<exchange::KeptFinding>& findings);
  // The same where the journal alone has counted: of `applied` records those that changed nothing are the others.
  void end_counted(exchange::UploadResult outcome, std::size_t applied,
                   const std::vector<exchange::KeptFinding>& findings);

 private:
  template <class Work>
  void telling_failures(const exchange::UploadResult& outcome, const Work& work);

  std::optional<exchange::Journal> journal_;
};

}  // namespace mercato::cli
