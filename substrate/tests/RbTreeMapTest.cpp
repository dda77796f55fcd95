// SPDX-License-Identifier: MIT
/// The ordered map: key order, the modification count, walks that survive every change.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <vector>

#include "substrate/tests/Counted.h"
#include "substrate/vel/RbTreeMap.h"

namespace {

using TestSupport::Counted;
using Vel::makePtr;
using Vel::Ptr;
using Map = Vel::RbTreeMap<std::uint32_t, std::uint32_t>;
using Keys = std::vector<std::uint32_t>;

void fill(Map& map, Keys const& keys) {
   for (std::uint32_t const key : keys) map.insert(key, key * 10);
}

Keys keysOf(Map const& map) {
   Keys keys;
   for (auto const& node : map) keys.push_back(node.key());
   return keys;
}

TEST(RbTreeMapTest, visitsItsEntriesInAscendingOrder) {
   Map map;
   fill(map, {30, 10, 50, 20, 40});
   EXPECT_EQ(keysOf(map), (Keys{10, 20, 30, 40, 50}));
   EXPECT_EQ(map.smallest()->key(), 10U);
   EXPECT_EQ(map.smallest()->value(), 100U);
   EXPECT_EQ(map.from(25)->key(), 30U);
   EXPECT_TRUE(map.from(51) == map.end());
   EXPECT_TRUE(map.contains(map.root()->key()));
}

TEST(RbTreeMapTest, findsAKeyOrTheNextGreaterOne) {
   Map map;
   fill(map, {10, 20});
   EXPECT_EQ(map.find(10)->key(), 10U);
   EXPECT_TRUE(map.find(15) == nullptr);
   EXPECT_EQ(map.findElementOrNext(0)->key(), 10U);
   EXPECT_EQ(map.findElementOrNext(10)->key(), 10U);
   EXPECT_EQ(map.findElementOrNext(11)->key(), 20U);
   EXPECT_TRUE(map.findElementOrNext(21) == nullptr);
   EXPECT_EQ(map.findNext(9)->key(), 10U);
   EXPECT_EQ(map.findNext(10)->key(), 20U);
   EXPECT_TRUE(map.findNext(20) == nullptr);
   EXPECT_EQ(map[20], 200U);
   EXPECT_EQ(map[21], 0U);
}

TEST(RbTreeMapTest, anEmptyMapHasNoEntries) {
   Map const map;
   EXPECT_TRUE(map.empty());
   EXPECT_TRUE(map.smallest() == nullptr);
   EXPECT_TRUE(map.root() == nullptr);
   EXPECT_TRUE(map.findElementOrNext(0) == nullptr);
   EXPECT_TRUE(map.begin() == map.end());
}

TEST(RbTreeMapTest, theModificationCountChangesOnEveryInsertAndDelete) {
   Map map;
   std::uint32_t last = map.modificationCount();
   auto const changed = [&] { return std::exchange(last, map.modificationCount()) != map.modificationCount(); };
   map.insert(1, 0);
   EXPECT_TRUE(changed());
   map.insert(2, 0);
   EXPECT_TRUE(changed());
   EXPECT_TRUE(map.erase(1));
   EXPECT_TRUE(changed());
   map.clear();
   EXPECT_TRUE(changed());

   map.clear();
   EXPECT_FALSE(map.erase(1));
   EXPECT_FALSE(map.assign(1, 0));
   map.contains(1);
   map.findElementOrNext(0);
   EXPECT_FALSE(changed());
}

TEST(RbTreeMapTest, anEntryIsOverwrittenInPlace) {
   Map map;
   map.insert(1, 5);
   auto const node = map.find(1);
   EXPECT_TRUE(map.assign(1, 6));
   EXPECT_EQ(node->value(), 6U);
   EXPECT_TRUE(map.find(1) == node);
   EXPECT_FALSE(map.assign(2, 7));
   EXPECT_EQ(map.size(), 1U);
}

TEST(RbTreeMapDeathTest, aKeyCannotBeInsertedTwice) {
   Map map;
   map.insert(1, 0);
   EXPECT_DEATH(map.insert(1, 0), "assertDupKey");
}

TEST(RbTreeMapTest, aNodeOutlivesItsPlaceInTheMapAndTheMap) {
   Map::NodePtr held;
   {
      Map map;
      fill(map, {10, 20, 30});
      held = map.find(20);
      EXPECT_TRUE(map.erase(20));
      EXPECT_EQ(keysOf(map), (Keys{10, 30}));
      EXPECT_EQ(held->key(), 20U);
      auto const first = map.find(10);
      map.clear();
      EXPECT_EQ(first->value(), 100U);
   }
   EXPECT_EQ(held->value(), 200U);
}

TEST(RbTreeMapTest, theNextNodeIsFoundByKeyWhenTheMapHasChanged) {
   Map map;
   fill(map, {10, 20, 30});
   std::uint32_t version = map.modificationCount();
   auto const first = map.smallest();
   map.erase(20);
   map.insert(15, 0);
   auto const second = map.next(*first, version);
   EXPECT_EQ(second->key(), 15U);
   EXPECT_EQ(version, map.modificationCount());
   map.erase(15);  // the walk's own node
   auto const third = map.next(*second, version);
   EXPECT_EQ(third->key(), 30U);
   EXPECT_TRUE(map.next(*third, version) == nullptr);
}

TEST(RbTreeMapTest, aKeyThatLeftAndCameBackIsNotMetAgain) {
   Map map;
   fill(map, {10, 20});
   auto at = map.begin();
   map.erase(10);
   map.insert(10, 1);
   ++at;
   EXPECT_EQ(at->key(), 20U);
}

TEST(RbTreeMapTest, deletingOnTheWayContinuesWithTheNextGreaterKey) {
   Map map;
   fill(map, {10, 20, 30, 40, 50});
   Keys visited;
   for (auto at = map.begin(); at != map.end(); ++at) {
      visited.push_back(at->key());
      if (at->key() == 20) {
         map.erase(20);
         map.erase(30);
         map.insert(25, 0);
         map.insert(5, 0);
      }
   }
   EXPECT_EQ(visited, (Keys{10, 20, 25, 40, 50}));
}

TEST(RbTreeMapTest, everyVisitedEntryMayBeErased) {
   Map map;
   fill(map, {3, 1, 2});
   for (auto at = map.begin(); at != map.end(); ++at) map.erase(at->key());
   EXPECT_TRUE(map.empty());
}

TEST(RbTreeMapTest, aCopyIsIndependent) {
   Map map;
   fill(map, {10, 20});
   Map copy(map);
   EXPECT_TRUE(copy == map);
   copy.assign(10, 1);
   EXPECT_FALSE(copy == map);
   EXPECT_EQ(map[10], 100U);
   map.erase(20);
   EXPECT_EQ(keysOf(copy), (Keys{10, 20}));
   copy = map;
   EXPECT_TRUE(copy == map);
   Map const& same = copy;
   copy = same;
   EXPECT_EQ(keysOf(copy), (Keys{10}));
   EXPECT_TRUE(Map() == Map());
   EXPECT_FALSE(copy == Map());
}

TEST(RbTreeMapTest, assigningAMapCountsAsAModification) {
   Map map;
   Map other;
   fill(other, {1});
   std::uint32_t version = map.modificationCount();
   map = other;
   EXPECT_NE(map.modificationCount(), version);
   version = map.modificationCount();
   map = Map();
   EXPECT_NE(map.modificationCount(), version);
}

// Values whose destruction comes back to the map that they were in.

using ObjectMap = Vel::RbTreeMap<std::uint32_t, Ptr<Counted>>;

TEST(RbTreeMapTest, anErasedValueMayChangeTheMap) {
   ObjectMap map;
   for (std::uint32_t key = 0; key < 20; ++key) map.insert(key, nullptr);
   map.insert(100, makePtr<Counted>([&] {
                 EXPECT_FALSE(map.contains(100));
                 for (std::uint32_t key = 0; key < 20; ++key) EXPECT_TRUE(map.erase(key));
                 map.insert(100, nullptr);
              }));
   EXPECT_TRUE(map.erase(100));
   EXPECT_EQ(map.size(), 1U);
}

TEST(RbTreeMapTest, aReplacedValueFindsTheNewOneInPlace) {
   ObjectMap map;
   auto const replacement = makePtr<Counted>([] {});
   bool found = false;
   map.insert(1, makePtr<Counted>([&] {
                 found = map[1] == replacement;
                 map.erase(1);
              }));
   map.assign(1, replacement);
   EXPECT_TRUE(found);
   EXPECT_TRUE(map.empty());
}

TEST(RbTreeMapTest, clearedValuesFindTheMapEmptyAndMayInsert) {
   ObjectMap map;
   int found = 0;
   for (std::uint32_t key = 0; key < 20; ++key) {
      map.insert(key, makePtr<Counted>([&map, &found, key] {
                    found += map.contains(key) || map.erase(key) || map.smallest() != nullptr;
                 }));
   }
   map.clear();
   EXPECT_EQ(found, 0);
   map.insert(1, makePtr<Counted>([&] { map.insert(7, nullptr); }));
   map.clear();
   EXPECT_TRUE(map.contains(7));
   EXPECT_EQ(map.size(), 1U);
}

TEST(RbTreeMapTest, valuesThatDieWithTheMapFindItEmpty) {
   int found = 0;
   {
      ObjectMap map;
      for (std::uint32_t key = 0; key < 20; ++key) {
         map.insert(key, makePtr<Counted>([&map, &found, key] {
                       found += map.contains(key) || map.erase(key) || map.smallest() != nullptr;
                    }));
      }
   }
   EXPECT_EQ(found, 0);
}

/// Compares with the standard map while walks go on step by step.
class RbTreeMapModelTest : public testing::TestWithParam<std::uint32_t> {
 protected:
   void mutate() {
      std::uint32_t const key = random_() % 60;
      std::uint32_t const value = random_();
      switch (random_() % 3) {
         case 0: {
            bool const isNew = model_.emplace(key, value).second;
            EXPECT_EQ(map_.contains(key), !isNew);
            if (isNew) map_.insert(key, value);
            break;
         }
         case 1: {
            auto const found = model_.find(key);
            if (found != model_.end()) found->second = value;
            EXPECT_EQ(map_.assign(key, value), found != model_.end());
            break;
         }
         default:
            EXPECT_EQ(map_.erase(key), model_.erase(key) == 1);
      }
   }

   using ModelIterator = std::map<std::uint32_t, std::uint32_t>::const_iterator;
   void expectSame(Map::NodePtr const& node, ModelIterator expected) {
      ASSERT_EQ(node == nullptr, expected == model_.end());
      if (!node) return;
      ASSERT_EQ(node->key(), expected->first);
      ASSERT_EQ(node->value(), expected->second);
   }

   struct Walk {
      Map::NodePtr node;
      std::uint32_t version = 0;
   };
   void step(Walk& walk) {
      if (!walk.node) {
         walk = {map_.smallest(), map_.modificationCount()};
         expectSame(walk.node, model_.begin());
         return;
      }
      std::uint32_t const key = walk.node->key();
      walk.node = map_.next(*walk.node, walk.version);
      expectSame(walk.node, model_.upper_bound(key));
   }

   std::mt19937 random_{GetParam()};
   Map map_;
   std::map<std::uint32_t, std::uint32_t> model_;
};
INSTANTIATE_TEST_SUITE_P(seeds, RbTreeMapModelTest, testing::Range(1U, 9U));

TEST_P(RbTreeMapModelTest, agreesWithTheModelWhileWalksAndChangesAlternate) {
   std::vector<Walk> walks(4);
   for (int i = 0; i < 5000 && !HasFatalFailure(); ++i) {
      for (std::uint32_t changes = random_() % 3; changes > 0; --changes) mutate();
      step(walks[random_() % walks.size()]);
      std::uint32_t const key = random_() % 61;
      expectSame(map_.find(key), model_.find(key));
      expectSame(map_.findElementOrNext(key), model_.lower_bound(key));
      expectSame(map_.findNext(key), model_.upper_bound(key));
      ASSERT_EQ(map_.size(), model_.size());
   }
}

}  // namespace
