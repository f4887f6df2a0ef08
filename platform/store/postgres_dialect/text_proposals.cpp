// SPDX-License-Identifier: Apache-2.0
#include "platform/store/postgres_dialect/text_proposals.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>

#include "platform/store/dialect/sql_printer.h"
#include "platform/store/postgres_dialect/postgres_printer.h"
#include "values/same_text.h"
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
        list += (text::changes_by_folding(byte) ? std::string("(?:") + byte + "|[^\\\\u0001-\\\\u007f])"
                                                : std::string(1, byte)) +
                "[^a-z0-9]*";
    }
    list += '"';
  }
  return list + "}";
}

std::vector<std::int64_t> numbers_of(const std::vector<SentValues>& rows) {
  std::vector<std::int64_t> numbers;
  for (const SentValues& row : rows) numbers.push_back(std::strtoll(row[0].value_or("").c_str(), nullptr, 10));
  return numbers;
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

// The least rows are read for common words, until there are enough of them; rows that the index proposes are all looked
// at, and sorted. Words that are seldom in one row are not found by the first rows: then the index is asked after all.
std::vector<std::int64_t> TextProposals::keys(const TableInfo& table, std::span<const std::string> words,
                                              std::size_t most) {
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  most = std::min(most, kMost);
  const std::string match = dialect::written(dialect::match_of(words).value(), kMatchWords);
  if (!text::is_valid(match)) return {};
  const std::string limit = std::to_string(most), from = dialect::quoted_name(table.name),
                    key = dialect::quoted_name(std::ranges::find_if(table.columns, &Column::assigned)->name),
                    in_order = " ORDER BY " + key + " LIMIT ";
  if (const std::size_t first = worth_reading(table, words, most); first > 0) {
    const auto found = numbers_of(server_.rows("SELECT " + key + " FROM (SELECT * FROM " + from + in_order +
                                                   "$3) AS rows WHERE lower((" + indexed_texts(table) +
                                                   ") COLLATE \"C\") ~ ALL ($1::text[])" + in_order + "$2",
                                               {expressions_of(words), limit, std::to_string(first)}));
    if (found.size() == most) return found;
  }
  // OFFSET has it planned apart. Else the engine goes along the keys, and makes the trigrams of each row on the way.
  return numbers_of(server_.rows("SELECT " + key + " FROM (SELECT " + key + " FROM " + from + " WHERE " +
                                     trigrams_of(indexed_texts(table)) + " @@ $1::tsquery OFFSET 0) AS rows" +
                                     in_order + "$2",
                                 {match, limit}));
}

// How many rows hold enough that have all of the words, if that is cheaper than to ask the index; else 0.
std::size_t TextProposals::worth_reading(const TableInfo& table, std::span<const std::string> words, std::size_t most) {
  constexpr double kCostOfReading = 2;  // of a row, against one that the index proposes
  const Statistics& statistics = statistics_of(table.name);
  double common = 1;
  for (const std::string& word : words)
    if (const auto match = dialect::match_of(std::span(&word, 1))) common *= share(*match, statistics);
  const double enough = 2 * static_cast<double>(most) / common;
  return kCostOfReading * enough < common * statistics.rows ? static_cast<std::size_t>(enough) : 0;
}

}  // namespace mercato::store::postgres
