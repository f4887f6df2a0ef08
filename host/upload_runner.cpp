// SPDX-License-Identifier: Apache-2.0
#include "host/upload_runner.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <utility>

#include "exchange/input/source.h"
#include "mercato/connection.h"
#include "mercato/raised_error.h"
#include "mercato/settings.h"
#include "platform/store/hidden_passwords.h"

namespace mercato::host {
namespace {

constexpr std::chrono::milliseconds kProgressPause{500};
constexpr std::chrono::milliseconds kLookPause{2'000};  // for what other processes accept or leave

// The document unpacked, with the name by which its reader knows it.
keeping::UploadTask task_of(const keeping::QueuedUpload& upload, bool unpack) {
  const std::filesystem::path given = std::filesystem::path(uploads_folder()) / upload.file;
  keeping::UploadTask task;
  task.kind = upload.kind;
  task.trial = upload.mode == "preview";
  task.write_on_errors = upload.write_on_errors;
  task.key = "host_" + upload.file;
  exchange::UnpackingLimits limits;
  limits.most_bytes = std::uint64_t{8} << 30;
  const auto source = exchange::open_source(given.string(), limits);
  task.is_workbook = exchange::is_workbook(source->peek());
  task.document = given.string() + (task.is_workbook ? ".xlsx" : ".xml");
  if (!unpack && std::filesystem::exists(task.document)) return task;
  std::ofstream plain(task.document, std::ios::binary | std::ios::trunc);
  for (std::string_view piece = source->next(); !piece.empty(); piece = source->next())
    plain.write(piece.data(), static_cast<std::streamsize>(piece.size()));
  plain.close();
  if (!plain) raise(error_number::kPathFileAccess, {}, "The document cannot be unpacked: its folder cannot be written");
  return task;
}

keeping::QueuedUpload counted(keeping::QueuedUpload upload, const keeping::UploadWatch& watch) {
  upload.total = watch.total;
  upload.done = watch.done;
  upload.inserted = watch.inserted;
  upload.updated = watch.updated;
  upload.refused = watch.refused;
  upload.left = watch.left;
  upload.findings = static_cast<std::int32_t>(watch.findings_from(0).size());
  return upload;
}

// What was given, and its unpacked form, have served.
void forget_document(const keeping::QueuedUpload& upload) {
  std::error_code ignored;
  for (const char* ending : {"", ".xml", ".xlsx"})
    std::filesystem::remove(std::filesystem::path(uploads_folder()) / (upload.file + ending), ignored);
}

std::vector<keeping::RunFinding> kept_findings(std::int32_t upload) {
  constexpr std::int32_t kPage = 1000;
  std::vector<keeping::RunFinding> findings;
  for (std::int32_t after = 0;;) {
    const auto page = keeping::findings_of_upload(upload, after, kPage);
    if (page.empty()) return findings;
    for (const auto& numbered : page) findings.push_back(numbered.finding);
    after = page.back().number;
  }
}

// Of an upload whose process is gone. What it wrote behind its last word stands in the rest, too: it does no harm there.
void leave_rest(const keeping::QueuedUpload& upload) {
  if (upload.mode == "preview") return forget_document(upload);
  try {
    keeping::write_rest(task_of(upload, false), upload.done, kept_findings(upload.id), rest_of(upload.file));
    forget_document(upload);
  } catch (const Raised&) {
    // The document stays as it was given.
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

keeping::QueuedUpload UploadRunner::at_this_moment(keeping::QueuedUpload upload) const {
  std::shared_ptr<Run> run;
  {
    const std::lock_guard lock(mutex_);
    run = run_;
  }
  if (!run || run->upload.id != upload.id || upload.state != "running") return upload;
  return counted(std::move(upload), run->watch);
}

bool UploadRunner::cancel(std::int32_t id) {
  const std::lock_guard lock(mutex_);
  if (!run_ || run_->upload.id != id) return false;
  run_->watch.cancelled = true;
  return true;
}

void UploadRunner::work() {
  for (;;) {
    std::optional<keeping::QueuedUpload> next;
    try {
      forget_thread_state();
      for (const keeping::QueuedUpload& failed : keeping::fail_abandoned_uploads()) leave_rest(failed);
      next = keeping::claim_upload();
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

void UploadRunner::run(keeping::QueuedUpload upload) {
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
      if (keeping::keep_progress(counted(upload, run->watch), kept, findings)) run->watch.cancelled = true;
      kept += static_cast<std::int32_t>(findings.size());
    } catch (const Raised&) {
      return;
    }
  };
  std::thread keeper([&] {
    std::unique_lock lock(keeping_mutex);
    // A trial has the store to itself until it is taken back.
    while (!over_changed.wait_for(lock, kProgressPause, [&] { return over; }))
      if (upload.mode != "preview") keep();
  });

  std::string stopped_by;
  std::optional<keeping::UploadTask> task;
  try {
    task = task_of(upload, true);
    keeping::run_upload(*task, run->watch);
  } catch (const Raised& raised) {
    stopped_by = store::without_passwords(raised.error().Description);
  } catch (const std::exception& failure) {
    stopped_by = failure.what();
  }
  {
    const std::lock_guard lock(keeping_mutex);
    over = true;
  }
  over_changed.notify_all();
  keeper.join();

  upload = counted(std::move(upload), run->watch);
  const auto findings = run->watch.findings_from(0);
  bool is_ending = false;
  {
    const std::lock_guard lock(mutex_);
    is_ending = ending_;
  }
  const bool cancelled = run->watch.cancelled;
  upload.stopped_by = !stopped_by.empty()      ? stopped_by
                      : is_ending && cancelled ? "The host was ended."
                      : cancelled              ? "It was cancelled."
                                               : "";
  upload.state = upload.stopped_by.empty() ? "done" : stopped_by.empty() && !is_ending ? "cancelled" : "failed";
  if (task && upload.mode == "upload") try {
      keeping::write_rest(*task, upload.done, findings, rest_of(upload.file));
    } catch (const Raised& raised) {
      if (upload.stopped_by.empty()) upload.stopped_by = "What was not written could not be put into a document.";
    }
  try {
    keeping::end_queued_upload(
        upload, kept,
        {findings.begin() + std::min<std::ptrdiff_t>(kept, static_cast<std::ptrdiff_t>(findings.size())),
         findings.end()});
    if (upload.state == "done" || task) forget_document(upload);
  } catch (const Raised&) {
    // It says that it runs, until its process is gone; then it is taken for failed.
  }
  const std::lock_guard lock(mutex_);
  run_.reset();
}

}  // namespace mercato::host
