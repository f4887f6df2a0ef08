// SPDX-License-Identifier: Apache-2.0
// A session behind a driver of ODBC's. One thread at a time.
//
// Reading: rows come one by one; what is left of an open query is taken into memory when the connection is needed.
//
// Writing: single statements commit one by one, those of a run too, and are durable when they return. In a transaction
// the server begins at the first write; what is read before sees each what is committed, as it would inside. A first
// write that changed nothing ends the transaction again, so that no lock is kept for nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/store/driver.h"
#include "platform/store/odbc/engine.h"

namespace mercato::store::odbc {

class OdbcCursor;

class OdbcSession final : public Session {
 public:
  explicit OdbcSession(const std::string& connection_string);
  ~OdbcSession() override;

  const TableInfo* table(std::string_view name) override;
  bool has_index(std::string_view table, std::string_view name) override;
  bool has_text_indexes() override { return engine_->has_text_indexes(); }
  void start_transaction() override { in_transaction_ = true; }
  void begin_run() override {}
  void flush_run() override {}
  void end_run() override {}
  bool outdated() const noexcept override;
  bool unused() const noexcept override;
  StoreDescription describe() { return engine_->describe(); }

 protected:
  bool end_use() noexcept override;
  Execution run(const dialect::LexedStatement& statement, ExecuteOptions options) override;
  std::vector<std::int64_t> propose(const TableInfo& table, std::span<const std::string> words,
                                    std::size_t most) override;
  RowIdentity insert(const TableInfo& table, std::span<const std::size_t> columns,
                     std::span<const Variant> values) override;
  void update(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
              std::span<const Variant> values) override;
  void insert_whole(const TableInfo& table, std::span<const std::vector<Variant>> rows) override;
  void commit_transaction() override;
  void roll_back_transaction() override;

 private:
  friend class OdbcCursor;

  // What a write answers.
  struct Change {
    std::int64_t affected = 0;
    bool has_row = false;
    RowIdentity identity;  // of a row that was given back
  };

  std::unique_ptr<Cursor> open_cursor(const Command& command);
  void send(const std::string& text, const SentValues& values, std::span<const ValueType> types, const TableInfo* table,
            bool writes);
  // `returned`: as what a row of the answer is read.
  Change change(const std::string& text, const SentValues& values, std::span<const ValueType> types,
                const TableInfo* table, const IdentityColumns& returned = {});
  // After a failure: the transaction is as it was before the statement, or lost.
  void take_back(const Raised& failed);
  void leave_query();
  // Several statements that stand or fall together, whatever they are part of.
  template <class Work>
  void as_one(Work work);

  mutable Connection connection_;
  bool begun_ = false;  // the server's transaction
  std::unique_ptr<Engine> engine_;
  OdbcCursor* streaming_ = nullptr;  // whose rows the connection stands at
  bool in_transaction_ = false;      // for the session's user
  bool opened_ = false;              // it began with the statement that is under way
};

}  // namespace mercato::store::odbc
