// SPDX-License-Identifier: Apache-2.0
#include "exchange/uploading/code_upload.h"

#include <algorithm>
#include <memory>

#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/raised_error.h"
#include "mercato/t_unspsc.h"
#include "platform/store/unit_of_work.h"

namespace mercato::exchange {
namespace {

const char* reason_of(CodeOutcome outcome) {
  switch (outcome) {
    case CodeOutcome::commodity_exists:
      return "A commodity of this code exists, or the store refused the row.";
    case CodeOutcome::no_parent:
      return "The code above it is missing.";
    case CodeOutcome::malformed:
      return "It is no code.";
    default:
      return "The code exists.";
  }
}

class CodeRun : private UnspscUploadObserver {
 public:
  explicit CodeRun(const CodeSource& source) : source_(source) {}

  UploadReport run() {
    if (source_.journal) {
      source_.journal->before(Reach::Kind::codes, {});
      report_.journal = source_.journal->id();
    }
    const auto codes = std::dynamic_pointer_cast<TUNSPSC>(source_.trial ? create_plain("Mercato.TUNSPSC")
                                                                        : create_root("Mercato.TUNSPSC"));
    codes->set_observer(this);
    try {
      invoke(codes, source_.is_workbook ? "UploadFromXLS" : "UploadFromXML",
             {source_.document, source_.overwrites, false});
    } catch (const Raised& raised) {
      if (unreadable_.empty()) throw;
      raise(raised.error().Number, raised.error().Source, unreadable_);
    }
    // The upload casts no vote: its transaction ends with the object.
    if (!source_.trial) codes->context()->release();
    count();
    return std::move(report_);
  }

 private:
  bool waits() const override { return false; }
  bool cancels() override { return source_.watcher != nullptr && source_.watcher->cancels(); }
  void on_start(std::size_t items) override {
    report_.read = items;
    if (source_.watcher) source_.watcher->on_start(items, report_);
  }
  // The library takes "30,100,000" and "1E000000" for codes, and would write over others with them.
  bool takes(const std::string& code) override {
    return std::ranges::all_of(code, [](char character) { return character >= '0' && character <= '9'; });
  }
  void on_unreadable(const std::string& reason) override { unreadable_ = reason; }
  void on_code(const UploadedCode& code) override {
    if (code.outcome == CodeOutcome::written) {
      ++report_.inserted;
    } else {
      ++report_.refused;
      report_.refusals.push_back({code.code, 0, {}, code.description, reason_of(code.outcome), code.item});
    }
    if (!source_.watcher) return;
    source_.watcher->on_records(1);
    source_.watcher->on_settled(report_);
  }

  // Of those that were written, which were there already, and just so.
  void count() {
    report_.remaining = report_.read - report_.inserted - report_.refused;
    report_.interrupted = report_.remaining > 0;
    if (report_.interrupted) report_.stopped_by = "It was interrupted.";
    if (!source_.journal) return;
    source_.journal->after();
    const std::size_t written = report_.inserted;
    report_.inserted = std::min(written, static_cast<std::size_t>(source_.journal->rows_inserted()));
    report_.updated = written - report_.inserted;
    report_.unchanged =
        report_.updated - std::min(report_.updated, static_cast<std::size_t>(source_.journal->rows_updated()));
  }

  const CodeSource& source_;
  UploadReport report_;
  std::string unreadable_;
};

}  // namespace

UploadReport upload_codes(const CodeSource& source) {
  if (!source.trial) return CodeRun(source).run();
  store::UnitOfWork trial(store::UnitOfWork::Kind::transaction);
  const store::UnitOfWork::Current current(&trial);
  const UploadReport report = CodeRun(source).run();
  trial.rollback();
  return report;
}

}  // namespace mercato::exchange
