// SPDX-License-Identifier: Apache-2.0
// What an upload did not apply, to be corrected and uploaded again: a document of the same kind, each record below a
// comment with its line and reasons; or lines of JSON. One thread.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "exchange/item_documents.h"
#include "exchange/uploading/upload_report.h"

namespace mercato::exchange {

class RestFile {
 public:
  // Raises 75 when it cannot be written; so do the others.
  RestFile(const std::string& path, bool as_lines, std::string root);

  // The reasons of the records that come after, in place of those before.
  void set_findings(const std::vector<UploadFinding>& refusals, const std::vector<UploadFinding>& unreachable);
  // `text` is the element.
  void add(std::size_t record, const std::string& part_number, std::size_t line, const std::string& text);
  // The same with its own reasons. Without a text it is told only.
  void add(const std::string& part_number, std::size_t line, const std::vector<UploadFinding>& findings,
           const std::string& text);
  void finish();

 private:
  using Findings = std::vector<UploadFinding>;

  WrittenFile file_;
  const bool as_lines_;
  const std::string root_;
  std::unordered_map<std::size_t, Findings> of_records_;
  std::unordered_map<std::string, Findings> of_part_numbers_;
};

}  // namespace mercato::exchange
