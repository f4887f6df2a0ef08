// SPDX-License-Identifier: Apache-2.0
// What a piece of work sent to a PostgreSQL server: its statements with their values, in order, without savepoints,
// settings and questions about the tables.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace mercato::bench {

struct ServerTape {
  struct Statement {
    std::string text;
    std::vector<std::uint32_t> types;  // of its parameters, as the engine numbers types; 0 for what it takes them for
    std::uint64_t runs = 0;
  };
  struct Step {
    std::uint32_t statement;
    std::uint32_t first_value;
    std::uint32_t values;
    std::uint32_t failed;  // the server refused it
  };
  static constexpr std::uint32_t kNull = ~0U;

  std::vector<Statement> statements;
  std::vector<Step> steps;
  std::vector<std::uint32_t> values;  // where each begins in `texts`, or kNull
  std::string texts;                  // each with a closing zero

  std::uint64_t round_trips = 0;  // how often something was sent after an answer had come
  std::uint64_t batches = 0;      // requests for an answer
  std::uint64_t savepoints = 0;   // set or released
  std::uint64_t settings = 0;
  std::uint64_t table_questions = 0;

  std::uint64_t runs() const;
};

void save_server_tape(const ServerTape& tape, const std::filesystem::path& path);
ServerTape load_server_tape(const std::filesystem::path& path);

}  // namespace mercato::bench
