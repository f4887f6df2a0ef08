// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/text_proposals.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>

#include "platform/store/dialect/sql_printer.h"
#include "platform/store/postgres_dialect/postgres_printer.h"
#include "values/text.h"

namespace mercato::store::postgres {
namespace {

// How many rows the table has, and the most common trigrams with their share of the rows. Only the owner of the table is
// told of them.
constexpr const char* kStatistics = R"(
SELECT greatest(c.reltuples, 0), u.trigram, u.share
FROM pg_class c
LEFT JOIN (pg_index i JOIN pg_class x ON x.oid = i.indexrelid
           JOIN pg_stats s ON s.schemaname = x.relnamespace::regnamespace::text::name AND s.tablename = x.relname
                          AND s.attname = 'mercato_trigrams'
           CROSS JOIN LATERAL unnest(s.most_common_elems::text::text[], s.most_common_elem_freqs) u (trigram, share))
  ON i.indrelid = c.oid AND u.trigram IS NOT NULL
WHERE c.oid = to_regclass(quote_ident($1)))";

// What grows is looked at anew.
constexpr std::chrono::minutes kFresh{1};

double real_of(const std::optional<std::string>& digits) { return std::strtod(digits.value_or("0").c_str(), nullptr); }

}  // namespace

const TextProposals::Statistics& TextProposals::statistics_of(const std::string& table) {
  const auto now = std::chrono::steady_clock::now();
  const auto [known, is_new] = known_.try_emplace(table);
  Statistics& statistics = known->second;
  if (!is_new && now - statistics.read < kFresh) return statistics;
  statistics = {.rows = 0, .shares = {}, .read = now};
  for (const SentValues& row : server_.rows(kStatistics, {table})) {
    statistics.rows = real_of(row[0]);
    if (row[1]) statistics.shares.emplace(*row[1], real_of(row[2]));
  }
  return statistics;
}

// At most; a trigram that is not common is taken to be in no row.
double TextProposals::share(const dialect::TextMatch& match, const Statistics& statistics) {
  using Kind = dialect::TextMatch::Kind;
  if (match.kind == Kind::trigram) {
    const auto found = statistics.shares.find(match.trigram);
    return found == statistics.shares.end() ? 0 : found->second;
  }
  double result = match.kind == Kind::all ? 1 : 0;
  for (const dialect::TextMatch& part : match.parts) {
    const double its_share = share(part, statistics);
    result = match.kind == Kind::all ? std::min(result, its_share) : std::min(result + its_share, 1.0);
  }
  return result;
}

// A proposed row costs more than one that is read, in a join, where it looks for others one by one, far more. A query
// that is at its end with a few rows reads only as far as it finds them.
bool TextProposals::is_worth_it(const dialect::TextSearch& search, const dialect::TextMatch& match,
                                const dialect::LexedStatement& lexed) {
  constexpr double kAlwaysWorthIt = 1500;
  const Statistics& statistics = statistics_of(search.table);
  double most = statistics.rows / (search.is_joined ? 16 : 4);
  if (search.limit != dialect::kNoLiteral) {
    const double wanted = dialect::parameter_value(lexed, {search.limit}).to_double();
    most = std::min(most, std::max(kAlwaysWorthIt, std::sqrt(wanted * statistics.rows)));
  }
  return share(match, statistics) * statistics.rows <= most;
}

Proposals TextProposals::for_statement(std::span<const dialect::TextSearch> searches,
                                       const dialect::LexedStatement& lexed) {
  Proposals proposals;
  for (std::size_t i = 0; i < searches.size(); ++i) {
    const auto match = dialect::match_of(searches[i].condition, lexed, dialect::IndexedTrigrams::squeezed);
    proposals.matches.push_back(match ? dialect::written(*match, kMatchWords) : "");
    // The server takes no bytes that are no character. No text of its has any.
    if (match && text::is_valid(proposals.matches.back()) && is_worth_it(searches[i], *match, lexed))
      proposals.used |= dialect::UsedSearches{1} << i;
  }
  return proposals;
}

std::vector<std::int64_t> TextProposals::keys(const TableInfo& table, std::span<const std::string> words,
                                              std::size_t most) {
  const std::string match = dialect::written(dialect::match_of(words).value(), kMatchWords);
  std::vector<std::int64_t> keys;
  if (!text::is_valid(match)) return keys;
  const std::string key = dialect::quoted_name(std::ranges::find_if(table.columns, &Column::assigned)->name);
  const std::string query = "SELECT " + key + " FROM " + dialect::quoted_name(table.name) + " WHERE " +
                            before_match(table) + "$1" + std::string(kBehindMatch) + " ORDER BY " + key + " LIMIT $2";
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  for (const SentValues& row : server_.rows(query, {match, std::to_string(std::min(most, kMost))}))
    keys.push_back(std::strtoll(row[0].value_or("").c_str(), nullptr, 10));
  return keys;
}

}  // namespace mercato::store::postgres
