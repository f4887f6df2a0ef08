// SPDX-License-Identifier: Apache-2.0
// A cursor whose rows come from the engine one by one, until its session needs the engine for something else: then the
// rest is taken into memory, and walked there. A driver says how the next row is got and read.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/store/driver.h"

namespace mercato::store {

class DrainingCursor : public Cursor {
 public:
  const RowLayoutPtr& layout() const override { return layout_; }
  void read(std::vector<Variant>& row) override;
  RowIdentity identity() override;

  // Takes the rest into memory, the current row included; the engine is free after it. Without memory the cursor is
  // ended: the row that found no room must not be missed in silence.
  void drain();
  // Ends it: the next move raises kObjectClosed.
  void detach() noexcept;

 protected:
  // `failure_source`: that of the driver, a literal.
  DrainingCursor(RowLayoutPtr layout, bool identified, std::string_view failure_source)
      : layout_(std::move(layout)), identified_(identified), failure_source_(failure_source) {}

  // Whether the engine still has rows for it.
  virtual bool runs() const noexcept = 0;
  // Moves the engine to the next row; false at the end, where it lets go of the engine. Raises the statement's failure.
  virtual bool step() = 0;
  virtual void let_go() noexcept = 0;
  // The row that the engine stands on.
  virtual void read_row(std::vector<Variant>& row) const = 0;
  virtual RowIdentity read_identity() const = 0;

  // The first step, so that what is wrong with the statement fails at once. The row waits for the first move.
  void step_ahead() { row_ahead_ = step(); }
  void close_rows() noexcept { detached_ = true; }

 private:
  struct KeptRow {
    std::vector<Variant> values;
    RowIdentity identity;
  };

  bool advance() override;
  void keep();

  RowLayoutPtr layout_;
  bool identified_;
  std::string_view failure_source_;
  bool row_ahead_ = false;  // the engine stands on a row that `next` has not delivered yet
  bool detached_ = false;
  std::vector<KeptRow> kept_;
  std::size_t kept_at_ = 0;  // one past the current row
};

}  // namespace mercato::store
