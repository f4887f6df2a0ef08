#include "product/product_internal.h"

namespace mercato {

std::int32_t Product::Insert20(const Array&, const Array&) { raise(438); }
bool Product::Update20(std::int32_t, const Array&, const Array&) { raise(438); }
std::int32_t Product::Insert(const Variant&, const Variant&, const Variant&, const Variant&, const Variant&,
                             const Variant&, const Variant&, const Variant&, const Variant&) {
  raise(438);
}
bool Product::Update(std::int32_t, const Variant&, const Variant&, const Variant&, const Variant&, const Variant&,
                     const Variant&, const Variant&, const Variant&, const Variant&) {
  raise(438);
}
Variant Product::SetUpdateDateToNow(std::int32_t) { raise(438); }
void Product::InsertProductPropertyValue(std::int32_t, std::int32_t, const std::string&) { raise(438); }
void Product::UpdateProductPropertyValue(std::int32_t, std::int32_t, const std::string&) { raise(438); }

}  // namespace mercato
