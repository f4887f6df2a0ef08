// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/upload_journal.h"

#include <algorithm>
#include <iostream>

#include "frame/sentence.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/terminal.h"

namespace mercato::cli {

UploadJournal::UploadJournal(bool wanted, const std::string& kind, const std::string& file,
                             const std::string& options) {
  if (!wanted) return;
  journal_.emplace(connection_string(),
                   exchange::NewUpload{kind, exchange::system_user(), file, exchange::sha256_of_file(file), options});
  if (journal_->earlier().empty()) return;
  const exchange::Upload& earlier = journal_->earlier().front();
  const std::string id = std::to_string(earlier.id);
  std::cerr << "note: " << shown(file) << " was uploaded before, as upload " << id << "; `mercato uploads show " << id
            << "` tells of it.\n";
}

template <class Work>
void UploadJournal::telling_failures(const exchange::UploadResult& outcome, const Work& work) {
  if (!journal_) return;
  try {
    work();
  } catch (const Raised& raised) {
    if (!outcome.stopped_by.empty()) return;  // the report says what is wrong with the store
    std::cerr << "mercato: The journal of upload " << journal_->id() << " was not ended: " << sentence(raised.error())
              << '\n';
  }
}

void UploadJournal::end(const exchange::UploadResult& outcome, const std::vector<exchange::KeptFinding>& findings) {
  telling_failures(outcome, [&] { journal_->end(outcome, findings); });
}

void UploadJournal::end_counted(exchange::UploadResult outcome, std::size_t applied,
                                const std::vector<exchange::KeptFinding>& findings) {
  telling_failures(outcome, [&] {
    journal_->after();
    exchange::UploadCounts& counts = outcome.counts;
    counts.inserted = journal_->rows_inserted();
    counts.updated = journal_->rows_updated();
    counts.unchanged = std::max(0, static_cast<std::int32_t>(applied) - counts.inserted - counts.updated);
    journal_->end(outcome, findings);
  });
}

}  // namespace mercato::cli
