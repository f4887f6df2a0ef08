#include "product/product_internal.h"

namespace mercato {

bool Product::InsertUpdatePrice(std::int32_t, Date, double, const Array&, const Array&, const std::string&) {
  raise(438);
}
bool Product::InsertPrice(std::int32_t, Date, double, const Array&, const Array&) { raise(438); }
bool Product::UpdatePrice(std::int32_t, Date, double, const Array&, const Array&) { raise(438); }
bool Product::InsertUpdatePriceEx(std::int32_t, Date, double, const std::string&, const Array&, const Array&,
                                  const std::string&) {
  raise(438);
}
DictionaryPtr Product::getCatalogPriceAttributes(std::int32_t, Date, const std::string&, double) { raise(438); }
DictionaryPtr Product::getCatalogPriceAttributesEx(std::int32_t, Date, const std::string&, double, const std::string&) {
  raise(438);
}
DictionaryPtr Product::GetProductPriceLines(std::int32_t) { raise(438); }
double Product::GetPriceFromPriceLines(std::int32_t, double) { raise(438); }
double Product::GetPriceFromPriceLinesByGroup(std::int32_t, const std::string&) { raise(438); }
DictionaryPtr Product::getERPPrice(const Variant&, const Variant&, const Variant&, const Variant&, const Variant&,
                                   const Variant&, const Variant&, const Variant&, const Variant&) {
  raise(438);
}

}  // namespace mercato
