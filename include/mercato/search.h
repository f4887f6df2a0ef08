// SPDX-License-Identifier: Apache-2.0
// The search for products, for hosts: words in any order and parts of words, over numbers and descriptions, whether a
// product hangs in a category or not. The calls of Product that search (product.h) are older and find other things.
// Any thread.
//
//   mercato::ProductSearch search;
//   search.text = "ktins114 cable";
//   search.user = "BEN.OKORO";
//   for (const mercato::FoundProduct& product : mercato::find_products(search).products) ...
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mercato/export.h"

namespace mercato {

/// What is looked for, where, and which part of it is wanted.
///
/// The text is cut into words at blanks. A product is found when each word stands in its description, or in its part
/// number, its supplier's or its manufacturer's part number; parts of words are enough. It is also found by its GTIN,
/// whole and with or without the zeros in front. Case does not count, nor whether letters are composed; accents do. Of
/// the ASCII characters only letters and digits count: `KTINS114` finds `KT-INS 114.DRE`. In a description a word is
/// found between two blanks, in a number across its blanks too. Without a letter or digit in the text nothing is found;
/// an empty text, or one of blanks, finds everything.
///
/// With a user only what he may see is found, counted and proposed: products that are enabled (DISABLED is 0) and hang
/// in a category of a node that he sees. He sees a node of type ProductCategory in an active catalogue when it is laid
/// out for him (USERNODE), or he has an entry for the whole catalogue (CATALOGNODEBYUSER), be it for view only; entries
/// of profiles do not count. But for the catalogue, that is what Catalog::IsAuthorizedCatalogNode says of the node.
/// Neither the days of a product, nor the visibilities of a category, nor the partners of a node restrict it further. A
/// user who has no rights or is not there finds nothing; his id may have quotes, and its case and trailing blanks do
/// not count. The answer for a user is given 8, 16, 32 ... milliseconds after the call, so that its time does not tell
/// what was passed over on the way.
///
/// Without a user everything in the store is found, disabled products too.
struct ProductSearch {
  std::string text;                      ///< the words
  std::optional<std::string> user;       ///< keep to what this user may see
  std::optional<std::int32_t> category;  ///< only products of this category; with a user, of a node that he sees
  std::optional<std::int32_t> catalog;   ///< only products that a node of this catalogue shows
  std::optional<std::int32_t> supplier;  ///< only products of this business partner
  std::int32_t limit = 50;               ///< how many products are told at most; at least 1
  std::int32_t offset = 0;               ///< how many are passed over first
  std::string after;                     ///< begin behind there: `next` of an earlier answer, or empty
};

/// How well a product fits, the best first. "The words" are all of the text, without regard to blanks and signs.
enum class Fit {
  part_number,     ///< the words are its part number
  other_number,    ///< or its supplier's or manufacturer's part number, or its GTIN
  number_begins,   ///< one of its part numbers begins with the words
  number_holds,    ///< one of them has the words in it
  whole_words,     ///< each word is a whole word of the description, or a whole part number
  parts_of_words,  ///< each word is at least a part of one
  listed,          ///< no words were looked for
};

/// A field in which words were found.
enum class FoundField { part_number, supplier_part_number, manufacturer_part_number, description, gtin };

/// A place in the text of a field, in characters.
struct FoundPlace {
  FoundField field;    ///< whose text
  std::size_t begin;   ///< from 0
  std::size_t length;  ///< at least 1
};

/// A product that was found. What is Null in the store is empty here.
struct FoundProduct {
  std::int32_t id = 0;                   ///< PRODUCTID
  std::string part_number;               ///< PARTNUMBER
  std::string supplier_part_number;      ///< BUYFROMPARTNUMBER
  std::string manufacturer_part_number;  ///< MFRPARTNUMBER
  std::string description;               ///< PRODUCTDESCRIPTION
  std::string gtin;                      ///< GTIN
  std::string unit;                      ///< UNITCODE
  std::optional<std::int32_t> supplier;  ///< BUSINESSPARTNERID
  bool disabled = false;                 ///< whether DISABLED is anything but 0
  Fit fit = Fit::listed;                 ///< why it stands where it does
  /// What matched, by field and place, without overlaps. In a text with letters that are not composed, all of it.
  std::vector<FoundPlace> places;
};

/// The answer to a search.
struct FoundProducts {
  /// The order is by fit, then by part number, then by id. A number in the very spelling of the text stands before
  /// others. Of more products than `kCountedProducts` so many are ordered, the first ones by id, and with them some
  /// whose part number or supplier's part number begins with the text as it was given. The others follow by id. Without
  /// words all are in the order of their ids.
  std::vector<FoundProduct> products;
  bool more = false;                  ///< whether others follow
  std::optional<std::int32_t> total;  ///< how many there are; nothing when more than `kCountedProducts`
  /// Where the next page begins, for `after`; empty when none follows. Products that are added and deleted meanwhile
  /// leave the others in their order, unless there come to be more or fewer than `kCountedProducts`.
  std::string next;
  /// The text with misspelt words replaced by words of products that may be seen, the likeliest first. Only for a first
  /// page with at most two products, none of them by its number; each finds something.
  std::vector<std::string> suggestions;
};

/// Up to so many products are counted, and ordered by how well they fit.
inline constexpr std::int32_t kCountedProducts = 1000;

/// Finds products in the store of this thread's settings. Reads only, casts no vote, and logs nothing. Words of which
/// none has three letters or digits are found by reading the table, and so are all where the store has no text index:
/// the answer is the same. Raises 5 for a limit, an offset or an `after` that cannot be, and what the store raises.
MERCATO_API FoundProducts find_products(const ProductSearch& search);

}  // namespace mercato
