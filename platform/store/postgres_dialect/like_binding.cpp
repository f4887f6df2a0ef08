// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/like_binding.h"

#include "platform/store/dialect/like_reader.h"

namespace mercato::store::postgres {

LikeBinding bind_like(std::string_view pattern, std::optional<std::string_view> escape) {
  using dialect::LikePart;
  if (escape && !dialect::is_like_escape(*escape)) return {"%", false};
  LikeBinding binding;
  for (const LikePart& part : dialect::read_like(pattern, escape ? static_cast<unsigned char>(escape->front()) : 0)) {
    switch (part.kind) {
      case LikePart::Kind::any:
        binding.pattern += '%';
        break;
      case LikePart::Kind::set:
        binding.is_exact = false;
        [[fallthrough]];
      case LikePart::Kind::one:
        binding.pattern += '_';
        break;
      case LikePart::Kind::characters:
        for (const char byte : part.text) {
          if (byte == '%' || byte == '_' || byte == '\\') binding.pattern += '\\';
          binding.pattern += byte;
        }
        break;
    }
  }
  return binding;
}

}  // namespace mercato::store::postgres
