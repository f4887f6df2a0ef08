// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/like_binding.h"

#include <utility>

#include "platform/store/dialect/like_reader.h"
#include "values/same_text.h"

namespace mercato::store::postgres {
namespace {

void append_escaped(std::string& pattern, char byte) {
  if (byte == '%' || byte == '_' || byte == '\\') pattern += '\\';
  pattern += byte;
}

void append_any(std::string& outline, bool& is_open) {
  if (!std::exchange(is_open, true)) outline += '%';
}

}  // namespace

LikeBinding bind_like(std::string_view pattern, std::optional<std::string_view> escape) {
  using dialect::LikePart;
  if (escape && !dialect::is_like_escape(*escape)) return {"%", "%", false};
  LikeBinding binding;
  bool is_open = false;  // the outline's end stands for any characters
  for (const LikePart& part : dialect::read_like(pattern, escape ? static_cast<unsigned char>(escape->front()) : 0)) {
    switch (part.kind) {
      case LikePart::Kind::any:
        binding.pattern += '%';
        append_any(binding.outline, is_open);
        break;
      case LikePart::Kind::set:
        binding.is_exact = false;
        [[fallthrough]];
      case LikePart::Kind::one:
        binding.pattern += '_';
        append_any(binding.outline, is_open);
        break;
      case LikePart::Kind::characters:
        for (const char byte : part.text) {
          append_escaped(binding.pattern, byte);
          if (text::changes_by_folding(byte)) {
            append_any(binding.outline, is_open);
            continue;
          }
          append_escaped(binding.outline, byte);
          is_open = false;
        }
        break;
    }
  }
  return binding;
}

}  // namespace mercato::store::postgres
