// SPDX-License-Identifier: Apache-2.0
// The process's component registry: which class answers to a ProgID. Any thread.
#pragma once

#include <string_view>
#include <vector>

#include "mercato/class_table.h"
#include "mercato/export.h"

namespace mercato {

/// Makes a class known. It takes the place of a class with the same ProgID. The table must outlive its registration.
MERCATO_API void register_class(const ClassTable& table);
/// Forgets it; does nothing when another class has taken its ProgID.
MERCATO_API void unregister_class(const ClassTable& table);
/// By ProgID in any case; null when none is known.
MERCATO_API const ClassTable* registered_class(std::string_view prog_id);
/// By class id; null when none is known.
MERCATO_API const ClassTable* registered_class_id(std::string_view class_id);
/// All of them, by ProgID.
MERCATO_API std::vector<const ClassTable*> registered_classes();

}  // namespace mercato
