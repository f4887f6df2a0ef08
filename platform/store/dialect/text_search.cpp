// SPDX-License-Identifier: Apache-2.0
#include "platform/store/dialect/text_search.h"

#include <algorithm>
#include <utility>

#include "platform/store/dialect/like_reader.h"
#include "values/squeezed_text.h"

namespace mercato::store::dialect {
namespace {

// Finds what a condition says of one table.
class Finder {
 public:
  explicit Finder(const Source& source) : source_(source) {}

  // Nothing when it can hold for any row of the table.
  std::optional<TextCondition> find(const Expression& condition) {
    switch (condition.kind) {
      case NodeKind::brackets:
        return find(*static_cast<const Brackets&>(condition).operand);
      case NodeKind::junction:
        return find_in(static_cast<const Junction&>(condition));
      case NodeKind::like:
        return pattern_of(static_cast<const Like&>(condition));
      default:
        return std::nullopt;
    }
  }
  // Whether one of the patterns can be answered by nothing else but reading.
  bool any_without_prefix() const { return any_without_prefix_; }

 private:
  std::optional<TextCondition> find_in(const Junction& junction) {
    TextCondition found{.kind = junction.is_or ? TextCondition::Kind::any : TextCondition::Kind::all};
    for (const Expression* const operand : junction.operands) {
      if (auto part = find(*operand))
        found.parts.push_back(std::move(*part));
      else if (junction.is_or)
        return std::nullopt;
    }
    if (found.parts.empty()) return std::nullopt;
    return found;
  }

  std::optional<TextCondition> pattern_of(const Like& like) {
    const Expression& operand = *like.operand;
    if (like.negated || operand.form != Expression::Form::column || operand.source != &source_ ||
        !operand.column->in_text_index || !like.pattern->is_text_literal())
      return std::nullopt;
    any_without_prefix_ = any_without_prefix_ || !like.is_range;
    return TextCondition{.pattern = like.pattern->literal->position,
                         .escape = like.escape ? like.escape->literal->position : kNoLiteral};
  }

  const Source& source_;
  bool any_without_prefix_ = false;
};

// Whether the condition holds for rows with certain keys only.
bool names_rows(const Expression& condition, const Source& source) {
  const std::vector<std::size_t>& key = source.table->key;
  const auto is_key = [&](const Expression& operand) {
    return operand.form == Expression::Form::column && operand.source == &source && key.size() == 1 &&
           operand.column == &source.table->columns[key.front()];
  };
  switch (condition.kind) {
    case NodeKind::brackets:
      return names_rows(*static_cast<const Brackets&>(condition).operand, source);
    case NodeKind::junction: {
      const auto& junction = static_cast<const Junction&>(condition);
      if (junction.is_or) return junction.list != nullptr && is_key(*junction.list->left);
      return std::ranges::any_of(junction.operands,
                                 [&](const Expression* operand) { return names_rows(*operand, source); });
    }
    case NodeKind::comparison: {
      const auto& comparison = static_cast<const Comparison&>(condition);
      return comparison.list != nullptr && is_key(*comparison.left);
    }
    case NodeKind::in_list: {
      const auto& in = static_cast<const InList&>(condition);
      return !in.negated && is_key(*in.operands.front());
    }
    default:
      return false;
  }
}

bool can_end_early(const Select& select) {
  const Query& query = *select.query;
  return !select.grouped && query.selects.size() == 1 && query.order.empty();
}

// False when it joins otherwise, or joins something else than tables.
bool add_plain_joins(const JoinChain& chain, ReadingOrder& order) {
  for (const Join& join : chain.joins) {
    if (join.kind != JoinKind::first && join.kind != JoinKind::inner && join.kind != JoinKind::cross) return false;
    if (join.chain != nullptr ? !add_plain_joins(*join.chain, order) : join.source->query != nullptr) return false;
    if (join.source != nullptr) order.sources.push_back(join.source);
    if (join.condition != nullptr) order.conditions.push_back(join.condition);
  }
  return true;
}

// Two sources of which a column each is equal.
struct Link {
  const Source* left;
  const Source* right;
};

void add_links(const Expression& condition, std::vector<Link>& links) {
  if (condition.kind == NodeKind::brackets) return add_links(*static_cast<const Brackets&>(condition).operand, links);
  if (condition.kind == NodeKind::junction) {
    const auto& junction = static_cast<const Junction&>(condition);
    if (!junction.is_or)
      for (const Expression* const operand : junction.operands) add_links(*operand, links);
  }
  if (condition.kind != NodeKind::comparison) return;
  const auto& comparison = static_cast<const Comparison&>(condition);
  if (comparison.operation == ComparisonOperator::equal && comparison.left->source && comparison.right->source)
    links.push_back({comparison.left->source, comparison.right->source});
}

// Of parts that stand or fall together, or of which one is enough. Several patterns mostly look for the same text in
// several columns.
std::optional<TextMatch> put_together(TextMatch::Kind kind, std::vector<TextMatch> parts) {
  TextMatch whole{.kind = kind};
  for (TextMatch& part : parts)
    if (std::ranges::find(whole.parts, part) == whole.parts.end()) whole.parts.push_back(std::move(part));
  if (whole.parts.empty()) return std::nullopt;
  if (whole.parts.size() == 1) return std::move(whole.parts.front());
  return whole;
}

// The trigrams of texts, each once.
class Sought {
 public:
  template <class Trigrams>
  void add(Trigrams trigrams) {
    for (std::string_view each = trigrams.next(); !each.empty(); each = trigrams.next())
      if (TextMatch match{.trigram = std::string(each)}; std::ranges::find(all_, match) == all_.end())
        all_.push_back(std::move(match));
  }
  // Those that lie apart tell more than neighbours, and each costs a walk over all rows that have it.
  std::optional<TextMatch> match() const {
    constexpr std::size_t kMost = 5;
    const std::size_t count = std::min(all_.size(), kMost);
    std::vector<TextMatch> taken;
    for (std::size_t i = 0; i < count; ++i) taken.push_back(all_[count == 1 ? 0 : i * (all_.size() - 1) / (count - 1)]);
    return put_together(TextMatch::Kind::all, std::move(taken));
  }

 private:
  std::vector<TextMatch> all_;
};

std::optional<TextMatch> match_of_pattern(const TextCondition& like, const LexedStatement& lexed,
                                          IndexedTrigrams indexed) {
  const Variant pattern = parameter_value(lexed, {like.pattern, Conversion::text});
  char32_t escape = 0;
  if (like.escape != kNoLiteral) {
    const Variant given = parameter_value(lexed, {like.escape, Conversion::text});
    // Matching refuses it.
    if (!is_like_escape(given.text_value())) return std::nullopt;
    escape = static_cast<unsigned char>(given.text_value().front());
  }
  const std::vector<std::string> pieces = pieces_of_like(pattern.text_value(), escape);
  Sought sought;
  if (indexed == IndexedTrigrams::squeezed_and_signed)
    for (const std::string& piece : pieces) sought.add(text::SignedTrigrams(piece));
  for (const std::string& piece : pieces) sought.add(text::Trigrams(piece));
  return sought.match();
}

}  // namespace

std::vector<TextSearch> text_searches(const Select& select) {
  std::vector<TextSearch> searches;
  if (select.where == nullptr) return searches;
  for (const Source* source = select.scope.first; source != nullptr; source = source->next_in_scope) {
    if (source->table == nullptr || !source->table->has_text_index()) continue;
    Finder finder(*source);
    auto found = finder.find(*select.where);
    if (!found || !finder.any_without_prefix() || names_rows(*select.where, *source)) continue;
    const bool is_joined = select.scope.first->next_in_scope != nullptr;
    searches.push_back(
        {source, source->table->name, is_joined, std::move(*found), can_end_early(select) ? select.limit : kNoLiteral});
  }
  return searches;
}

ReadingOrder reading_from(const Source& first, const Select& select) {
  ReadingOrder order;
  for (const JoinChain* const chain : select.from)
    if (!add_plain_joins(*chain, order)) return {};
  std::vector<Link> links;
  for (const Expression* const condition : order.conditions) add_links(*condition, links);
  if (select.where != nullptr) add_links(*select.where, links);
  std::vector<const Source*> left = std::exchange(order.sources, {&first});
  std::erase(left, &first);
  const auto is_linked = [&](const Source* source) {
    return std::ranges::any_of(links, [&](const Link& link) {
      return (link.left == source && std::ranges::find(order.sources, link.right) != order.sources.end()) ||
             (link.right == source && std::ranges::find(order.sources, link.left) != order.sources.end());
    });
  };
  while (!left.empty()) {
    const auto linked = std::ranges::find_if(left, is_linked);
    const auto next = linked == left.end() ? left.begin() : linked;
    order.sources.push_back(*next);
    left.erase(next);
  }
  return order;
}

std::optional<TextMatch> match_of(const TextCondition& condition, const LexedStatement& lexed,
                                  IndexedTrigrams indexed) {
  if (condition.kind == TextCondition::Kind::like) return match_of_pattern(condition, lexed, indexed);
  const bool is_any = condition.kind == TextCondition::Kind::any;
  std::vector<TextMatch> parts;
  for (const TextCondition& part : condition.parts) {
    if (auto match = match_of(part, lexed, indexed))
      parts.push_back(std::move(*match));
    else if (is_any)
      return std::nullopt;
  }
  auto match = put_together(is_any ? TextMatch::Kind::any : TextMatch::Kind::all, std::move(parts));
  // A query that costs more than reading is none.
  constexpr std::size_t kMostParts = 20;
  if (match && match->parts.size() > kMostParts) return std::nullopt;
  return match;
}

std::optional<TextMatch> match_of(std::span<const std::string> texts) {
  Sought sought;
  for (const std::string& text : texts) sought.add(text::Trigrams(text));
  return sought.match();
}

std::string written(const TextMatch& match, const MatchWords& words) {
  if (match.kind == TextMatch::Kind::trigram) {
    std::string quoted(1, words.quote);
    for (const char byte : match.trigram) quoted.append(byte == words.quote ? 2 : 1, byte);
    return quoted + words.quote;
  }
  std::string text;
  for (const TextMatch& part : match.parts) {
    if (!text.empty()) text += match.kind == TextMatch::Kind::all ? words.all : words.any;
    const bool is_trigram = part.kind == TextMatch::Kind::trigram;
    text += is_trigram ? written(part, words) : "(" + written(part, words) + ")";
  }
  return text;
}

}  // namespace mercato::store::dialect
