// SPDX-License-Identifier: Apache-2.0
// For tables of conversions: what a conversion gives, or the number that it raises, as one text to compare.
#pragma once

#include <string>

#include "mercato/raised_error.h"

namespace mercato::test {

// The text of what `work` returns, or "raises 13".
template <class Work>
std::string outcome_of(const Work& work) {
  try {
    return work();
  } catch (const Raised& failure) {
    return "raises " + std::to_string(failure.error().Number);
  }
}

}  // namespace mercato::test
