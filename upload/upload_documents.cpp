// SPDX-License-Identifier: Apache-2.0
#include "upload/upload_documents.h"

#include "frame/file_access.h"
#include "frame/lib_error_handling.h"
#include "frame/upload_run.h"
#include "values/text.h"

namespace mercato::upload {

bool load_document(xml::Document& document, std::string_view iStringOrUrl, bool iIsUrl) {
  // A shorter text is read in a few milliseconds: a run holds others off for longer anyway.
  constexpr std::size_t kLongText = 1'000'000;
  if (iIsUrl || iStringOrUrl.size() > kLongText) StoreRun::before_waiting();
  return iIsUrl ? document.load(iStringOrUrl) : document.load_text(iStringOrUrl);
}

xml::NodeList load_records(const DocumentKind& kind, const std::string& iStringOrUrl, bool iIsUrl) {
  xml::Document document;
  if (!load_document(document, iStringOrUrl, iIsUrl))
    raise(eUnableToLoadXML, std::string(kind.load_source), "Unable to load XML");
  return document.elements_by_tag_name(kind.record);
}

std::string part_number_of(const xml::Node& record) {
  auto part_number = record.attribute("buyfrompartnumber");
  if (!part_number) raise(error_number::kObjectNotSet);
  return *std::move(part_number);
}

std::string records_of(const DocumentKind& kind, std::string_view part_number) {
  std::string xpath = "//";
  return xpath.append(kind.record).append("[@buyfrompartnumber = '").append(part_number).append("']");
}

std::string_view reason_not_found(const DocumentKind& kind, std::string_view part_number) {
  if (part_number.find('\'') != std::string_view::npos) return "No run finds a part number with an apostrophe.";
  if (kind.trims_entries && text::trim(part_number) != part_number)
    return "No run finds a part number with blanks at its ends.";
  return {};
}

std::string remaining_path(const DocumentKind& kind, std::string_view web_root, std::string_view file_key) {
  std::string path(web_root);
  path.append("\\XMLDownload\\").append(kind.remaining_file).append(file_key).append(".xml");
  return files::host_path(path);
}

Variant value_of(const Dictionary& record, std::string_view field) {
  const Variant* value = record.find(field);
  return value ? *value : Variant();
}

std::size_t records_in(const DocumentKind& kind, const xml::Document& document) {
  if (document.document_element().is_null()) raise(error_number::kObjectNotSet);
  std::string xpath = "//";
  return document.select(xpath.append(kind.record)).size();
}

}  // namespace mercato::upload
