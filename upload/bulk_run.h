// SPDX-License-Identifier: Apache-2.0
// The bulk run that both uploads share: the prefixed source, the time budget, the cut of the caller's list, the
// remaining file. What differs between them is a BulkRun. Thread of the call.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "frame/documents.h"
#include "mercato/variant.h"
#include "upload/upload_documents.h"

namespace mercato::upload {

struct BulkRun {
  const DocumentKind& kind;
  std::function<void(const xml::Document& document, const std::string& part_number)> handle;
  // Whether the run is to end before its next part number.
  std::function<bool()> is_cancelled;
  // Whether a remaining file is to be written.
  std::function<bool(const xml::Document& document)> records_left;
};

// Handles the listed part numbers of the document until 180 seconds have passed by the clock or the run is cancelled; a
// record under way is never cut off. A run across midnight has no end by the budget. Afterwards `part_numbers` holds
// those handled, from bound 0, and the rest of the document stands in its remaining file, or no such file is there.
// What was written is durable before that file is touched, and when the call fails.
//
// `prefixed_source` is a file key, the marker "/\" and the text or URL; the first marker counts. Raises 5 without one,
// 75 for a key that is no plain part of a file name, both before anything is loaded. Whether the document could be
// loaded is not asked: its first record tells. Raises what handling a record raises; the list and an older file then
// stay.
void run_bulk_upload(const BulkRun& run, std::string_view prefixed_source, bool is_url, Array& part_numbers);

}  // namespace mercato::upload
