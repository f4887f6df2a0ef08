// SPDX-License-Identifier: Apache-2.0
#include "mercato/raised_error.h"

#include <gtest/gtest.h>

namespace mercato {
namespace {

template <class Work>
RaisedError raised_by(const Work& work) {
  try {
    work();
  } catch (const Raised& failure) {
    return failure.error();
  }
  return {};
}

TEST(RaisedError, WithoutASourceComesFromTheLibrary) {
  EXPECT_EQ(raised_by([] { raise(5, {}, "text"); }), (RaisedError{5, "Mercato", "text", "", 0}));
  EXPECT_EQ(raised_by([] { raise(5, "Somebody", "text"); }), (RaisedError{5, "Somebody", "text", "", 0}));
}

TEST(RaisedError, WithoutATextHasTheCustomaryOneOfItsNumber) {
  EXPECT_EQ(raised_by([] { raise(13); }), (RaisedError{13, "Mercato", "Type mismatch", "", 0}));
  EXPECT_EQ(raised_by([] { raise(-2147221497, "somewhere", ""); }),
            (RaisedError{-2147221497, "somewhere", "Application-defined or object-defined error", "", 0}));
}

TEST(RaisedError, NumbersOfDataAccessStandAboveTheirBase) {
  EXPECT_EQ(static_cast<std::uint32_t>(error_number::kNoCurrentRow), 0x800A0BCDu);
  EXPECT_EQ(static_cast<std::uint32_t>(error_number::kNoSuchField), 0x800A0CC1u);
  EXPECT_EQ(static_cast<std::uint32_t>(error_number::kObjectClosed), 0x800A0E78u);
  EXPECT_EQ(static_cast<std::uint32_t>(error_number::kObjectOpen), 0x800A0E79u);
}

}  // namespace
}  // namespace mercato
