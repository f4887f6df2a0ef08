// SPDX-License-Identifier: Apache-2.0
// What a call raised, for assertions on the whole failure.
#pragma once

#include "mercato/raised_error.h"

namespace mercato::test {

// Number 0 when nothing was raised.
template <typename Call>
RaisedError failure_of(const Call& call) {
  try {
    call();
  } catch (const Raised& raised) {
    return raised.error();
  }
  return {};
}

}  // namespace mercato::test
