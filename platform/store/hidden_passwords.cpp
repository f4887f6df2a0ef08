// SPDX-License-Identifier: Apache-2.0
#include "platform/store/hidden_passwords.h"

#include <algorithm>

#include "values/text.h"

namespace mercato::store {

std::string without_passwords(std::string_view text) {
  std::string shown;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(';', begin), text.size());
    std::string_view pair = text.substr(begin, end - begin);
    const std::size_t equals = pair.find('=');
    const std::string_view key = text::trim(pair.substr(0, std::min(equals, pair.size())));
    const bool is_password =
        equals != std::string_view::npos && (text::equal_names(key, "Password") || text::equal_names(key, "PWD"));
    if (is_password) pair = pair.substr(0, equals + 1);
    if (begin > 0) shown += ';';
    shown += pair;
    if (is_password) shown += "...";
    begin = end + 1;
  }
  return shown;
}

}  // namespace mercato::store
