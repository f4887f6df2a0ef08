// Questions and answers about products and categories. Declares no transaction attribute; reads and writes cast no
// commit vote, failures vote abort. One object serves one call at a time; nothing is kept between calls.
#pragma once

#include <cstdint>
#include <string>

#include "frame/business_class.h"
#include "values/dictionary.h"

namespace mercato {

class Faqlist : public ComponentOf<Faqlist> {
 public:
  static const ClassTable& table();

  // Files an issue and returns its id. Product 0 stands for none. The date that is stored is the time of the call;
  // iDate is not used. A failure votes abort and is logged and raised under "Zentrik.Faqlist.AddIssue()".
  std::int32_t AddIssue(std::int32_t& iProductID, std::int32_t& iProductCategoryID, std::int32_t& iFAQCategoryID,
                        std::int32_t& iVisibilityOption, std::string& iDescription, std::string& iQuestion,
                        std::string& iAnswer, std::string& iDate, std::string& iAttachment, std::string& iLink);

  // Id to description; empty when there are none. Failures vote abort and are logged and raised under
  // "Zentrik.Faqlist.GetFAQCategories()" and "Zentrik.Faqlist.GetFAQVisibilityOptions()".
  DictionaryPtr GetFAQCategories();
  DictionaryPtr GetFAQVisibilityOptions();
};

}  // namespace mercato
