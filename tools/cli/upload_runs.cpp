#include "tools/cli/upload_runs.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "frame/lib_error_handling.h"
#include "platform/files/files.h"
#include "platform/files/paths.h"
#include "platform/store/unit_of_work.h"
#include "tools/cli/sentence.h"

namespace mercato::cli {
namespace {

xml::Document load(const std::string& text_or_url, bool is_url) {
  xml::Document document;
  if (!(is_url ? document.load(text_or_url) : document.load_text(text_or_url)))
    raise(eUnableToLoadXML, {}, document.error());
  return document;
}

}  // namespace

UploadReport UploadRuns::run() {
  files::require_plain_file_key(source_.file_key);
  document_ = {source_.document, true};
  const std::size_t reachable = take_inventory(load(source_.document, true));
  // The library makes one level of folders only, after it has written the records.
  if (!files::folder_exists(source_.web_root)) files::create_folder(source_.web_root);
  {
    Progress progress(reachable);
    progress_ = &progress;
    run_all();
    progress_ = nullptr;
  }
  try {
    settle_remaining_file();
  } catch (const Raised& raised) {
    // What was written is told all the same.
    report_.remaining_file.clear();
    // With nothing pending the library's last run has met the same.
    const std::string before = pending_.empty() ? "" : report_.stopped_by + " ";
    report_.stopped_by = before + "What remains could not be put into a file, and stands in the document only: " +
                         sentence(raised.error());
  }
  return std::move(report_);
}

void UploadRuns::run_all() {
  while (!pending_.empty()) {
    const std::optional<RaisedError> failure = run_once(std::min(kind_.most_in_one_run, pending_.size()));
    if (failure && last_failed_ && goes_on_after(*failure)) {
      refuse_failed(*failure);
    } else if (failure) {
      report_.stopped_by = reason_to_stop(*failure);  // that record remains, if it was one's
    } else if (seen_ == 0) {
      report_.stopped_by = "The time for one run passed before its first record.";
    }
    run_ended();
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(seen_));
    file_is_current_ = !failure && kind_.rest == Rest::in_file;
    if (kind_.rest == Rest::in_document)
      gone_.insert(gone_.end(), done_.begin(), done_.end());
    else if (failure)
      document_ = without(document_, done_);
    else
      document_ = {remaining_path(), true};
    if (!report_.stopped_by.empty()) return;
  }
}

std::optional<RaisedError> UploadRuns::run_once(std::size_t count) {
  const std::vector<Variant> entries(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(count));
  done_.clear();
  seen_ = 0;
  settled_done_ = 0;
  settled_seen_ = 0;
  last_failed_ = false;
  std::optional<RaisedError> failure;
  try {
    call_library(document_, Array(entries));
  } catch (const Raised& raised) {
    failure = raised.error();
  }
  if (lost_by_) failure = std::exchange(lost_by_, std::nullopt);
  if (failure && failure->Number == error_number::kStoreFailure) {
    last_failed_ = false;  // it concerns more than one record
    seen_ = settled_seen_;
    done_.resize(settled_done_);
    unsettled_ = {};
  } else {
    settle();
  }
  return failure;
}

void UploadRuns::done_with(const std::string& part_number) {
  progress_->advance();
  done_.push_back(part_number);
  if (done_.size() - settled_done_ >= kCheckpoint && checkpoint()) settle();
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
  settled_done_ = done_.size();
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
  ++failures_;
  return failures_ <= source_.most_failures && failure.Number != error_number::kStoreFailure &&
         failure.Number != error_number::kTimeout && failure.Number != error_number::kOutOfMemory;
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

UploadRuns::Document UploadRuns::without(const Document& document, const PartNumbers& part_numbers) const {
  const xml::Document loaded = load(document.text_or_url, document.is_url);
  std::unordered_map<std::string, std::size_t> leaving;
  for (const std::string& part_number : part_numbers) ++leaving[part_number];
  for (const xml::Node& record : loaded.elements_by_tag_name(kind_.record)) {
    const std::optional<std::string> key = record.attribute("buyfrompartnumber");
    if (!key) continue;
    const auto found = leaving.find(*key);
    if (found == leaving.end() || found->second == 0) continue;
    --found->second;
    record.remove();
  }
  return {loaded.save_text(), false};
}

void UploadRuns::settle_remaining_file() {
  report_.remaining = remaining();
  if (report_.remaining > 0) report_.remaining_file = remaining_path();
  if (file_is_current_) return;
  if (report_.remaining == 0) {
    // As the library does, whose run did not come this far.
    if (kind_.rest == Rest::in_file && files::file_exists(remaining_path())) files::delete_file(remaining_path());
    return;
  }
  if (kind_.rest == Rest::in_document) document_ = without({source_.document, true}, gone_);
  if (!files::folder_exists(remaining_folder())) files::create_folder(remaining_folder());
  load(document_.text_or_url, document_.is_url).save(remaining_path());
}

std::string UploadRuns::remaining_folder() const { return files::host_path(source_.web_root + "\\XMLDownload"); }

std::string UploadRuns::remaining_path() const {
  return remaining_folder() + "/" + kind_.file_name + source_.file_key + ".xml";
}

}  // namespace mercato::cli
