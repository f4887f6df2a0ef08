#include "product/product_internal.h"

namespace mercato {

ComponentPtr Product::GetProductsAsDRecordSet(const ComponentPtr&, const std::string&, std::int32_t, const std::string&,
                                              const std::string&, const std::string&, const std::string&) {
  raise(438);
}
ComponentPtr Product::GetCommodityData(const ComponentPtr&, const std::string&, std::int32_t, const Variant&,
                                       const std::string&) {
  raise(438);
}
ComponentPtr Product::GetManufacturerData(const ComponentPtr&, const std::string&, std::int32_t, const Variant&,
                                          const std::string&) {
  raise(438);
}
DictionaryPtr Product::GetAllCommodities() { raise(438); }
DictionaryPtr Product::GetAllManufacturers() { raise(438); }
bool Product::DeleteCommodity(const std::string&) { raise(438); }
void Product::InsertManufacturer(const std::string&, const std::string&) { raise(438); }
std::string Product::GetChargeType(const std::string&) { raise(438); }
std::string Product::GetBisItemCode(const std::string&) { raise(438); }
DictionaryPtr Product::GetTaxcodeInformation(const std::string&) { raise(438); }
DictionaryPtr Product::GetAllTaxCodes() { raise(438); }
Variant Product::getAllServiceProducts() { raise(438); }
bool Product::IsServiceProduct(std::int32_t) { raise(438); }

}  // namespace mercato
