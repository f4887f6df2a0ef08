// SPDX-License-Identifier: Apache-2.0
// Votes of the current object. Outside of the transaction server they do nothing. Any thread.
#pragma once

#include "mercato/object_context.h"

namespace mercato {

// Vote: this object's work may commit.
void Mts_SetComplete();
// Vote: the transaction must roll back.
void Mts_SetAbort();

}  // namespace mercato
