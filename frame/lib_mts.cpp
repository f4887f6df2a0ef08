// SPDX-License-Identifier: Apache-2.0
#include "frame/lib_mts.h"

namespace mercato {

void Mts_SetComplete() {
  if (ObjectContext* context = GetObjectContext()) context->SetComplete();
}

void Mts_SetAbort() {
  if (ObjectContext* context = GetObjectContext()) context->SetAbort();
}

}  // namespace mercato
