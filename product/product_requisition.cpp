#include "product/product_internal.h"

namespace mercato {

DictionaryPtr Product::GetRequisitionLineProperties(const std::string&, const std::string&, std::int32_t) {
  raise(438);
}
bool Product::RequisitionPropertiesPresent(std::int32_t, const std::string&) { raise(438); }
bool Product::RequisitionCommodityPropertiesPresent(const std::string&, const std::string&) { raise(438); }
DictionaryPtr Product::GetProductProperties(std::int32_t) { raise(438); }
bool Product::CheckLotSize(std::int32_t, double) { raise(438); }
double Product::getMultipleOf(std::int32_t) { raise(438); }
double Product::getMinOrderQty(std::int32_t) { raise(438); }

}  // namespace mercato
