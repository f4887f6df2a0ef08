// SPDX-License-Identifier: Apache-2.0
// A map whose keys are names, compared without regard to the case of ASCII letters.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "mercato/export.h"

/// @namespace mercato::collaborators
/// What a deployment sets, and what the default collaborating components go by.
namespace mercato::collaborators {

/// The order of names without regard to the case of ASCII letters.
struct MERCATO_API NameOrder {
  /// Names are found by views, too.
  using is_transparent = void;
  /// Whether the left name comes first.
  bool operator()(std::string_view left, std::string_view right) const;
};

/// A map by name.
template <class Value>
using ByName = std::map<std::string, Value, NameOrder>;

}  // namespace mercato::collaborators
