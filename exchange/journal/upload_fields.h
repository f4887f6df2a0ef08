// SPDX-License-Identifier: Apache-2.0
// Fields of MERCATO_UPLOAD as plain values.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/variant.h"

namespace mercato::exchange {

// "2026-07-01T08:30:00", empty for Null.
inline std::string day_of(const Variant& field) { return field.is_null() ? std::string() : field.to_date().iso_text(); }
inline std::int32_t count_of(const Variant& field) { return field.is_null() ? 0 : field.to_long(); }

}  // namespace mercato::exchange
