// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/entities.h"

#include <algorithm>
#include <set>

#include "values/text.h"

namespace mercato::xml {
namespace {

struct Unexpandable {
  std::string reason;
};

// An entity's text is judged between these.
constexpr std::string_view kContentBegin = "<x>", kContentEnd = "</x>";
constexpr std::string_view kValueBegin = "<x y=\"", kValueEnd = "\"/>";

class Expander {
 public:
  Expander(const EntityTexts& texts, std::size_t max_depth, std::size_t max_bytes)
      : texts_(texts), max_depth_(max_depth), left_(max_bytes) {}

  // What the entity becomes there; raises Unexpandable.
  const std::string& replacement(std::string_view name, bool in_value) {
    auto& known = in_value ? values_ : contents_;
    if (const auto found = known.find(name); found != known.end()) return found->second;
    if (!open_.emplace(name).second) throw Unexpandable{"it refers to itself"};
    constexpr std::size_t kDeepest = 50;
    if (open_.size() > kDeepest) throw Unexpandable{"entities are nested deeper than " + std::to_string(kDeepest)};
    const std::string_view begin = in_value ? kValueBegin : kContentBegin;
    const std::string_view end = in_value ? kValueEnd : kContentEnd;
    std::string text(begin);
    // A quotation mark in an entity does not end the value that it is put into.
    text += in_value ? text::replace_all(texts_.find(name)->second, "\"", "&#34;") : texts_.find(name)->second;
    text += end;
    const Judgement judgement = judge(text, max_depth_, &texts_);
    if (!judgement.fault.empty()) throw Unexpandable{"its text is not well-formed there"};
    std::string result = expanded(text, judgement.references);
    open_.erase(open_.find(name));
    result = result.substr(begin.size(), result.size() - begin.size() - end.size());
    if (in_value) result = text::replace_all(result, "'", "&#39;");
    return known.emplace(name, std::move(result)).first->second;
  }

  std::string expanded(const std::string& text, const std::vector<Reference>& references) {
    std::string result;
    std::size_t copied = 0;
    const auto append = [&](std::string_view piece) {
      if (piece.size() > left_) throw Unexpandable{"the document would become too large"};
      left_ -= piece.size();
      result += piece;
    };
    for (const Reference& reference : references) {
      const std::string_view name =
          std::string_view(text).substr(reference.begin + 1, reference.end - reference.begin - 2);
      append(std::string_view(text).substr(copied, reference.begin - copied));
      append(replacement(name, reference.in_value));
      copied = reference.end;
    }
    append(std::string_view(text).substr(copied));
    return result;
  }

 private:
  const EntityTexts& texts_;
  std::size_t max_depth_;
  std::size_t left_;  // bytes that may still be written
  EntityTexts contents_, values_;
  std::set<std::string, std::less<>> open_;
};

}  // namespace

std::string expand_entities(std::string& text, const Judgement& judgement, std::size_t max_depth) {
  constexpr std::size_t kAlways = 8'000'000, kTimes = 10;
  Expander expander(judgement.entities, max_depth, std::max(kAlways, kTimes * text.size()));
  // Each entity is judged by itself first, so that the place of a fault is known.
  for (const Reference& reference : judgement.references) {
    const std::string name = text.substr(reference.begin + 1, reference.end - reference.begin - 2);
    try {
      expander.replacement(name, reference.in_value);
    } catch (const Unexpandable& fault) {
      return fault_at(text, reference.begin, "the entity &" + name + "; cannot be expanded: " + fault.reason);
    }
  }
  try {
    text = expander.expanded(text, judgement.references);
  } catch (const Unexpandable& fault) {
    return fault_at(text, judgement.references.front().begin, "its entities cannot be expanded: " + fault.reason);
  }
  return {};
}

}  // namespace mercato::xml
