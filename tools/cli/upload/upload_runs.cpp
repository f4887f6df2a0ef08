// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/upload/upload_runs.h"

#include <algorithm>
#include <filesystem>
#include <unordered_map>
#include <utility>

#include "exchange/document_judging.h"
#include "frame/lib_error_handling.h"
#include "mercato/object_context.h"
#include "platform/files/files.h"
#include "platform/files/paths.h"
#include "platform/store/session_pool.h"
#include "platform/store/unit_of_work.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal/sentence.h"
#include "tools/cli/upload/rest_file.h"
#include "tools/cli/upload/upload_interruption.h"

namespace mercato::cli {
namespace {

xml::Document load(const std::string& text_or_url, bool is_url) {
  xml::Limits limits;
  limits.keeps_lines = true;
  xml::Document document(limits);
  if (!(is_url ? document.load(text_or_url) : document.load_text(text_or_url)))
    raise(eUnableToLoadXML, {}, document.error());
  return document;
}

bool stands_in_another(const xml::Node& record) {
  for (xml::Node around = record.parent(); !around.is_null(); around = around.parent())
    if (around.name() == record.name()) return true;
  return false;
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
  const UploadInterruption interruption;
  const store::PooledSession store = session_on_store();
  std::size_t reachable = 0;
  report_.atomic = source_.atomic;
  if (source_.atomic) {
    transaction_ = std::make_unique<store::UnitOfWork>(store::UnitOfWork::Kind::transaction);
    current_ = std::make_unique<store::UnitOfWork::Current>(transaction_.get());
  }
  {
    xml::Document document = load(source_.document, true);
    given_ = {source_.document, true};
    if (xml::Document::is_url(source_.document)) given_ = {document.save_text(), false};  // fetched once
    document_ = given_;
    judge_values(document);
    reachable = take_inventory(document);
  }
  // The library makes one level of folders only, after it has written the records.
  if (!files::folder_exists(source_.web_root)) files::create_folder(source_.web_root);

  try {
    if (source_.journal) source_.journal->before(kind_.reach, pending_);
  } catch (const Raised&) {
    if (!store || !store->outdated()) throw;  // else the first run tells that the store is gone
  }
  const Document judged = document_;
  const UploadReport beforehand = report_;
  const std::size_t gone_beforehand = gone_.size();
  {
    Progress progress(reachable);
    progress_ = &progress;
    // Nothing of an atomic upload is written when a record is refused beforehand.
    if (!source_.atomic || report_.refused + report_.unreachable.size() == 0) run_all();
    progress_ = nullptr;
  }
  end_transaction();
  const bool lost = store && store->outdated();
  if (lost) {
    report_ = beforehand;
    report_.stopped_by =
        "The file of the store was moved, removed or replaced during the upload, so that nothing of the document is in "
        "the store for certain. Put the file back, or a backup, and upload the whole document again.";
    document_ = judged;
    applied_.clear();
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
  try {
    write_rest();
    report_.rest_file = source_.rest_file;
  } catch (const Raised& raised) {
    report_.stopped_by +=
        (report_.stopped_by.empty() ? "" : " ") + ("The rest was not written: " + sentence(raised.error()));
  }
  return std::move(report_);
}

void UploadRuns::judge_values(xml::Document& document) {
  const xml::NodeList records = document.elements_by_tag_name(kind_.document.record);
  const std::vector<xml::Node> passed_over = exchange::passed_over(document, kind_.document);
  std::optional<exchange::DocumentJudge> judge;
  if (source_.judging) judge.emplace(kind_.document, *source_.judging);
  std::unordered_map<std::string, std::size_t> numbers;
  std::string rewritten;  // the document, once one of its records is written in another way
  bool any_refused = false;
  for (const xml::Node& record : records) {
    const std::string part_number = record.attribute("buyfrompartnumber").value_or("");
    const std::size_t number = places_.size() + report_.read;
    const RecordPlace place{number, line_of(record, number), ++numbers[part_number]};
    exchange::JudgedRecord judged;
    const bool is_inner = stands_in_another(record);
    if (judge && !is_inner && record.elements_by_tag_name(kind_.document.record).empty()) judged = judge->judge(record);
    if (judged.refused) {
      any_refused = true;
      refuse_for_values(part_number, place, judged.findings);
      record.remove();
      continue;
    }
    if (judged.rewritten && rewritten.empty()) {
      // Those before it come out of the document as they stand.
      for (const xml::Node& before : records) {
        if (before == record) break;
        if (!before.parent().is_null() && !stands_in_another(before)) rewritten += before.save_text();
      }
    }
    if (judged.rewritten)
      rewritten += judged.text;
    else if (!rewritten.empty() && !is_inner)
      rewritten += record.save_text();
    for (const exchange::Finding& finding : judged.findings) {
      if (exchange::words_of(finding.reason).acceptance != exchange::Acceptance::dropped) continue;
      left_out_of_.insert(place.record);
      report_.dropped.push_back(
          {part_number, 0, finding.field, finding.value, exchange::sentence_of(finding), place.line, place.record});
    }
    places_.push_back(place);
  }
  std::size_t last = records.size();
  for (const xml::Node& element : passed_over) {
    const exchange::Finding finding = exchange::of_passed_over(element);
    refuse_for_values(finding.number, {last++, element.line(), 0}, {finding});
  }
  if (!rewritten.empty()) {
    document_ = {"<Records>" + rewritten + "</Records>", false};
    document = load(document_.text_or_url, false);
  } else if (any_refused) {
    document_ = {document.save_text(), false};
  }
}

void UploadRuns::refuse_for_values(const std::string& part_number, const RecordPlace& place,
                                   const std::vector<exchange::Finding>& findings) {
  ++report_.read;
  ++report_.refused;
  const bool is_price = kind_.document.record == upload::kPriceDocument.record;
  for (const exchange::Finding& finding : findings)
    if (!finding.accepted)
      report_.refusals.push_back({part_number, is_price ? place.number : 0, finding.field, finding.value,
                                  exchange::sentence_of(finding),
                                  finding.place.line > 0 ? finding.place.line : place.line, place.record});
}

void UploadRuns::end_transaction() {
  if (!transaction_) return;
  current_.reset();
  const bool all = report_.applied() == report_.read && report_.stopped_by.empty();
  if (all) {
    transaction_->commit();
  } else {
    transaction_->rollback();
    report_.inserted = report_.updated = report_.repaired = 0;
    report_.dropped.clear();
    report_.cut.clear();
    applied_.clear();
    // The document itself is what remains.
    file_is_current_ = true;
    if (files::file_exists(remaining_path())) files::delete_file(remaining_path());
  }
}

ComponentPtr UploadRuns::library_object(const char* prog_id) const {
  return transaction_ ? create_plain(prog_id) : create_root(prog_id);
}

void UploadRuns::run_all() {
  while (!pending_.empty()) {
    const std::optional<RaisedError> failure = run_once(std::min(kind_.most_in_one_run, pending_.size()));
    if (failure)
      report_.stopped_by = reason_to_stop(*failure);  // that record remains, if it was one's
    else if (UploadInterruption::is_wanted() && seen_ < pending_.size())
      report_.interrupted = true;
    else if (seen_ == 0)
      report_.stopped_by = "The time for one run passed before its first record.";
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(seen_));
    file_is_current_ = !failure && kind_.rest == Rest::in_file;
    if (file_is_current_) {
      document_ = {remaining_path(), true};
      gone_.clear();
    }
    if (report_.interrupted) report_.stopped_by = "It was interrupted.";
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
    unsettled_applied_.clear();
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
  applied_.insert(applied_.end(), unsettled_applied_.begin(), unsettled_applied_.end());
  unsettled_applied_.clear();
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
  if (report_.remaining > 0 && !transaction_) report_.remaining_file = remaining_path();
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

void UploadRuns::write_rest() const {
  if (source_.rest) return add_rest(*source_.rest);
  if (source_.rest_file.empty()) return;
  RestFile rest(source_.rest_file, source_.rest_as_lines, std::string(kind_.document.record) + "s");
  add_rest(rest);
  rest.finish();
}

void UploadRuns::add_rest(RestFile& rest) const {
  if (report_.applied() == report_.read) return;
  const xml::Document document = load(given_.text_or_url, given_.is_url);
  std::vector<xml::Node> records;
  for (const xml::Node& record : document.elements_by_tag_name(kind_.document.record)) records.push_back(record);
  for (const xml::Node& element : exchange::passed_over(document, kind_.document)) records.push_back(element);
  rest.set_findings(report_.refusals, report_.unreachable);
  std::vector<bool> is_applied(records.size());
  for (const std::size_t record : applied_) is_applied[record] = true;
  for (std::size_t record = 0; record < records.size(); ++record)
    if (!is_applied[record])
      rest.add(record, records[record].attribute("buyfrompartnumber").value_or(""), line_of(records[record], record),
               records[record].save_text());
}

std::size_t UploadRuns::line_of(const xml::Node& element, std::size_t record) const {
  return source_.lines && record < source_.lines->size() ? (*source_.lines)[record] : element.line();
}

std::string UploadRuns::remaining_path() const {
  return upload::remaining_path(kind_.document, source_.web_root, source_.file_key);
}

}  // namespace mercato::cli
