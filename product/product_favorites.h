// SPDX-License-Identifier: Apache-2.0
// The favourites of users, for hosts that list and count them: no public call of Product does. Casts no vote. Any
// thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mercato/dictionary.h"

namespace mercato::product {

inline constexpr std::int32_t kAllFavoriteTypes = -1;  // else one of FavoriteTypes
inline constexpr std::int32_t kAllFolders = -1;
inline constexpr std::int32_t kTopLevelFolder = 0;

// PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, WAREHOUSEFAVORITE (1 or 0), FOLDERID and FOLDERNAME of each favourite, by
// folder and product. Part number and description are Null for a product that is no more, the name at the top level.
std::vector<DictionaryPtr> favorites_of(const std::string& connection_string, const std::string& user_id);

// How many favourites Product::DeleteFavoriteEx would delete, called with the same arguments.
std::int32_t count_favorites(const std::string& connection_string, const std::string& user_id, std::int32_t product_id,
                             std::int32_t favorite_type, std::int32_t folder_id);

// How many favourites stand in a folder, whoever's they are.
std::int32_t count_favorites_in_folder(const std::string& connection_string, std::int32_t folder_id);

}  // namespace mercato::product
