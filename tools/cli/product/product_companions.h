// SPDX-License-Identifier: Apache-2.0
// The commands of `mercato product` about what hangs on a product: alternatives, images and attached files. Main thread.
#pragma once

#include "tools/cli/menu.h"

namespace mercato::cli {

void add_companion_commands(Menu::Group& group);

}  // namespace mercato::cli
