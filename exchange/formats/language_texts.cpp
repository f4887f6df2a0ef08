// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/language_texts.h"

#include "exchange/formats/item_building.h"

namespace mercato::exchange {

std::vector<const XmlElement*> LanguageTexts::chosen(const XmlElement& element, std::string_view name) const {
  std::vector<const XmlElement*> all;
  for (const XmlElement& child : element.children)
    if (child.name == name) all.push_back(&child);
  if (all.size() < 2) return all;
  for (const std::string_view language :
       {std::string_view(wanted_), std::string_view(), std::string_view(own_), all.front()->attribute(attribute_)}) {
    std::vector<const XmlElement*> found;
    for (const XmlElement* const one : all)
      if (same_language(one->attribute(attribute_), language)) found.push_back(one);
    if (found.empty()) continue;
    for (const XmlElement* const one : all)
      if (!same_language(one->attribute(attribute_), language))
        sink_.left_out(with(name, one->attribute(attribute_)), one->place);
    return found;
  }
  return {};
}

std::string LanguageTexts::text(const XmlElement& element, std::string_view name) const {
  std::string joined;
  for (const XmlElement* const one : chosen(element, name))
    if (!one->text.empty()) joined.append(joined.empty() ? "" : "; ").append(one->text);
  return joined;
}

}  // namespace mercato::exchange
