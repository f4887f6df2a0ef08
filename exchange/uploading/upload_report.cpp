// SPDX-License-Identifier: Apache-2.0
#include "exchange/uploading/upload_report.h"

namespace mercato::exchange {

UploadResult result_of(const UploadReport& report) {
  const auto count = [](std::size_t number) { return static_cast<std::int32_t>(number); };
  UploadResult result;
  result.counts = {.read = count(report.read),
                   .inserted = count(report.inserted),
                   .updated = count(report.changed()),
                   .unchanged = count(report.unchanged.value_or(0)),
                   .refused = count(report.refused),
                   .left = count(report.remaining)};
  result.stopped_by = report.stopped_by;
  result.cancelled = report.interrupted;
  return result;
}

KeptFinding kept_finding(const char* outcome, const UploadFinding& finding) {
  return {outcome,       finding.part_number, static_cast<std::int32_t>(finding.line),
          finding.field, finding.value,       finding.reason};
}

std::vector<KeptFinding> kept_findings(const UploadReport& report) {
  std::vector<KeptFinding> kept;
  const auto keep = [&](const char* outcome, const std::vector<UploadFinding>& findings) {
    for (const UploadFinding& finding : findings) kept.push_back(kept_finding(outcome, finding));
  };
  keep("refused", report.refusals);
  keep("dropped", report.dropped);
  keep("cut", report.cut);
  keep("left", report.unreachable);
  return kept;
}

}  // namespace mercato::exchange
