// SPDX-License-Identifier: Apache-2.0
// Questions and answers about products and categories, class Mercato.Faqlist.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"

namespace mercato {

/// Questions and answers about products and categories, with their categories and visibilities.
///
/// Declares no transaction attribute: each statement stands when it has run. A call that succeeds casts no vote, one
/// that fails votes abort. Every method may raise what the store raises (0x80040E14 for a refused statement, 0x80040E57
/// for a text that is too long for its column, 0x80004005 for a store that cannot be reached).
///
/// An object serves one call at a time and keeps nothing between calls.
class MERCATO_API Faqlist : public ComponentOf<Faqlist> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// Files a question with its answer and returns its id. Product 0 stands for none; the other ids need not exist. The
  /// date that is stored is the time of the call: `iDate` is not read. No argument is changed. A failure writes nothing
  /// and is logged and raised under "Zentrik.Faqlist.AddIssue()".
  std::int32_t AddIssue(std::int32_t& iProductID, std::int32_t& iProductCategoryID, std::int32_t& iFAQCategoryID,
                        std::int32_t& iVisibilityOption, std::string& iDescription, std::string& iQuestion,
                        std::string& iAnswer, std::string& iDate, std::string& iAttachment, std::string& iLink);

  /// The categories of questions: id to description, empty when there are none. A failure is logged and raised under
  /// "Zentrik.Faqlist.GetFAQCategories()".
  DictionaryPtr GetFAQCategories();

  /// The visibilities of questions: id to description, empty when there are none. A failure is logged and raised under
  /// "Zentrik.Faqlist.GetFAQVisibilityOptions()".
  DictionaryPtr GetFAQVisibilityOptions();
};

}  // namespace mercato
