#include "product/product_internal.h"

namespace mercato {

void Product::CreateFavorite(const std::string&, std::int32_t, std::int32_t) { raise(438); }
void Product::DeleteFavorite(const std::string&, std::int32_t, std::int32_t) { raise(438); }
void Product::CreateFavoriteEx(const std::string&, std::int32_t, std::int32_t, std::int32_t) { raise(438); }
void Product::DeleteFavoriteEx(const std::string&, std::int32_t, std::int32_t, std::int32_t) { raise(438); }
bool Product::InsertMultipleBuyers(const Array&, const Array&) { raise(438); }
std::string Product::GetBuyerFromCommodity(const std::string&) { raise(438); }
std::string Product::GetDefaultProductBuyer(std::int32_t) { raise(438); }
DictionaryPtr Product::GetBuyersForProducts(const Array&) { raise(438); }

}  // namespace mercato
