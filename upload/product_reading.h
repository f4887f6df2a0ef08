// SPDX-License-Identifier: Apache-2.0
// Reads product documents: their records become dictionaries, upper-cased field name to text. Knows no database.
// The plain readers load the document at each call; those that end in 2 work on a loaded one. The two are not
// equivalent: for a part number that the document lacks the one gives an empty dictionary and the other fails, and only
// the plain one fills up a GTIN. Every reader hands a field MULTIPLEBUYERSEPARATOR to the object's separator.
#pragma once

#include <cstddef>
#include <string>

#include "frame/documents.h"
#include "mercato/collection.h"
#include "mercato/dictionary.h"
#include "records/product_row.h"

namespace mercato::upload {

class ProductReader {
 public:
  explicit ProductReader(BuyerSeparator& separator) : separator_(separator) {}

  CollectionPtr readBFPartNumbersFromXML(const std::string& iStringOrUrl, bool iIsUrl) const;
  DictionaryPtr readOneProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr);
  // Raises 91 when the document has no record of that part number, and kStoreFailure for one with an apostrophe.
  DictionaryPtr readOneProductFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr);

  // All records of a document.
  xml::NodeList getProductNodeList(const std::string& iStringOrUrl, bool iIsUrl) const;
  // The fields among a record's children. UNIT is handed on as UNITCODE, a repeated field keeps its last value.
  enum class Names { as_written, upper_cased };
  DictionaryPtr fields_of(const xml::NodeList& children, Names names);

  // Whether the document still has records. Once one had, the answer holds for every document after it.
  bool product_nodes_left2(const xml::Document& document);

 private:
  static xml::NodeList getProductNodes(const xml::NodeList& records, const std::string& iBuyFromPartNr);
  static xml::NodeList getProductNodes2(const xml::Document& document, const std::string& iBuyFromPartNr);

  BuyerSeparator& separator_;
  // How many records the first document that had any left still had; that is all that the list is asked for.
  std::size_t mProductNodeList = 0;
};

}  // namespace mercato::upload
