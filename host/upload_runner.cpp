// SPDX-License-Identifier: Apache-2.0
#include "host/upload_runner.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <utility>

#include "exchange/input/source.h"
#include "exchange/judging.h"
#include "exchange/uploading/code_upload.h"
#include "exchange/uploading/cut_short.h"
#include "exchange/uploading/price_document.h"
#include "exchange/uploading/product_document.h"
#include "frame/lib_sql.h"
#include "host/host.h"
#include "mercato/connection.h"
#include "mercato/raised_error.h"
#include "mercato/settings.h"

namespace mercato::host {
namespace {

constexpr std::chrono::milliseconds kProgressPause{500};
constexpr std::chrono::milliseconds kLookPause{2'000};  // for what other processes accept or leave

struct Unpacked {
  std::string document;
  bool is_workbook = false;
};

// The document unpacked, with the name by which its reader knows it.
Unpacked unpacked(const exchange::QueuedUpload& upload) {
  const std::filesystem::path given = std::filesystem::path(uploads_folder()) / upload.file;
  exchange::UnpackingLimits limits;
  limits.most_bytes = std::uint64_t{8} << 30;
  const auto source = exchange::open_source(given.string(), limits);
  Unpacked plain;
  plain.is_workbook = exchange::is_workbook(source->peek());
  plain.document = given.string() + (plain.is_workbook ? ".xlsx" : ".xml");
  std::ofstream file(plain.document, std::ios::binary | std::ios::trunc);
  for (std::string_view piece = source->next(); !piece.empty(); piece = source->next())
    file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
  file.close();
  if (!file) raise(error_number::kPathFileAccess, {}, "The document cannot be unpacked: its folder cannot be written");
  return plain;
}

exchange::UploadReport upload_document(const exchange::QueuedUpload& upload, exchange::UploadWatcher& watch) {
  const Unpacked plain = unpacked(upload);
  const bool trial = upload.mode == "preview";
  exchange::Journal journal(shared_connection_string(), upload.id);
  if (upload.kind == "unspsc")
    return exchange::upload_codes({.document = plain.document,
                                   .is_workbook = plain.is_workbook,
                                   .overwrites = upload.write_on_errors,
                                   .trial = trial,
                                   .journal = &journal,
                                   .watcher = &watch});
  exchange::UploadSource source;
  source.document = plain.document;
  source.file_key = "host_" + upload.file;
  source.web_root = collaborators::settings()->web_root;
  source.judging.emplace();
  if (upload.write_on_errors) source.judging->accepted = exchange::acceptable_reasons();
  if (!trial) source.rest_file = rest_of(upload.file);
  source.trial = trial;
  source.leaves_file = false;
  source.journal = &journal;
  source.watcher = &watch;
  if (upload.kind == "prices") return exchange::PriceUpload(std::move(source)).run();
  return exchange::ProductUpload(std::move(source), {.write_on_errors = upload.write_on_errors}).run();
}

// What was given, and its unpacked form, have served.
void forget_document(const exchange::QueuedUpload& upload) {
  std::error_code ignored;
  for (const char* ending : {"", ".xml", ".xlsx"})
    std::filesystem::remove(std::filesystem::path(uploads_folder()) / (upload.file + ending), ignored);
}

void forget_file(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

std::vector<exchange::KeptFinding> findings_in_store(std::int32_t upload) {
  constexpr std::int32_t kPage = 1000;
  std::vector<exchange::KeptFinding> findings;
  for (std::int32_t after = 0;;) {
    const auto page = exchange::findings_of_upload(upload, after, kPage);
    if (page.empty()) return findings;
    for (const auto& numbered : page) findings.push_back(numbered.finding);
    after = page.back().number;
  }
}

// Ends an upload whose process is gone, or that was ended by what no report tells of: with its rest, and counts that
// agree with the journal.
void end_with_rest(exchange::QueuedUpload upload) {
  try {
    exchange::Journal(shared_connection_string(), upload.id).after();
    const auto kept = exchange::queued_upload(upload.id);
    if (!kept) return;
    const std::string state = upload.state, stopped_by = upload.stopped_by;
    upload = *kept;
    upload.state = state;
    upload.stopped_by = stopped_by;
    if (upload.kind != "unspsc" && upload.mode != "preview") {
      exchange::CutShort cut_short;
      cut_short.kind = upload.kind;
      cut_short.document = unpacked(upload).document;
      cut_short.applied = upload.done - upload.refused;
      cut_short.findings = findings_in_store(upload.id);
      cut_short.changed = exchange::changed_records(upload.id, upload.kind);
      const exchange::RestCounts rest = exchange::write_rest(cut_short, rest_of(upload.file));
      upload.total = rest.read;
      upload.left = std::max(0, rest.in_rest - upload.refused);
      upload.done = upload.total - upload.left;
      const std::int32_t applied = upload.done - upload.refused;
      upload.inserted = std::min(upload.inserted, applied);
      upload.updated = std::min(upload.updated, applied - upload.inserted);
      upload.unchanged = applied - upload.inserted - upload.updated;
    }
    exchange::end_queued_upload(upload, upload.findings, {});
    forget_document(upload);
  } catch (const Raised&) {
    // The document stays as it was given.
    exchange::end_queued_upload(upload, upload.findings, {});
  }
}

}  // namespace

std::string uploads_folder() {
  const std::filesystem::path folder = std::filesystem::path(collaborators::settings()->web_root) / "uploads";
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  return folder.string();
}

std::string rest_of(const std::string& file) {
  return (std::filesystem::path(uploads_folder()) / (file + ".rest.xml")).string();
}

void UploadCounter::on_start(std::size_t reachable, const exchange::UploadReport& report) {
  {
    const std::lock_guard lock(mutex_);
    counts_.total = static_cast<std::int32_t>(report.read);
    counts_.left = static_cast<std::int32_t>(report.read - report.refused - reachable);
  }
  on_settled(report);
}

void UploadCounter::on_settled(const exchange::UploadReport& report) {
  const std::lock_guard lock(mutex_);
  counts_.inserted = static_cast<std::int32_t>(report.inserted);
  counts_.updated = static_cast<std::int32_t>(report.changed());
  counts_.unchanged = static_cast<std::int32_t>(report.unchanged.value_or(0));
  counts_.refused = static_cast<std::int32_t>(report.refused);
  counts_.done = static_cast<std::int32_t>(report.applied() + report.refused);
  std::size_t list = 0;
  const auto take = [&](const char* outcome, const std::vector<exchange::UploadFinding>& findings) {
    std::size_t& taken = taken_.at(list++);
    for (; taken < findings.size(); ++taken) findings_.push_back(exchange::kept_finding(outcome, findings[taken]));
  };
  take("left", report.unreachable);
  take("refused", report.refusals);
  take("dropped", report.dropped);
  take("cut", report.cut);
}

void UploadCounter::end(const exchange::UploadReport& report) {
  on_settled(report);
  const std::lock_guard lock(mutex_);
  counts_.total = static_cast<std::int32_t>(report.read);
  counts_.left = static_cast<std::int32_t>(report.remaining);
}

exchange::QueuedUpload UploadCounter::counted(exchange::QueuedUpload upload) const {
  const std::lock_guard lock(mutex_);
  upload.total = counts_.total;
  upload.done = counts_.done;
  upload.inserted = counts_.inserted;
  upload.updated = counts_.updated;
  upload.unchanged = counts_.unchanged;
  upload.refused = counts_.refused;
  upload.left = counts_.left;
  upload.findings = static_cast<std::int32_t>(findings_.size());
  return upload;
}

std::vector<exchange::KeptFinding> UploadCounter::findings_from(std::size_t first) const {
  const std::lock_guard lock(mutex_);
  return {findings_.begin() + static_cast<std::ptrdiff_t>(std::min(first, findings_.size())), findings_.end()};
}

UploadRunner::UploadRunner() : thread_([this] { work(); }) {}

UploadRunner::~UploadRunner() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    if (run_) run_->watch.cancelled = true;
  }
  changed_.notify_all();
  thread_.join();
}

void UploadRunner::wake() {
  {
    const std::lock_guard lock(mutex_);
    wanted_ = true;
  }
  changed_.notify_all();
}

bool UploadRunner::running() const {
  const std::lock_guard lock(mutex_);
  return run_ != nullptr;
}

exchange::QueuedUpload UploadRunner::at_this_moment(exchange::QueuedUpload upload) const {
  std::shared_ptr<Run> run;
  {
    const std::lock_guard lock(mutex_);
    run = run_;
  }
  if (!run || run->upload.id != upload.id || upload.state != "running") return upload;
  return run->watch.counted(std::move(upload));
}

bool UploadRunner::cancel(std::int32_t id) {
  const std::lock_guard lock(mutex_);
  if (!run_ || run_->upload.id != id) return false;
  run_->watch.cancelled = true;
  return true;
}

void UploadRunner::work() {
  for (bool is_first = true;;) {
    std::optional<exchange::QueuedUpload> next;
    try {
      forget_thread_state();
      for (exchange::QueuedUpload& abandoned : exchange::take_abandoned_uploads())
        to_end_.push_back(std::move(abandoned));
      end_those_left();
      if (std::exchange(is_first, false)) forget_half_documents();
      next = exchange::claim_upload();
    } catch (const Raised&) {
      // The store is away, or has no such table: it is asked again.
    }
    if (next) {
      run(std::move(*next));
      const std::lock_guard lock(mutex_);
      if (ending_) return;
      continue;
    }
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, kLookPause, [this] { return ending_ || wanted_; });
    if (ending_) return;
    wanted_ = false;
  }
}

void UploadRunner::end_those_left() {
  for (; !to_end_.empty(); to_end_.pop_back()) end_with_rest(to_end_.back());
}

void UploadRunner::run(exchange::QueuedUpload upload) {
  const auto run = std::make_shared<Run>();
  run->upload = upload;
  {
    const std::lock_guard lock(mutex_);
    run_ = run;
    if (ending_) run->watch.cancelled = true;
  }
  std::int32_t kept = 0;
  std::mutex keeping_mutex;
  std::condition_variable over_changed;
  bool over = false;
  // A store that cannot take the progress takes the next one.
  const auto keep = [&] {
    const auto findings = run->watch.findings_from(static_cast<std::size_t>(kept));
    try {
      if (exchange::keep_progress(run->watch.counted(upload), kept, findings)) run->watch.cancelled = true;
      kept += static_cast<std::int32_t>(findings.size());
    } catch (const Raised&) {
      return;
    }
  };
  std::thread keeper([&] {
    std::unique_lock lock(keeping_mutex);
    while (!over_changed.wait_for(lock, kProgressPause, [&] { return over; })) keep();
  });

  std::string stopped_by;
  bool was_cancelled = false;
  bool is_told = false;
  try {
    const exchange::UploadReport report = upload_document(upload, run->watch);
    run->watch.end(report);
    is_told = true;
    was_cancelled = report.interrupted;
    if (!was_cancelled) stopped_by = for_clients(report.stopped_by);
  } catch (const Raised& raised) {
    stopped_by = for_clients(raised.error().Description);
  } catch (const std::exception& failure) {
    stopped_by = failure.what();
  }
  {
    const std::lock_guard lock(keeping_mutex);
    over = true;
  }
  over_changed.notify_all();
  keeper.join();

  upload = run->watch.counted(std::move(upload));
  const auto findings = run->watch.findings_from(static_cast<std::size_t>(kept));
  bool is_ending = false;
  {
    const std::lock_guard lock(mutex_);
    is_ending = ending_;
  }
  upload.stopped_by = was_cancelled ? (is_ending ? "The host was ended." : "It was cancelled.") : stopped_by;
  upload.state = upload.stopped_by.empty() ? "done" : was_cancelled && !is_ending ? "cancelled" : "failed";
  if (is_told && upload.refused + upload.left == 0) forget_file(rest_of(upload.file));
  try {
    if (is_told) {
      exchange::end_queued_upload(upload, kept, findings);
      forget_document(upload);
    } else {
      to_end_.push_back(upload);
      exchange::keep_progress(upload, kept, findings);
      end_those_left();
    }
  } catch (const Raised&) {
    // It says that it runs until the store is back.
    if (is_told) to_end_.push_back(upload);
  }
  const std::lock_guard lock(mutex_);
  run_.reset();
}

}  // namespace mercato::host
