// SPDX-License-Identifier: Apache-2.0
// The same work without the library. One recorded run of the library yields a tape: every statement that it handed to
// the store, in order, and every row that its recordsets wrote, with their values. Played back, the tape runs the
// counterparts that somebody would write by hand, prepared once, values bound, results read, on the bare engine.
//
// The counterparts stand in a table in by_hand.cpp. A statement without one ends the recording: nothing the library
// asks of the store can be missing from the comparison unnoticed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/store/dialect/dialect.h"
#include "platform/store/statement_observer.h"

struct sqlite3;
struct sqlite3_stmt;

namespace mercato::bench {

// A sequence of statements with their values, packed, so that reading it costs next to nothing.
struct Tape {
  struct Statement {
    std::string sql;
    std::uint64_t runs = 0;
  };
  std::vector<Statement> statements;
  std::vector<char> steps;
  std::uint64_t settings = 0;  // statements that are nothing to this engine: SET TRANSACTION ISOLATION LEVEL

  std::uint64_t runs() const;
};

// Records this thread's statements, and the row writes of all stores that are opened while it lives.
class Recording : public store::StatementObserver {
 public:
  Recording();
  ~Recording() override;
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  const Tape& tape() const { return tape_; }
  void on_statement(std::string_view text, bool by_library) override;

 private:
  static int on_open(sqlite3* engine, char** message, const void* routines);
  static int on_engine_statement(unsigned event, void* self, void* statement, void* text);
  void on_row_write(sqlite3_stmt* statement, std::string_view sql);
  std::uint16_t position_of(const std::string& sql);

  Tape tape_;
  std::unordered_map<std::string, std::uint16_t> positions_;
  store::dialect::LexedStatement lexed_;
  std::string shape_;
  bool change_announced_ = false;  // the next change that the engine runs was seen as a text already
  std::string failure_;            // of a callback of the engine, which may not throw
};

// A written tape: for handing it from the process that records to the one that plays.
void save_tape(const Tape& tape, const std::filesystem::path& path);
Tape load_tape(const std::filesystem::path& path);

enum class Committing {
  each_statement,  // every change is a transaction of its own, none is flushed
  once,            // one transaction around everything
};
// Plays the tape on the store. Throws std::runtime_error when a statement fails.
void play(const Tape& tape, const std::filesystem::path& store, Committing committing);

}  // namespace mercato::bench
