#include "product/product_internal.h"

namespace mercato {

bool Product::IReferentialIntegrity_Exists(const Variant&, const Array&, const Array&) { raise(438); }
bool Product::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) { raise(438); }
bool Product::Delete(std::int32_t) { raise(438); }
void Product::Disable(std::int32_t) { raise(438); }
void Product::Enable(std::int32_t) { raise(438); }
void Product::DeleteProductDependents(const std::string&, const Array&, const Array&) { raise(438); }
std::string Product::GetAttachmentFolder(std::int32_t) { raise(438); }

}  // namespace mercato
