// The module UNSPSCLib: keeps PRODUCTSBYCATEGORY in step with the UNSPSC codes. A product belongs to every category whose
// code is the product's code or a prefix of it at a segment boundary (two characters). Votes commit are the callers';
// every function votes abort when it fails, and logs and raises under "Mercato.UNSPSCLib." and its name. Any thread.
#pragma once

#include <cstdint>
#include <string>

#include "frame/types/dictionary.h"

namespace mercato {

// A product's code has changed: links to categories of the old code go, links to categories of the new code come, each
// at the end of its category; what both codes share stays. Equal codes do nothing. With `is_new` no link is looked for,
// so that one that exists is refused by the table's key (0x80040E2F).
void UpdateProductLinksForUNSPSCCode(std::int32_t product_id, const std::string& old_code, const std::string& new_code,
                                     bool is_new);
// The mirror image: a category's code has changed.
void UpdateProductCategoryLinksForUNSPSCCode(std::int32_t category_id, const std::string& old_code,
                                             const std::string& new_code, bool is_new);

}  // namespace mercato
