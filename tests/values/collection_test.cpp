// SPDX-License-Identifier: Apache-2.0
#include "mercato/collection.h"

#include <gtest/gtest.h>

#include "tests/values/conversions.h"

namespace mercato {
namespace {

using test::outcome_of;

TEST(CollectionItems, AreAddressedFromOne) {
  Collection collection;
  collection.Add("first");
  collection.Add("second", "Key");
  EXPECT_EQ(collection.Count(), 2);
  EXPECT_EQ(collection.Item(1), Variant("first"));
  EXPECT_EQ(collection.Item(2), Variant("second"));
  for (const std::int32_t position : {0, 3, -1})
    EXPECT_EQ(outcome_of([&] { return collection.Item(position).to_text(); }), "raises 9") << position;
}

TEST(CollectionKeys, AreFoundInAnyCaseAndKeptAsGiven) {
  Collection collection;
  collection.Add(1, "Größe");
  EXPECT_EQ(collection.Item(std::string_view("GRÖßE")), Variant(1));
  EXPECT_EQ(collection.key_at(1), "Größe");
  EXPECT_EQ(outcome_of([&] { return collection.Item(std::string_view("other")).to_text(); }), "raises 5");
}

TEST(CollectionKeys, MayBeLeftOut) {
  Collection collection;
  collection.Add(1);
  EXPECT_FALSE(collection.key_at(1).has_value());
}

TEST(CollectionKeys, ThatAreTakenRaise457AndChangeNothing) {
  Collection collection;
  collection.Add(1, "key");
  EXPECT_EQ(outcome_of([&] { return collection.Add(2, "KEY"), std::string("added"); }), "raises 457");
  EXPECT_EQ(collection.Count(), 1);
  EXPECT_EQ(collection.Item(std::string_view("key")), Variant(1));
}

TEST(CollectionItems, AreFoundByWhateverAVariantHolds) {
  Collection collection;
  collection.Add("by position", "1st");
  collection.Add("by key", "1");
  EXPECT_EQ(collection.Item(Variant(1)), Variant("by position"));
  EXPECT_EQ(collection.Item(Variant(std::int16_t{1})), Variant("by position"));
  EXPECT_EQ(collection.Item(Variant("1")), Variant("by key"));
  EXPECT_EQ(outcome_of([&] { return collection.Item(Variant(kNull)).to_text(); }), "raises 94");
}

}  // namespace
}  // namespace mercato
