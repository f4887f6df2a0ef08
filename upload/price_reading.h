// SPDX-License-Identifier: Apache-2.0
// Reads price documents: their records become dictionaries, field name, as it is written, to text. Knows no database.
// The plain readers load the document at each call; those that end in 2 work on a loaded one and cannot find a part
// number with an apostrophe. All raise 457 for a field that stands twice in one record.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "frame/documents.h"
#include "mercato/dictionary.h"

namespace mercato::upload {

class PriceReader {
 public:
  DictionaryPtr readProductPriceFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                        const std::string& iBuyFromPartNr) const;
  DictionaryPtr readProductPriceFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr) const;

  // All records of a document.
  xml::NodeList getPriceNodeList(const std::string& iStringOrUrl, bool iIsUrl) const;

  // Whether the document still has records. Once one had, the answer holds for every document after it.
  bool price_nodes_left2(const xml::Document& document);

 private:
  using PriceNodes = std::vector<xml::NodeList>;  // the children of each record
  static PriceNodes getPriceNodes(const xml::NodeList& records, const std::string& iBuyFromPartNr);
  static PriceNodes getPriceNodes2(const xml::Document& document, const std::string& iBuyFromPartNr);

  // How many records the first document that had any left still had; that is all that the list is asked for.
  std::size_t mPriceNodeList = 0;
};

// The one price among a record's children.
DictionaryPtr price_of(const xml::NodeList& children);

// The key of a price among those of its part number, from 1.
std::string price_key(std::size_t number);

}  // namespace mercato::upload
