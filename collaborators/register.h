// SPDX-License-Identifier: Apache-2.0
// The classes of the default collaborators, for hosts to register.
#pragma once

#include <span>

#include "mercato/class_table.h"

namespace mercato::collaborators {

std::span<const ClassTable* const> collaborator_classes();

}  // namespace mercato::collaborators
