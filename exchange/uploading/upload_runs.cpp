// SPDX-License-Identifier: Apache-2.0
#include "exchange/uploading/upload_runs.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>
#include <utility>

#include "exchange/document_judging.h"
#include "exchange/stored_rows.h"
#include "exchange/uploading/rest_file.h"
#include "frame/lib_error_handling.h"
#include "frame/lib_sql.h"
#include "frame/sentence.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/settings.h"
#include "platform/files/files.h"
#include "platform/files/paths.h"
#include "platform/store/call_limit.h"

namespace mercato::exchange {
namespace {

// The rows of a part from before and behind are in memory together.
constexpr std::size_t kRecordsInPart = 1000;
// Others wait no longer than this for a store that has one writer.
constexpr std::size_t kRecordsInPartOfTrial = 250;
// Who waits for the store looks for it more often.
constexpr std::chrono::milliseconds kPauseBetweenTrials{2};

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
    return store::acquire_session(shared_connection_string());
  } catch (const Raised&) {
    return {};
  }
}

bool is_in_transaction() {
  const store::UnitOfWork* unit = store::UnitOfWork::current();
  return unit != nullptr && unit->kind() == store::UnitOfWork::Kind::transaction;
}

}  // namespace

UploadReport UploadRuns::run() {
  files::require_plain_file_key(source_.file_key);
  store_ = session_on_store();
  report_.atomic = source_.atomic;
  if (source_.journal) {
    report_.journal = source_.journal->id();
    changed_before_ = source_.journal->records_changed();
  }
  if (source_.atomic) begin_transaction();
  const std::size_t reachable = take_document();
  // The library makes one level of folders only, after it has written the records.
  if (!files::folder_exists(source_.web_root)) files::create_folder(source_.web_root);
  const UploadReport beforehand = report_;
  if (source_.watcher) source_.watcher->on_start(reachable, report_);
  // Nothing of an atomic upload is written when a record is refused beforehand.
  if (!source_.atomic || report_.refused + report_.unreachable.size() == 0) run_all();
  end_transaction();
  if (store_ && store_->outdated()) {
    report_ = beforehand;
    report_.stopped_by =
        "The file of the store was moved, removed or replaced during the upload, so that nothing of the document is in "
        "the store for certain. Put the file back, or a backup, and upload the whole document again.";
    applied_.clear();
    next_ = 0;
  }
  count_unchanged();
  leave_remaining();
  try {
    write_rest();
    report_.rest_file = source_.rest_file;
  } catch (const Raised& raised) {
    report_.stopped_by +=
        (report_.stopped_by.empty() ? "" : " ") + ("The rest was not written: " + sentence(raised.error()));
  }
  return std::move(report_);
}

std::size_t UploadRuns::take_document() {
  given_ = {source_.document, true};
  xml::Document document = load(source_.document, true);
  // It is fetched once, and runs write to the remaining file.
  std::error_code none;
  if (xml::Document::is_url(source_.document) || std::filesystem::equivalent(source_.document, remaining_path(), none))
    given_ = {document.save_text(), false};
  judge_values(document);
  const std::size_t reachable = take_inventory(document);
  rewritten_.clear();
  if (source_.trial) gather_part_numbers();
  return reachable;
}

void UploadRuns::judge_values(xml::Document& document) {
  const xml::NodeList records = document.elements_by_tag_name(kind_.document.record);
  std::optional<DocumentJudge> judge;
  if (source_.judging) judge.emplace(kind_.document, *source_.judging);
  std::unordered_map<std::string, std::size_t> numbers;
  for (const xml::Node& record : records) {
    const std::string part_number = record.attribute("buyfrompartnumber").value_or("");
    const std::size_t number = places_.size() + report_.read;
    const RecordPlace place{number, line_of(record, number), ++numbers[part_number]};
    JudgedRecord judged;
    if (judge && !stands_in_another(record) && record.elements_by_tag_name(kind_.document.record).empty())
      judged = judge->judge(record);
    if (judged.refused) {
      refuse_for_values(part_number, place, judged.findings);
      record.remove();
      continue;
    }
    if (judged.rewritten) rewritten_[place.record] = std::move(judged.text);
    for (const Finding& finding : judged.findings) {
      if (words_of(finding.reason).acceptance != Acceptance::dropped) continue;
      left_out_of_.insert(place.record);
      report_.dropped.push_back(
          {part_number, 0, finding.field, finding.value, sentence_of(finding), place.line, place.record});
    }
    places_.push_back(place);
  }
  std::size_t last = records.size();
  for (const xml::Node& element : passed_over(document, kind_.document)) {
    const Finding finding = of_passed_over(element);
    refuse_for_values(finding.number, {last++, element.line(), 0}, {finding});
  }
}

void UploadRuns::refuse_for_values(const std::string& part_number, const RecordPlace& place,
                                   const std::vector<Finding>& findings) {
  ++report_.read;
  ++report_.refused;
  const bool is_price = kind_.document.record == upload::kPriceDocument.record;
  for (const Finding& finding : findings)
    if (!finding.accepted)
      report_.refusals.push_back({part_number, is_price ? place.number : 0, finding.field, finding.value,
                                  sentence_of(finding), finding.place.line > 0 ? finding.place.line : place.line,
                                  place.record});
}

const std::string* UploadRuns::rewritten(const RecordPlace& place) const {
  const auto found = rewritten_.find(place.record);
  return found == rewritten_.end() ? nullptr : &found->second;
}

// One that stands in another comes with that.
std::string UploadRuns::text_of(const xml::Node& record, const RecordPlace& place) const {
  if (const std::string* text = rewritten(place)) return *text;
  return stands_in_another(record) ? std::string() : record.save_text();
}

void UploadRuns::gather_part_numbers() {
  std::unordered_map<std::string, std::size_t> first;
  std::vector<std::pair<std::size_t, Pending>> gathered;
  for (Pending& one : pending_) {
    const std::size_t place = first.try_emplace(part_number_key(one.part_number), gathered.size()).first->second;
    gathered.emplace_back(place, std::move(one));
  }
  std::ranges::stable_sort(gathered, {}, [](const auto& one) { return one.first; });
  for (std::size_t number = 0; number < gathered.size(); ++number)
    pending_[number] = std::move(gathered[number].second);
}

void UploadRuns::begin_transaction() {
  transaction_ = std::make_unique<store::UnitOfWork>(store::UnitOfWork::Kind::transaction);
  current_ = std::make_unique<store::UnitOfWork::Current>(transaction_.get());
}

void UploadRuns::end_transaction() {
  if (!transaction_) return;
  current_.reset();
  if (report_.applied() == report_.read && report_.stopped_by.empty()) {
    transaction_->commit();
  } else {
    transaction_->rollback();
    report_.inserted = report_.updated = report_.repaired = 0;
    report_.dropped.clear();
    report_.cut.clear();
    applied_.clear();
  }
  transaction_.reset();
}

ComponentPtr UploadRuns::library_object(const char* prog_id) {
  return is_in_transaction() ? create_plain(prog_id) : create_root(prog_id);
}

void UploadRuns::call(const ComponentPtr& object, std::string_view method, std::vector<Variant> arguments) {
  const store::CallLimit limit(collaborators::settings()->call_seconds);
  invoke(object, method, arguments);
}

void UploadRuns::run_all() {
  while (next_ < pending_.size() && report_.stopped_by.empty()) {
    if (!source_.trial) {
      run_part(end_of_part());
      continue;
    }
    if (next_ > 0) std::this_thread::sleep_for(kPauseBetweenTrials);
    store::UnitOfWork trial(store::UnitOfWork::Kind::transaction);
    const store::UnitOfWork::Current current(&trial);
    run_part(end_of_part());
    if (source_.journal && report_.stopped_by.empty()) source_.journal->after();
    trial.rollback();
  }
}

std::size_t UploadRuns::end_of_part() const {
  const std::size_t most = source_.trial ? kRecordsInPartOfTrial : kRecordsInPart;
  std::size_t end = std::min(next_ + most, pending_.size());
  if (source_.trial)
    while (end < pending_.size() &&
           part_number_key(pending_[end].part_number) == part_number_key(pending_[end - 1].part_number))
      ++end;
  return end;
}

void UploadRuns::run_part(std::size_t end) {
  std::vector<std::string> part_numbers;
  for (std::size_t number = next_; number < end; ++number) part_numbers.push_back(pending_[number].part_number);
  try {
    if (source_.journal) source_.journal->before(kind_.reach, part_numbers);
  } catch (const Raised& raised) {
    if (next_ == 0 && (!store_ || !store_->outdated())) throw;
    if (next_ > 0) {
      report_.stopped_by = sentence(raised.error());
      return;
    }
    // The run tells that the store is gone.
  }
  while (next_ < end && report_.stopped_by.empty()) {
    const std::optional<RaisedError> failure = run_once(std::min(kind_.most_in_one_run, end - next_));
    next_ += seen_;
    if (failure) {
      report_.stopped_by = reason_to_stop(*failure);  // that record remains, if it was one's
    } else if (next_ < end && is_cancelled()) {
      report_.interrupted = true;
      report_.stopped_by = "It was interrupted.";
    } else if (seen_ == 0) {
      report_.stopped_by = "The time for one run passed before its first record.";
    }
  }
}

std::optional<RaisedError> UploadRuns::run_once(std::size_t count) {
  Array part_numbers;
  std::string document = "<Records>";
  for (std::size_t number = next_; number < next_ + count; ++number) {
    part_numbers.items.emplace_back(pending_[number].part_number);
    document += pending_[number].text;
  }
  document += "</Records>";
  seen_ = 0;
  settled_seen_ = 0;
  unsettled_records_ = 0;
  std::optional<RaisedError> failure;
  try {
    call_library(document, part_numbers);
  } catch (const Raised& raised) {
    failure = raised.error();
  }
  if (lost_by_) failure = std::exchange(lost_by_, std::nullopt);
  if (failure && failure->Number == error_number::kStoreFailure) {
    seen_ = settled_seen_;
    unsettled_ = {};
    unsettled_applied_.clear();
  } else {
    settle();
  }
  return failure;
}

void UploadRuns::done_with_record() {
  passed(1);
  if (++unsettled_records_ >= kCheckpoint && checkpoint()) settle();
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
  unsettled_records_ = 0;
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
  if (source_.watcher) source_.watcher->on_settled(report_);
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

void UploadRuns::count_unchanged() {
  if (!source_.journal) return;
  try {
    if (!source_.trial) source_.journal->after();
    const std::size_t changed = source_.journal->records_changed() - changed_before_;
    report_.unchanged = std::min(report_.applied() - std::min(changed, report_.applied()), report_.updated);
  } catch (const Raised&) {
    // Whoever ends the journal tells of it.
  }
}

void UploadRuns::leave_remaining() {
  report_.remaining = report_.read - report_.applied() - report_.refused;
  const bool leaves_file = source_.leaves_file && !source_.trial && !source_.atomic && report_.remaining > 0;
  try {
    if (leaves_file) {
      write_remaining_file();
      report_.remaining_file = remaining_path();
    } else if (kind_.library_leaves_file && files::file_exists(remaining_path())) {
      files::delete_file(remaining_path());
    }
  } catch (const Raised& raised) {
    // What was written is told all the same. With nothing pending the library's last run has met the same.
    const std::string before = next_ == pending_.size() ? "" : report_.stopped_by + " ";
    report_.stopped_by = before + "What remains could not be put into a file, and stands in the document only: " +
                         sentence(raised.error());
  }
}

std::vector<xml::Node> UploadRuns::load_records(xml::Document& document) const {
  document = load(given_.text_or_url, given_.is_url);
  std::vector<xml::Node> records;
  for (const xml::Node& record : document.elements_by_tag_name(kind_.document.record)) records.push_back(record);
  for (const xml::Node& element : passed_over(document, kind_.document)) records.push_back(element);
  return records;
}

void UploadRuns::write_remaining_file() const {
  const std::string folder = std::filesystem::path(remaining_path()).parent_path().string();
  if (!files::folder_exists(folder)) files::create_folder(folder);
  xml::Document document;
  const std::vector<xml::Node> records = load_records(document);
  for (const std::size_t record : applied_) records[record].remove();
  std::unordered_set<std::size_t> refused;
  for (const UploadFinding& finding : report_.refusals)
    if (refused.insert(finding.record).second) records[finding.record].remove();
  document.save(remaining_path());
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
  xml::Document document;
  const std::vector<xml::Node> records = load_records(document);
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

}  // namespace mercato::exchange
