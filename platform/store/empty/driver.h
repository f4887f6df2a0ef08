// SPDX-License-Identifier: Apache-2.0
// A driver that does nothing: copy this folder to begin a new one. It opens anything, takes every statement, and knows
// no table. It stands in no list of providers. Any thread.
#pragma once

#include "platform/store/driver.h"

namespace mercato::store {

Driver& empty_driver();

}  // namespace mercato::store
