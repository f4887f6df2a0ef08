// SPDX-License-Identifier: Apache-2.0
#include "upload/bulk_run.h"

#include "frame/contracts.h"
#include "frame/file_access.h"
#include "frame/upload_run.h"
#include "mercato/clock.h"
#include "mercato/raised_error.h"
#include "upload/telling.h"
#include "values/text.h"

namespace mercato::upload {
namespace {

constexpr std::int32_t kBudgetSeconds = 180;
constexpr std::string_view kMarker = "/\\";

struct PrefixedSource {
  std::string_view file_key;
  std::string_view source;
};

PrefixedSource parts_of(std::string_view prefixed) {
  const std::size_t marker = prefixed.find(kMarker);
  if (marker == std::string_view::npos) raise(error_number::kInvalidArgument);
  return {prefixed.substr(0, marker), prefixed.substr(marker + kMarker.size())};
}

void leave_remaining_file(const BulkRun& run, std::string_view file_key, const xml::Document& document) {
  grundwerk::Configuration configuration;
  const std::string path = remaining_path(run.kind, configuration.GetWebRootFolder(), file_key);
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  if (!files::folder_exists(folder)) files::create_folder(folder);
  files::delete_abandoned_files(folder);

  // Callers expect an older file to be deleted first. It may be all that is left of the source, though: it keeps its
  // place until the new one takes it, or until it is certain that nothing is left.
  const bool replaces = files::file_exists(path);
  if (replaces) files::require_deletable(path);
  // A document without a root has nothing left, and the question for its records fails: the older file goes before.
  if (replaces && document.document_element().is_null()) files::delete_file(path);
  if (run.records_left(document))
    document.save(path);
  else if (replaces)
    files::delete_file(path);
}

}  // namespace

void run_bulk_upload(const BulkRun& run, std::string_view prefixed_source, bool is_url, Array& part_numbers) {
  const std::int32_t started = clock::seconds_of_day();
  const PrefixedSource source = parts_of(prefixed_source);
  files::require_plain_file_key(source.file_key);
  xml::Document document;
  load_document(document, source.source, is_url);

  StoreRun writes;
  std::size_t handled = 0;
  for (; handled < part_numbers.items.size(); ++handled) {
    if (clock::seconds_of_day() - started >= kBudgetSeconds || run.is_cancelled()) break;
    std::string part_number = part_numbers.items[handled].to_text();
    if (run.kind.trims_entries) part_number = std::string(text::trim(part_number));
    run.handle(document, part_number);
  }
  part_numbers.items.resize(handled);
  part_numbers.lower = 0;
  writes.finish();
  leave_remaining_file(run, source.file_key, document);
}

}  // namespace mercato::upload
