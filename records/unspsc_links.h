// SPDX-License-Identifier: Apache-2.0
// The module UNSPSCLib: keeps PRODUCTSBYCATEGORY in step with the UNSPSC codes. A product belongs to every category
// whose code is the product's code or a prefix of it at a segment boundary (two characters; the last segment of a code
// of odd length has one). Commit votes are the callers'; every function votes abort when it fails, and logs and raises
// under "Mercato.UNSPSCLib." and its name. Raises what the store raises. Nothing is kept between calls. Any thread.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/dictionary.h"

namespace mercato {

// Whether the deployment wants the links: the setting UNSPSCIMPLEMENTED is "Yes", exactly.
bool unspsc_links_wanted();

// A product's code has changed: links to categories of the old code go, links to categories of the new code come, each
// at the end of its category; what both codes share stays. Equal codes do nothing. With `is_new` no link is looked for,
// so that one that exists is refused by the table's key (0x80040E2F).
void UpdateProductLinksForUNSPSCCode(std::int32_t product_id, const std::string& old_code, const std::string& new_code,
                                     bool is_new);
// The same from the other side: a category's code has changed. New products go to the end of the category. Raises 6
// when the places of the category run out.
void UpdateProductCategoryLinksForUNSPSCCode(std::int32_t category_id, const std::string& old_code,
                                             const std::string& new_code, bool is_new);

// Sets: the keys are ids, the items are Empty.
// The categories with this code or a prefix of it. Raises 0x80040E14 for the empty code.
DictionaryPtr GetProductCategoriesForUNSPSCCode(const std::string& code);
// The categories that the product is linked to.
DictionaryPtr GetProductCategoriesForProduct(std::int32_t product_id);
// Fills in the highest SEQUENCE of each category of the set; the item of a category without products stays as it is.
void GetMaxSequenceNrsForProductCategories(const DictionaryPtr& categories);
// The products with this code or one below it. The code goes into the statement as it stands: a quote is refused, and
// wildcards work.
DictionaryPtr GetProductsForUNSPSCCode(const std::string& code);
// Fills in the products of the category and their highest SEQUENCE, which stays as it is without one.
void GetProductsForProductCategory(std::int32_t category_id, const DictionaryPtr& products, std::int32_t& max_sequence);

}  // namespace mercato
