// A map whose keys are names, compared without regard to the case of ASCII letters.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "mercato/export.h"

namespace mercato::collaborators {

struct MERCATO_API NameOrder {
  using is_transparent = void;
  bool operator()(std::string_view left, std::string_view right) const;
};

template <class Value>
using ByName = std::map<std::string, Value, NameOrder>;

}  // namespace mercato::collaborators
