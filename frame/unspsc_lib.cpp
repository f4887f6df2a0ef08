#include "frame/unspsc_lib.h"

#include "frame/types/raised_error.h"

namespace mercato {

void UpdateProductLinksForUNSPSCCode(std::int32_t, const std::string&, const std::string&, bool) { raise(438); }
void UpdateProductCategoryLinksForUNSPSCCode(std::int32_t, const std::string&, const std::string&, bool) { raise(438); }

}  // namespace mercato
