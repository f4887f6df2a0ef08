// SPDX-License-Identifier: Apache-2.0
// Judges the records of the library's own documents before the library sees them. The library takes "12,50" for 1250,
// cuts what is too long and makes a property of a name that is misspelt: such a record is refused here, with its reason,
// unless that is accepted. What the library refuses by itself, with a reason, is left to it. One thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "exchange/judging.h"
#include "platform/xml/document.h"
#include "upload/upload_documents.h"

namespace mercato::exchange {

struct JudgedRecord {
  bool refused = false;
  bool rewritten = false;         // some of its values are written as the library reads them
  std::string text;               // of a rewritten one: the element
  std::vector<Finding> findings;  // those of a record that is not refused are accepted ones
};

class DocumentJudge {
 public:
  DocumentJudge(const upload::DocumentKind& kind, const JudgingOptions& options);

  JudgedRecord judge(const xml::Node& record);
  // A value of its own, as that of a record.
  JudgedRecord judge_value(const std::string& field, const std::string& value);

 private:
  class Work;
  struct KnownName {
    bool is_field = false;
    bool is_own_column = false;
    std::string_view near;
  };
  const KnownName& known(const std::string& upper_name);

  const bool of_prices_;
  const JudgingOptions options_;
  Notation notation_;
  bool has_separator_ = false;  // of buyers: a record has set it for itself and those after it
  std::unordered_map<std::string, KnownName> names_;
};

// Elements that stand where records do and are none, because their name, or that of their part number, is in another
// case: an upload passes over them.
std::vector<xml::Node> passed_over(const xml::Document& document, const upload::DocumentKind& kind);

Finding of_passed_over(const xml::Node& element);

// As a person reads it: what is wrong with the value, and what to do.
std::string sentence_of(const Finding& finding);

}  // namespace mercato::exchange
