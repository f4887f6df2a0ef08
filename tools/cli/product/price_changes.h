// SPDX-License-Identifier: Apache-2.0
// The commands of `mercato price` that are about many lines: delete, end, change. Main thread.
#pragma once

#include "tools/cli/menu.h"

namespace mercato::cli {

void add_price_changes(Menu::Group& group);

}  // namespace mercato::cli
