// SPDX-License-Identifier: Apache-2.0
// The result of a query that has no columns and no rows.
#pragma once

#include "platform/store/driver.h"

namespace mercato::store::empty {

class EmptyCursor final : public Cursor {
 public:
  EmptyCursor() : layout_(std::make_shared<const RowLayout>(std::vector<Column>())) {}

  const RowLayoutPtr& layout() const override { return layout_; }
  void read(std::vector<Variant>& row) override { row.clear(); }
  RowIdentity identity() override { return {}; }

 private:
  bool advance() override { return false; }

  RowLayoutPtr layout_;
};

}  // namespace mercato::store::empty
