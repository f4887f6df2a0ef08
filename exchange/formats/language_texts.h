// SPDX-License-Identifier: Apache-2.0
// Elements that stand once for each language, of which one language is read. One thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "exchange/formats/format.h"
#include "exchange/input/xml_pieces.h"

namespace mercato::exchange {

class LanguageTexts {
 public:
  // `attribute` names the language of an element: "lang".
  LanguageTexts(std::string_view wanted, std::string_view attribute, ItemSink& sink)
      : wanted_(wanted), attribute_(attribute), sink_(sink) {}

  // The file's own language; the first one that is told counts.
  void set_own(std::string_view language) {
    if (own_.empty()) own_ = language;
  }

  // Those of the children of that name that are in the language: in the one that was asked for, else in none, else in
  // the file's own, else in the first that there is. The others are left out, by name and language.
  std::vector<const XmlElement*> chosen(const XmlElement& element, std::string_view name) const;
  // Their texts, with "; " between them.
  std::string text(const XmlElement& element, std::string_view name) const;

 private:
  std::string wanted_;
  std::string attribute_;
  std::string own_;
  ItemSink& sink_;
};

}  // namespace mercato::exchange
