// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/text_proposals.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>

#include "platform/store/dialect/sql_printer.h"
#include "platform/store/postgres_dialect/like_binding.h"
#include "platform/store/postgres_dialect/postgres_printer.h"
#include "values/squeezed_text.h"
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

std::string index_condition(const TableInfo& table) { return trigrams_of(indexed_texts(table)) + " @@ $1::tsquery"; }

// The engine would take rows that match an expression for rare, and sort all of them; of what this one chooses it takes
// half of the rows for some.
std::string reading_condition(const TableInfo& table) {
  return "CASE WHEN lower((" + indexed_texts(table) + ") COLLATE \"C\") ~ ALL ($1::text[]) THEN true END";
}

// A list of regular expressions, one for each word that has a trigram: its characters with signs between them. One that
// may be another before folding is left open.
std::string expressions_of(std::span<const std::string> words) {
  std::string list = "{";
  for (const std::string& word : words) {
    if (text::Trigrams(word).next().empty()) continue;
    list += list.size() == 1 ? "\"" : ",\"";
    for (const char byte : text::squeezed(word)) {
      if (static_cast<unsigned char>(byte) >= 0x80)
        list += ".*";
      else
        list +=
            (changes_by_folding(byte) ? std::string("(?:") + byte + "|[^\\\\u0001-\\\\u007f])" : std::string(1, byte)) +
            "[^a-z0-9]*";
    }
    list += '"';
  }
  return list + "}";
}

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

// So many rows are read until `most` of them hold common words; rows that the index proposes are all looked at, and
// sorted. A row that is read costs some three times as much.
std::vector<std::int64_t> TextProposals::keys(const TableInfo& table, std::span<const std::string> words,
                                              std::size_t most) {
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  constexpr double kCostOfReading = 3;
  most = std::min(most, kMost);
  const dialect::TextMatch match = dialect::match_of(words).value();
  const Statistics& statistics = statistics_of(table.name);
  const double common = share(match, statistics);
  const bool reads = common * common * statistics.rows > kCostOfReading * static_cast<double>(most);
  const std::string looked_for = reads ? expressions_of(words) : dialect::written(match, kMatchWords);
  std::vector<std::int64_t> keys;
  if (!text::is_valid(looked_for)) return keys;
  const std::string key = dialect::quoted_name(std::ranges::find_if(table.columns, &Column::assigned)->name);
  const std::string query = "SELECT " + key + " FROM " + dialect::quoted_name(table.name) + " WHERE " +
                            (reads ? reading_condition(table) : index_condition(table)) + " ORDER BY " + key +
                            " LIMIT $2";
  for (const SentValues& row : server_.rows(query, {looked_for, std::to_string(most)}))
    keys.push_back(std::strtoll(row[0].value_or("").c_str(), nullptr, 10));
  return keys;
}

}  // namespace mercato::store::postgres
