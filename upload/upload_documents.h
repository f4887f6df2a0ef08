// SPDX-License-Identifier: Apache-2.0
// Obtaining an upload document, and what its records have in common. No database. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "frame/documents.h"
#include "mercato/dictionary.h"

namespace mercato::upload {

// What tells one kind of upload document from the other.
struct DocumentKind {
  std::string_view record;          // the name of its record elements
  std::string_view load_source;     // of the failure to load one
  std::string_view remaining_file;  // what the name of its remaining files begins with
  bool trims_entries;               // by a bulk run, which else takes listed part numbers as they stand
};
inline constexpr DocumentKind kProductDocument{"Product", "Mercato.ProductXML.getProductNodeList",
                                               "remaining_products_", true};
inline constexpr DocumentKind kPriceDocument{"ProductPrice", "Mercato.PriceXML.getPriceNodeList", "remaining_prices_",
                                             false};

// All record elements of a freshly loaded document, at any depth. Raises eUnableToLoadXML with the kind's source, and
// without the parser's reasons.
xml::NodeList load_records(const DocumentKind& kind, const std::string& iStringOrUrl, bool iIsUrl);

// Answers whether the document was loaded.
bool load_document(xml::Document& document, std::string_view iStringOrUrl, bool iIsUrl);

// The record's attribute "buyfrompartnumber". Raises 91 when it has none.
std::string part_number_of(const xml::Node& record);

// The expression that selects the records of one part number. The number goes in as it stands: one with an apostrophe
// makes an expression that cannot be evaluated.
std::string records_of(const DocumentKind& kind, std::string_view part_number);

// Why no bulk run finds the records of this part number, as a sentence; empty when it finds them.
std::string_view reason_not_found(const DocumentKind& kind, std::string_view part_number);

// The file in which the rest of a document is left, with the host's separators.
std::string remaining_path(const DocumentKind& kind, std::string_view web_root, std::string_view file_key);

// How many records the document has. Raises 91 for one without a root.
std::size_t records_in(const DocumentKind& kind, const xml::Document& document);

// The item of a field, Empty for one that the record lacks. Unlike Dictionary::Item it leaves the record as it is.
Variant value_of(const Dictionary& record, std::string_view field);

// Whether the record has fields, or text, or a comment.
inline bool has_content(const xml::Node& record) { return record.has_children() && !record.children().empty(); }

}  // namespace mercato::upload
