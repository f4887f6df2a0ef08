// SPDX-License-Identifier: Apache-2.0
// A session on no store. One thread at a time.
#pragma once

#include "platform/store/driver.h"

namespace mercato::store::empty {

class EmptySession final : public Session {
 public:
  EmptySession() : Session("Empty store") {}

  const TableInfo* table(std::string_view name) override;
  bool has_index(std::string_view table, std::string_view name) override;
  void start_transaction() override {}
  void begin_run() override {}
  void flush_run() override {}
  void end_run() override {}
  bool outdated() const noexcept override { return false; }
  bool unused() const noexcept override { return false; }

 protected:
  bool end_use() noexcept override { return true; }
  Execution run(const dialect::LexedStatement& statement, ExecuteOptions options) override;
  RowIdentity insert(const TableInfo& table, std::span<const std::size_t> columns,
                     std::span<const Variant> values) override;
  void update(const TableInfo& table, RowIdentity& row, std::span<const std::size_t> columns,
              std::span<const Variant> values) override;
  void commit_transaction() override {}
  void roll_back_transaction() override {}
};

}  // namespace mercato::store::empty
