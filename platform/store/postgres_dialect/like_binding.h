// SPDX-License-Identifier: Apache-2.0
// How a LIKE pattern that is a literal is bound for the server's own LIKE, which knows % and _ only. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mercato::store::postgres {

struct LikeBinding {
  // For LIKE on the server's folded text, with \ as the escape. All texts that the given pattern matches match it.
  std::string pattern;
  // For LIKE on the text with its ASCII letters made small, which costs a tenth of folding: what is left of the pattern
  // when each character that folding can make of others stands for any. All texts that match have it.
  std::string outline;
  // Whether `pattern` matches no others. Else the server's mercato_like has to be asked as well, with the pattern as
  // given.
  bool is_exact = true;
};

// A text that is no escape character has mercato_like fail.
LikeBinding bind_like(std::string_view pattern, std::optional<std::string_view> escape = std::nullopt);

}  // namespace mercato::store::postgres
