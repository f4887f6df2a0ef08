// SPDX-License-Identifier: Apache-2.0
// What hosts show of catalogues beside the answers of Mercato.Catalog: counts, and lists that no public call gives.
// Every function raises what the store raises; nothing is changed and nothing is logged. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "mercato/dictionary.h"
#include "mercato/recordset.h"

namespace mercato {

struct CatalogCounts {
  std::size_t nodes = 0;
  std::size_t products = 0;  // of the categories of its nodes of type 1, each once
  std::size_t users = 0;     // that have a right on it or on one of its nodes
  std::size_t profiles = 0;
};
/// All 0 for a catalogue that is not there.
CatalogCounts counts_of_catalog(std::int32_t catalog);
std::size_t count_nodes(std::int32_t catalog);

/// CATALOGDESCRIPTION, which the record of GetCatalog lacks; "" for a Null. Raises kNoCurrentRow when there is no such
/// catalogue.
std::string description_of_catalog(std::int32_t catalog);

/// The number of products that are not disabled.
std::size_t count_enabled_products();

/// CATEGORYID to the number of its products. A category without products has no entry.
std::map<std::int32_t, std::int32_t> product_counts_by_category();

/// CATEGORYID to CATEGORYNAME of all categories.
DictionaryPtr all_category_names();

/// BUSINESSPARTNERID, BUSINESSID, PARTNERNAME of all partners, cut loose.
RecordsetPtr all_business_partners();

}  // namespace mercato
