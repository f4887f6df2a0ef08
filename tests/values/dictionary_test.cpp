// SPDX-License-Identifier: Apache-2.0
#include "mercato/dictionary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/values/conversions.h"

namespace mercato {
namespace {

using test::outcome_of;

Array keys(std::initializer_list<Variant> values) { return Array(values); }

TEST(DictionaryOrder, IsThatOfInsertion) {
  Dictionary dictionary;
  dictionary.Add("z", 1);
  dictionary.Add("a", 2);
  dictionary.Set("m", 3);
  dictionary.Set("z", 4);
  EXPECT_EQ(dictionary.Keys(), keys({"z", "a", "m"}));
  EXPECT_EQ(dictionary.Items(), keys({4, 2, 3}));
}

TEST(DictionaryKeys, AreComparedExactly) {
  Dictionary dictionary;
  dictionary.Add(5, "number");
  dictionary.Add("5", "text");
  dictionary.Add("a", "small");
  dictionary.Add("A", "capital");
  dictionary.Add("a ", "blank");
  dictionary.Add(kNull, "null");
  dictionary.Add("", "empty text");
  EXPECT_EQ(dictionary.Count(), 7);
  EXPECT_EQ(dictionary.Item(5), Variant("number"));
  EXPECT_EQ(dictionary.Item("5"), Variant("text"));
  EXPECT_EQ(dictionary.Item("A"), Variant("capital"));
  EXPECT_EQ(dictionary.Item("a "), Variant("blank"));
  EXPECT_EQ(dictionary.Item(kNull), Variant("null"));
  EXPECT_EQ(dictionary.Item(""), Variant("empty text"));
  EXPECT_EQ(dictionary.Count(), 7);
}

TEST(DictionaryKeys, OfNumbersAreComparedByValueWhateverTheirWidth) {
  Dictionary dictionary;
  dictionary.Add(5, "five");
  EXPECT_TRUE(dictionary.Exists(std::int16_t{5}));
  EXPECT_TRUE(dictionary.Exists(5.0));
  EXPECT_TRUE(dictionary.Exists(Currency::from_text("5")));
  EXPECT_FALSE(dictionary.Exists(5.5));
  EXPECT_FALSE(dictionary.Exists(Date(5)));
}

TEST(DictionaryItem, OfAMissingKeyCreatesItWithEmpty) {
  Dictionary dictionary;
  EXPECT_TRUE(dictionary.Item("new").is_empty());
  EXPECT_TRUE(dictionary.Exists("new"));
  EXPECT_EQ(dictionary.Count(), 1);
}

TEST(DictionaryItem, CanBeAssigned) {
  Dictionary dictionary;
  dictionary.Add("a", 1);
  dictionary.Item("a") = 2;
  dictionary.Item("b") = 3;
  EXPECT_EQ(dictionary.Items(), keys({2, 3}));
}

TEST(DictionaryFind, NeverCreatesAKey) {
  Dictionary dictionary;
  EXPECT_EQ(dictionary.find("a"), nullptr);
  EXPECT_EQ(dictionary.find(Variant(1)), nullptr);
  EXPECT_EQ(dictionary.Count(), 0);
}

TEST(DictionaryAdd, OfAnExistingKeyRaises457AndChangesNothing) {
  Dictionary dictionary;
  dictionary.Add("a", 1);
  EXPECT_EQ(outcome_of([&] { return dictionary.Add("a", 2), std::string("added"); }), "raises 457");
  EXPECT_EQ(dictionary.Items(), keys({1}));
}

TEST(DictionaryRemove, TakesTheKeyAwayAndAddingItAgainPutsItAtTheEnd) {
  Dictionary dictionary;
  for (const char* key : {"a", "b", "c"}) dictionary.Add(key, key);
  dictionary.Remove("a");
  EXPECT_FALSE(dictionary.Exists("a"));
  EXPECT_EQ(dictionary.Count(), 2);
  dictionary.Add("a", "again");
  EXPECT_EQ(dictionary.Keys(), keys({"b", "c", "a"}));
  EXPECT_EQ(outcome_of([&] { return dictionary.Remove("x"), std::string("removed"); }), "raises 32811");
}

TEST(DictionaryKeysAndItems, AreSnapshots) {
  Dictionary dictionary;
  dictionary.Add("a", 1);
  const Array all_keys = dictionary.Keys();
  const Array all_items = dictionary.Items();
  dictionary.Add("b", 2);
  dictionary.Set("a", 9);
  EXPECT_EQ(all_keys, keys({"a"}));
  EXPECT_EQ(all_items, keys({1}));
  EXPECT_EQ(all_keys.lower, 0);
}

TEST(DictionaryOfManyKeys, FindsEachOfThemInOrder) {
  constexpr int kCount = 25000;
  Dictionary dictionary;
  for (int number = 0; number < kCount; ++number) {
    dictionary.Add(number, number * 2);
    dictionary.Add(std::to_string(number), number);
  }
  ASSERT_EQ(dictionary.Count(), 2 * kCount);
  const Array all = dictionary.Keys();
  for (int number = 0; number < kCount; ++number) {
    ASSERT_EQ(dictionary.Item(number), Variant(number * 2));
    ASSERT_EQ(*dictionary.find(std::to_string(number)), Variant(number));
    ASSERT_EQ(all.items[static_cast<std::size_t>(2 * number)], Variant(number));
  }
  EXPECT_EQ(dictionary.Count(), 2 * kCount);
}

// Entries added after a rebuild had thrown out most removed ones stayed out of the index: they could not be found.
TEST(DictionaryUsedAsAQueue, FindsWhatWasAddedAfterManyRemovals) {
  Dictionary dictionary;
  for (int number = 0; number < 200; ++number) {
    dictionary.Add(number, number);
    if (number >= 3) dictionary.Remove(number - 3);
    for (int live = std::max(0, number - 2); live <= number; ++live)
      ASSERT_TRUE(dictionary.Exists(live)) << live << " at " << number;
  }
  EXPECT_EQ(dictionary.Keys(), keys({197, 198, 199}));
}

TEST(DictionaryWithItems, HasTheSameKeysInTheSameOrder) {
  for (const int count : {3, 40}) {
    Dictionary keys;
    for (int number = 0; number < count; ++number) keys.Add("key " + std::to_string(number), {});
    keys.Remove(Variant("key 1"));
    std::vector<Variant> items;
    for (int number = 1; number < count; ++number) items.emplace_back(number);

    const DictionaryPtr filled = keys.with_items(items);
    EXPECT_EQ(filled->Keys(), keys.Keys());
    EXPECT_EQ(filled->Items().items, items);
    EXPECT_EQ(*filled->find("key 2"), Variant(2));
    EXPECT_EQ(filled->find("key 1"), nullptr);
    filled->Add("key 1", "again");
    EXPECT_EQ(filled->Count(), count);
    EXPECT_EQ(keys.Count(), count - 1);

    items.pop_back();
    EXPECT_THROW(keys.with_items(items), Raised);
  }
}

TEST(DictionaryUnderRandomChanges, AgreesWithAPlainList) {
  std::mt19937 random(20260701);
  Dictionary dictionary;
  std::vector<std::pair<int, int>> list;
  const auto in_list = [&](int key) {
    return std::find_if(list.begin(), list.end(), [key](const auto& entry) { return entry.first == key; });
  };
  for (int step = 0; step < 20000; ++step) {
    const int key = static_cast<int>(random() % 40);
    switch (random() % 3) {
      case 0:
        dictionary.Set(key, step);
        if (const auto found = in_list(key); found != list.end())
          found->second = step;
        else
          list.emplace_back(key, step);
        break;
      case 1:
        if (const auto found = in_list(key); found != list.end()) {
          dictionary.Remove(key);
          list.erase(found);
        }
        break;
      default:
        ASSERT_EQ(dictionary.Exists(key), in_list(key) != list.end()) << "step " << step;
    }
    ASSERT_EQ(dictionary.Count(), static_cast<int>(list.size()));
  }
  Array expected;
  for (const auto& entry : list) expected.items.emplace_back(entry.first);
  EXPECT_EQ(dictionary.Keys(), expected);
}

}  // namespace
}  // namespace mercato
