// SPDX-License-Identifier: Apache-2.0
// What a server's text indexes are asked, and whether asking them is faster than reading: the server's own statistics
// tell which trigrams are in many rows. One thread at a time.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/store/dialect/text_search.h"
#include "platform/store/postgres_dialect/postgres_server.h"
#include "platform/store/row_layout.h"

namespace mercato::store::postgres {

// For one statement.
struct Proposals {
  dialect::UsedSearches used = 0;
  std::vector<std::string> matches;  // of each search, as its parameter
};

class TextProposals {
 public:
  explicit TextProposals(PostgresServer& server) : server_(server) {}

  Proposals for_statement(std::span<const dialect::TextSearch> searches, const dialect::LexedStatement& lexed);
  // What Session::propose says.
  std::vector<std::int64_t> keys(const TableInfo& table, std::span<const std::string> words, std::size_t most);
  void forget() { known_.clear(); }

 private:
  struct Statistics {
    double rows = 0;
    std::unordered_map<std::string, double> shares;  // of the rows, by trigram; those that are in many
    std::chrono::steady_clock::time_point read;
  };
  const Statistics& statistics_of(const std::string& table);
  static double share(const dialect::TextMatch& match, const Statistics& statistics);
  std::size_t worth_reading(const TableInfo& table, std::span<const std::string> words, std::size_t most);
  bool is_worth_it(const dialect::TextSearch& search, const dialect::TextMatch& match,
                   const dialect::LexedStatement& lexed);

  PostgresServer& server_;
  std::unordered_map<std::string, Statistics> known_;  // by table
};

}  // namespace mercato::store::postgres
