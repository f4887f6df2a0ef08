// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/upload/upload_runs.h"

#include <algorithm>
#include <filesystem>
#include <unordered_map>
#include <utility>

#include "frame/lib_error_handling.h"
#include "platform/files/files.h"
#include "platform/files/paths.h"
#include "platform/store/session_pool.h"
#include "platform/store/unit_of_work.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/sentence.h"

namespace mercato::cli {
namespace {

xml::Document load(const std::string& text_or_url, bool is_url) {
  xml::Document document;
  if (!(is_url ? document.load(text_or_url) : document.load_text(text_or_url)))
    raise(eUnableToLoadXML, {}, document.error());
  return document;
}

// None when the store cannot be opened: the first run tells why.
store::PooledSession session_on_store() {
  try {
    return store::acquire_session(connection_string());
  } catch (const Raised&) {
    return {};
  }
}

}  // namespace

UploadReport UploadRuns::run() {
  files::require_plain_file_key(source_.file_key);
  const store::PooledSession store = session_on_store();
  std::size_t reachable = 0;
  {
    const xml::Document document = load(source_.document, true);
    document_ = {source_.document, true};
    if (xml::Document::is_url(source_.document)) document_ = {document.save_text(), false};  // fetched once
    reachable = take_inventory(document);
  }
  // The library makes one level of folders only, after it has written the records.
  if (!files::folder_exists(source_.web_root)) files::create_folder(source_.web_root);

  const Document given = document_;
  const UploadReport beforehand = report_;
  const std::size_t gone_beforehand = gone_.size();
  {
    Progress progress(reachable);
    progress_ = &progress;
    run_all();
    progress_ = nullptr;
  }
  const bool lost = store && store->outdated();
  if (lost) {
    report_ = beforehand;
    report_.stopped_by =
        "The file of the store was moved, removed or replaced during the upload, so that nothing of the document is in "
        "the store for certain. Put the file back, or a backup, and upload the whole document again.";
    document_ = given;
    gone_.resize(gone_beforehand);
    file_is_current_ = false;
  }
  try {
    settle_remaining_file();
  } catch (const Raised& raised) {
    // What was written is told all the same.
    report_.remaining_file.clear();
    // With nothing pending the library's last run has met the same.
    const std::string before = pending_.empty() && !lost ? "" : report_.stopped_by + " ";
    report_.stopped_by = before + "What remains could not be put into a file, and stands in the document only: " +
                         sentence(raised.error());
  }
  return std::move(report_);
}

void UploadRuns::run_all() {
  while (!pending_.empty()) {
    const std::optional<RaisedError> failure = run_once(std::min(kind_.most_in_one_run, pending_.size()));
    if (failure)
      report_.stopped_by = reason_to_stop(*failure);  // that record remains, if it was one's
    else if (seen_ == 0)
      report_.stopped_by = "The time for one run passed before its first record.";
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(seen_));
    file_is_current_ = !failure && kind_.rest == Rest::in_file;
    if (file_is_current_) {
      document_ = {remaining_path(), true};
      gone_.clear();
    }
    if (!report_.stopped_by.empty()) return;
  }
}

std::optional<RaisedError> UploadRuns::run_once(std::size_t count) {
  const std::vector<Variant> entries(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(count));
  seen_ = 0;
  settled_seen_ = 0;
  settled_gone_ = gone_.size();
  std::optional<RaisedError> failure;
  try {
    call_library(document_, Array(entries));
  } catch (const Raised& raised) {
    failure = raised.error();
  }
  if (lost_by_) failure = std::exchange(lost_by_, std::nullopt);
  if (failure && failure->Number == error_number::kStoreFailure) {
    seen_ = settled_seen_;
    gone_.resize(settled_gone_);
    unsettled_ = {};
  } else {
    settle();
  }
  return failure;
}

void UploadRuns::done_with(const std::string& part_number) {
  progress_->advance();
  gone_.push_back(part_number);
  if (gone_.size() - settled_gone_ >= kCheckpoint && checkpoint()) settle();
}

bool UploadRuns::checkpoint() {
  if (lost_by_) return false;
  try {
    const store::UnitOfWork::Current none(nullptr);  // a run whose place is taken is written out first
    return true;
  } catch (const Raised& raised) {
    lost_by_ = raised.error();
    return false;
  }
}

void UploadRuns::settle() {
  settled_seen_ = seen_;
  settled_gone_ = gone_.size();
  const UploadReport settled = std::exchange(unsettled_, {});
  report_.inserted += settled.inserted;
  report_.updated += settled.updated;
  report_.repaired += settled.repaired;
  report_.refused += settled.refused;
  const auto append = [](std::vector<UploadFinding>& findings, const std::vector<UploadFinding>& more) {
    findings.insert(findings.end(), more.begin(), more.end());
  };
  append(report_.refusals, settled.refusals);
  append(report_.dropped, settled.dropped);
  append(report_.cut, settled.cut);
  append(report_.unreachable, settled.unreachable);
}

bool UploadRuns::goes_on_after(const RaisedError& failure) {
  if (stopping_) return false;
  ++failures_;
  stopping_ = failures_ > source_.most_failures || failure.Number == error_number::kStoreFailure ||
              failure.Number == error_number::kTimeout || failure.Number == error_number::kOutOfMemory;
  // The library raises this failure, and not that of writing out what came before.
  if (stopping_) checkpoint();
  return !stopping_;
}

std::string UploadRuns::reason_to_stop(const RaisedError& failure) const {
  if (failures_ <= source_.most_failures) return sentence(failure);
  return "More than " + std::to_string(source_.most_failures) +
         " records failed. Mend what they have in common, and upload the remaining file. The last one: " +
         sentence(failure);
}

void UploadRuns::refuse(UploadReport& report, UploadFinding finding) {
  ++report.refused;
  report.refusals.push_back(std::move(finding));
}

xml::Document UploadRuns::rest_of_document() const {
  xml::Document document = load(document_.text_or_url, document_.is_url);
  std::unordered_map<std::string, std::size_t> leaving;
  for (const std::string& part_number : gone_) ++leaving[part_number];
  for (const xml::Node& record : document.elements_by_tag_name(kind_.document.record)) {
    const std::optional<std::string> key = record.attribute("buyfrompartnumber");
    if (!key) continue;
    const auto found = leaving.find(*key);
    if (found == leaving.end() || found->second == 0) continue;
    --found->second;
    record.remove();
  }
  return document;
}

void UploadRuns::settle_remaining_file() {
  report_.remaining = report_.read - report_.applied() - report_.refused;
  if (report_.remaining > 0) report_.remaining_file = remaining_path();
  if (file_is_current_) return;
  if (report_.remaining == 0) {
    // As the library does, whose run did not come this far.
    if (kind_.rest == Rest::in_file && files::file_exists(remaining_path())) files::delete_file(remaining_path());
    return;
  }
  const std::string folder = std::filesystem::path(remaining_path()).parent_path().string();
  if (!files::folder_exists(folder)) files::create_folder(folder);
  rest_of_document().save(remaining_path());
}

std::string UploadRuns::remaining_path() const {
  return upload::remaining_path(kind_.document, source_.web_root, source_.file_key);
}

}  // namespace mercato::cli
