// SPDX-License-Identifier: Apache-2.0
// Numbers of the failures that the business classes raise. Those of the ground are in raised_error.h.
#pragma once

#include <cstdint>

namespace mercato {

/// The library's own errors: the base 0x80040000 plus 200 to 214.
enum MercatoErrors : std::int32_t {
  eProductNotFound = -2147221304,
  ePropertyNotFound = -2147221303,
  ePropertyGroupNotFound = -2147221302,
  eUnitNotFound = -2147221301,
  eCatalogNotFound = -2147221300,
  eContractNotFound = -2147221299,
  eCommodityNotFound = -2147221298,
  eUNSPSCCodeNotFound = -2147221297,
  eProductIdNotFound = -2147221296,
  eGTINNumberNotFound = -2147221295,
  eBuyerIdNotFound = -2147221294,
  ePartNumberNotFound = -2147221293,
  eProductCategoryNotFound = -2147221292,
  eUnableToLoadXML = -2147221291,
  eHazardousClassNotFound = -2147221290,
};

/// Numbers outside of the enumeration.
inline constexpr std::int32_t kObjectErrorBase = -2147221504;   ///< 0x80040000
inline constexpr std::int32_t kInvalidReference = -2147221497;  ///< the base plus 7: what is written refers to nothing
inline constexpr std::int32_t kDeprecatedMethod = -1;           ///< a retired method was called

}  // namespace mercato
