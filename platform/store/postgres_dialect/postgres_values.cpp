// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/postgres_values.h"

#include "mercato/clock.h"
#include "mercato/raised_error.h"
#include "platform/store/dialect/like_prefix.h"
#include "platform/store/postgres_dialect/like_binding.h"
#include "platform/store/postgres_dialect/text_key.h"
#include "values/text.h"

namespace mercato::store::postgres {
namespace {

// The engine's own numbers of its types; they never change.
constexpr unsigned kWhole64 = 20, kWhole16 = 21, kWhole32 = 23, kText = 25, kReal32 = 700, kReal64 = 701,
                   kTimestamp = 1114, kNumeric = 1700;

std::string pattern_of(const dialect::LexedStatement& lexed, const dialect::Parameter& parameter) {
  return dialect::parameter_value(lexed, {parameter.literal, dialect::Conversion::text}).to_text();
}

// No text of the store has U+0000 or bytes that are no character, and the engine takes none. In their place stands a mark that
// no folded text has, because folding composes it anew: nothing equals the text, and it sorts beside what it would be
// without.
std::string comparable(std::string folded) {
  constexpr const char* kMark = "\u0340";
  if (!text::is_valid(folded)) {
    std::erase_if(folded, [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
    folded += kMark;
  }
  return text::replace_all(folded, std::string_view("\0", 1), kMark);
}

std::string bound_key(std::string_view text) { return comparable(key(text)); }

std::optional<std::string> like_value(const Binding& binding, const dialect::LexedStatement& lexed) {
  const std::string pattern = pattern_of(lexed, binding.parameter);
  const std::string_view prefix = dialect::like_prefix(pattern);
  switch (binding.use) {
    case Binding::Use::like_from:
      return bound_key(prefix);
    case Binding::Use::like_to:
      return bound_key(prefix) + std::string(dialect::kBehindAllTexts);
    default:
      break;
  }
  std::optional<std::string> escape;
  if (binding.escape != UINT32_MAX) escape = pattern_of(lexed, {binding.escape});
  LikeBinding bound = bind_like(pattern, escape);
  if (binding.use == Binding::Use::like_outline) return std::move(bound.outline);
  if (binding.use == Binding::Use::like_pattern) return comparable(std::move(bound.pattern));
  return bound.is_exact ? std::nullopt : std::optional(comparable(pattern));
}

}  // namespace

unsigned engine_type(ValueType type) {
  switch (type) {
    case ValueType::text:
      return kText;
    case ValueType::whole:
      return kWhole64;
    case ValueType::real:
      return kReal64;
    case ValueType::money:
      return kNumeric;
    case ValueType::date:
      return kTimestamp;
  }
  return kText;
}

bool bind_literals(const std::vector<Binding>& bindings, const dialect::LexedStatement& lexed, SentValues& out,
                   std::span<const std::string> matches) {
  out.clear();
  for (const Binding& binding : bindings) {
    switch (binding.use) {
      case Binding::Use::now:
        out.emplace_back(clock::now().iso_text());
        continue;
      case Binding::Use::like_pattern:
      case Binding::Use::like_outline:
      case Binding::Use::like_exact:
      case Binding::Use::like_from:
      case Binding::Use::like_to:
        out.push_back(like_value(binding, lexed));
        continue;
      case Binding::Use::text_match:
        out.emplace_back(matches[binding.parameter.literal]);
        continue;
      case Binding::Use::key:
      case Binding::Use::value:
        break;
    }
    if (binding.use == Binding::Use::value && binding.type == ValueType::text) {
      if (const auto text = dialect::text_as_it_stands(lexed, binding.parameter)) {
        out.emplace_back(*text);
        continue;
      }
    }
    const Variant value = dialect::parameter_value(lexed, binding.parameter);
    if (binding.use == Binding::Use::key) {
      out.emplace_back(bound_key(value.to_text()));
      continue;
    }
    const bool is_real = value.type() == Variant::Type::real;
    if (is_real != (binding.type == ValueType::real) && binding.type != ValueType::text) return false;
    out.push_back(sent_value(value));
  }
  return true;
}

void append_copied(std::string& line, const std::vector<Variant>& row) {
  for (const Variant& value : row) {
    if (&value != row.data()) line += '\t';
    const std::optional<std::string> sent = sent_value(value);
    if (!sent) {
      line += "\\N";
      continue;
    }
    for (const char c : *sent) {
      if (c == '\\' || c == '\t' || c == '\n' || c == '\r') line += '\\';
      line += c == '\t' ? 't' : c == '\n' ? 'n' : c == '\r' ? 'r' : c;
    }
  }
  line += '\n';
}

GivenType given_type(unsigned engine_type) {
  switch (engine_type) {
    case kWhole16:
    case kWhole32:
    case kWhole64:
      return GivenType::whole;
    case kReal32:
    case kReal64:
      return GivenType::real;
    case kNumeric:
      return GivenType::decimal;
    case kTimestamp:
      return GivenType::date;
    default:
      return GivenType::text;
  }
}

}  // namespace mercato::store::postgres
