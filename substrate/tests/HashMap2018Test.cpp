// SPDX-License-Identifier: MIT
/// The hash map of the published collections: look-up, insertion order, and iteration that survives every change.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <vector>

#include "substrate/tests/Counted.h"
#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/String.h"
#include "substrate/vel/WorkCounter.h"

namespace {

using TestSupport::Counted;
using Vel::makePtr;
using Vel::Ptr;
using Map = Vel::HashMap2018<std::uint32_t, std::uint32_t>;

std::vector<std::uint32_t> keysOf(Map const& map) {
   std::vector<std::uint32_t> keys;
   for (auto const& entry : map) keys.push_back(entry.key);
   return keys;
}

std::vector<std::uint32_t> upTo(std::uint32_t size) {
   std::vector<std::uint32_t> keys(size);
   std::ranges::generate(keys, [n = 0U]() mutable { return n++; });
   return keys;
}

TEST(HashMap2018Test, insertsOverwritesFindsAndErases) {
   Map map;
   EXPECT_TRUE(map.empty());
   EXPECT_TRUE(map.insertOrAssign(7, 70));
   EXPECT_FALSE(map.insertOrAssign(7, 71));
   EXPECT_EQ(map.size(), 1U);
   EXPECT_EQ(*map.find(7), 71U);
   EXPECT_EQ(map.find(8), nullptr);
   EXPECT_EQ(map[7], 71U);
   EXPECT_EQ(map[8], 0U);
   EXPECT_EQ(map.size(), 1U);  // looking up inserts nothing
   EXPECT_FALSE(map.erase(8));
   EXPECT_TRUE(map.erase(7));
   EXPECT_FALSE(map.erase(7));
   EXPECT_FALSE(map.contains(7));
   EXPECT_TRUE(map.empty());
}

TEST(HashMap2018Test, anEmptyMapHasNothingToVisit) {
   Map const map;
   EXPECT_TRUE(map.begin() == map.end());
   EXPECT_TRUE(map.after(0) == map.end());
   EXPECT_TRUE(map.after(99) == map.end());
}

TEST(HashMap2018Test, keepsInsertionOrderAlsoWhenAValueIsReplaced) {
   Map map;
   for (std::uint32_t const key : {5U, 3U, 9U, 1U}) map.insertOrAssign(key, 0);
   map.insertOrAssign(3, 1);
   EXPECT_EQ(keysOf(map), (std::vector<std::uint32_t>{5, 3, 9, 1}));
   map.erase(5);
   map.insertOrAssign(5, 2);
   EXPECT_EQ(keysOf(map), (std::vector<std::uint32_t>{3, 9, 1, 5}));
}

// A map of up to 8 entries is searched in line, a larger one through an index.
class HashMap2018SizeTest : public testing::TestWithParam<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(aroundTheIndex, HashMap2018SizeTest,
                         testing::Values(1, 7, 8, 9, 10, 17, 18, 1000, 1025, 4095, 4096, 4097, 9000));

TEST_P(HashMap2018SizeTest, growsAndShrinksWithEveryKeyFoundOnTheWay) {
   std::uint32_t const size = GetParam();
   Map map;
   for (int round = 0; round < 3; ++round) {
      for (std::uint32_t key = 0; key < size; ++key) {
         ASSERT_TRUE(map.insertOrAssign(key, key * 2));
         ASSERT_FALSE(map.contains(key + 1));
         ASSERT_EQ(map.size(), key + 1);
      }
      for (std::uint32_t key = 0; key < size; ++key) ASSERT_EQ(map[key], key * 2);
      ASSERT_EQ(keysOf(map), upTo(size));
      for (std::uint32_t key = 0; key < size; ++key) {
         ASSERT_TRUE(map.erase(key));
         ASSERT_FALSE(map.contains(key));
         ASSERT_EQ(map.size(), size - key - 1);
         for (std::uint32_t left = key + 1; left < std::min(size, key + 12); ++left) ASSERT_TRUE(map.contains(left));
      }
      ASSERT_TRUE(map.begin() == map.end());
   }
}

TEST_P(HashMap2018SizeTest, entriesComeAndGoAtTheSameSize) {
   Map map;
   for (std::uint32_t key = 0; key < GetParam(); ++key) map.insertOrAssign(key, key);
   for (std::uint32_t key = GetParam(); key < GetParam() + 100; ++key) {
      ASSERT_TRUE(map.erase(key - GetParam()));
      ASSERT_TRUE(map.insertOrAssign(key, key));
      ASSERT_EQ(map.size(), GetParam());
      ASSERT_EQ(map[key], key);
      ASSERT_EQ(map.begin()->key, key - GetParam() + 1);
      ASSERT_FALSE(map.contains(key - GetParam()));
   }
}

TEST_P(HashMap2018SizeTest, isEmptyAndUsableAfterClear) {
   Map map;
   for (std::uint32_t key = 0; key < GetParam(); ++key) map.insertOrAssign(key, 1);
   auto bookmark = map.begin().bookmark();
   map.clear();
   EXPECT_EQ(map.size(), 0U);
   EXPECT_FALSE(map.contains(0));
   EXPECT_TRUE(map.after(bookmark) == map.end());
   map.insertOrAssign(4, 2);
   EXPECT_EQ(map[4], 2U);
   EXPECT_EQ(map.after(bookmark)->key, 4U);  // numbers are never used again
}

TEST_P(HashMap2018SizeTest, everyVisitedEntryMayBeErased) {
   Map map;
   for (std::uint32_t key = 0; key < GetParam(); ++key) map.insertOrAssign(key, 0);
   std::vector<std::uint32_t> visited;
   for (auto at = map.begin(); at != map.end(); ++at) {
      visited.push_back(at->key);
      map.erase(visited.back());
   }
   EXPECT_EQ(visited, upTo(GetParam()));
   EXPECT_TRUE(map.empty());
}

TEST_P(HashMap2018SizeTest, erasingAllOthersEndsTheVisit) {
   Map map;
   for (std::uint32_t key = 0; key < GetParam(); ++key) map.insertOrAssign(key, 0);
   int visited = 0;
   for (auto at = map.begin(); at != map.end(); ++at) {
      ++visited;
      for (std::uint32_t key = 1; key < GetParam(); ++key) map.erase(key);
   }
   EXPECT_EQ(visited, 1);
}

TEST_P(HashMap2018SizeTest, entriesInsertedOnTheWayAreVisitedOnce) {
   Map map;
   for (std::uint32_t key = 0; key < GetParam(); ++key) map.insertOrAssign(key, 0);
   std::vector<std::uint32_t> visited;
   for (auto at = map.begin(); at != map.end(); ++at) {
      visited.push_back(at->key);
      if (at->key < GetParam()) map.insertOrAssign(at->key + GetParam(), 0);
   }
   EXPECT_EQ(visited, upTo(2 * GetParam()));
}

TEST(HashMap2018Test, aScanGoesOnAtItsBookmark) {
   Map map;
   for (std::uint32_t key = 0; key < 20; ++key) map.insertOrAssign(key, 0);
   Map::Bookmark bookmark = 0;
   std::vector<std::uint32_t> visited;
   while (true) {
      auto const at = map.after(bookmark);
      if (at == map.end()) break;
      visited.push_back(at->key);
      bookmark = at.bookmark();
      map.erase(at->key);  // also when the entry of the bookmark has gone
   }
   EXPECT_EQ(visited, upTo(20));
}

TEST(HashMap2018Test, behindTheLastBookmarkStandsOnlyWhatComesLater) {
   Map map;
   EXPECT_TRUE(map.after(map.lastBookmark()) == map.end());
   map.insertOrAssign(1, 0);
   auto const last = map.lastBookmark();
   EXPECT_EQ(map.begin().bookmark(), last);
   EXPECT_TRUE(map.after(last) == map.end());
   map.erase(1);
   map.insertOrAssign(1, 0);
   EXPECT_EQ(map.after(last)->key, 1U);
}

TEST(HashMap2018Test, everyHashMayCollide) {
   struct Key {
      std::uint32_t number = 0;
      bool operator==(Key const&) const = default;
      std::uint32_t hash(std::uint32_t /*seed*/) const { return 1; }
   };
   Vel::HashMap2018<Key, std::uint32_t> map;
   for (std::uint32_t n = 0; n < 300; ++n) map.insertOrAssign(Key{n}, n);
   for (std::uint32_t n = 0; n < 300; n += 2) map.erase(Key{n});
   for (std::uint32_t n = 0; n < 300; ++n) {
      ASSERT_EQ(map.contains(Key{n}), n % 2 == 1);
      ASSERT_EQ(map[Key{n}], n % 2 == 1 ? n : 0);
   }
}

TEST(HashMap2018Test, anEntryIsErasedByAReferenceToItsOwnKey) {
   Vel::HashMap2018<Vel::String, int> map;
   for (int n = 0; n < 20; ++n) map.insertOrAssign(Vel::String(std::to_string(n)), n);
   while (!map.empty()) EXPECT_TRUE(map.erase(map.begin()->key));
}

TEST(HashMap2018Test, aHundredThousandEntriesAreDrainedFromTheFront) {
   constexpr std::uint32_t kSize = 100'000;
   Map map;
   for (std::uint32_t key = 0; key < kSize; ++key) map.insertOrAssign(key, key);
   for (std::uint32_t key = 0; key < kSize; ++key) {
      ASSERT_EQ(map.begin()->key, key);
      map.erase(key);
   }
   EXPECT_TRUE(map.empty());
}

/// The most entries that one of `changes` calls of `change(n)` has visited.
template <class F>
std::uint64_t mostVisited(std::uint32_t changes, F&& change) {
   std::uint64_t most = 0;
   for (std::uint32_t n = 0; n < changes; ++n) {
      auto const before = Vel::collectionNodesVisited.value();
      change(n);
      most = std::max(most, Vel::collectionNodesVisited.value() - before);
   }
   return most;
}

TEST(HashMap2018Test, noErasureOutOfManyVisitsMoreThanAPieceOfThem) {
   constexpr std::uint32_t kSize = 100'000;
   Map map;
   for (std::uint32_t key = 0; key < kSize; ++key) map.insertOrAssign(key, key);
   std::vector<std::uint32_t> keys = upTo(kSize);
   std::ranges::shuffle(keys, std::mt19937(1));
   EXPECT_LE(mostVisited(kSize - 1, [&](std::uint32_t n) { map.erase(keys[n]); }), 4096U);
   EXPECT_EQ(keysOf(map), std::vector<std::uint32_t>{keys.back()});
}

TEST(HashMap2018Test, visitsAndBookmarksGoOnWhileEntriesMoveUp) {
   constexpr std::uint32_t kSize = 8000;
   for (std::uint32_t const stays : {2U, 3U, 7U, 100U}) {
      Map map;
      for (std::uint32_t key = 0; key < kSize; ++key) map.insertOrAssign(key, key);
      std::vector<Map::Iterator> visits;
      for (auto at = map.begin(); at != map.end(); ++at) visits.push_back(at);
      std::uint32_t inserted = kSize;
      for (std::uint32_t key = 0; key < kSize; ++key) {
         if (key % stays != 0) map.erase(key);
         if (key % 50 == 0) map.insertOrAssign(inserted++, 0);
         if (key % 97 != 0) continue;
         // Of every entry, whether it is still there or not, the next one is found.
         for (std::uint32_t begun = 0; begun < kSize; begun += 331) {
            std::uint32_t next = begun + 1;
            while (next <= key && next % stays != 0) ++next;
            auto visit = visits[begun];
            if (map.contains(begun)) {
               ASSERT_EQ(visit->key, begun);
            }
            ASSERT_EQ(map.after(visit.bookmark())->key, next);
            ASSERT_EQ((++visit)->key, next);
         }
      }
      std::vector<std::uint32_t> expected;
      for (std::uint32_t key = 0; key < inserted; ++key) {
         if (key % stays == 0 || key >= kSize) expected.push_back(key);
      }
      ASSERT_EQ(keysOf(map), expected);
      for (std::uint32_t key = 0; key < inserted; ++key) ASSERT_EQ(map.contains(key), key % stays == 0 || key >= kSize);
   }
}

// Values whose destruction comes back to the map that they were in.

using ObjectMap = Vel::HashMap2018<std::uint32_t, Ptr<Counted>>;

class HashMap2018ReentryTest : public testing::TestWithParam<std::uint32_t> {
 protected:
   HashMap2018ReentryTest() {
      for (std::uint32_t key = 0; key < GetParam(); ++key) map_.insertOrAssign(key, makePtr<Counted>([] {}));
   }
   ObjectMap map_;
};
INSTANTIATE_TEST_SUITE_P(aroundTheIndex, HashMap2018ReentryTest, testing::Values(0, 7, 8, 40));

TEST_P(HashMap2018ReentryTest, anErasedValueMayInsertAndEraseOthers) {
   bool ran = false;
   map_.insertOrAssign(100, makePtr<Counted>([&] {
                          ran = true;
                          EXPECT_FALSE(map_.contains(100));
                          for (std::uint32_t key = 0; key < GetParam(); key += 2) EXPECT_TRUE(map_.erase(key));
                          for (std::uint32_t key = 200; key < 230; ++key) map_.insertOrAssign(key, nullptr);
                       }));
   EXPECT_TRUE(map_.erase(100));
   EXPECT_TRUE(ran);
   EXPECT_EQ(map_.size(), GetParam() / 2 + 30);
   for (std::uint32_t key = 1; key < GetParam(); key += 2) EXPECT_TRUE(map_[key]);
}

TEST_P(HashMap2018ReentryTest, aReplacedValueFindsTheNewOneInPlace) {
   auto const replacement = makePtr<Counted>([] {});
   bool found = false;
   map_.insertOrAssign(100, makePtr<Counted>([&] {
                          found = map_[100] == replacement;
                          map_.erase(100);
                       }));
   EXPECT_FALSE(map_.insertOrAssign(100, replacement));
   EXPECT_TRUE(found);
   EXPECT_FALSE(map_.contains(100));
   EXPECT_EQ(map_.size(), GetParam());
}

TEST_P(HashMap2018ReentryTest, aClearedValueMayInsert) {
   map_.insertOrAssign(100, makePtr<Counted>([&] {
                          EXPECT_TRUE(map_.empty());
                          map_.insertOrAssign(300, nullptr);
                       }));
   map_.clear();
   EXPECT_EQ(map_.size(), 1U);
   EXPECT_TRUE(map_.contains(300));
}

TEST_P(HashMap2018ReentryTest, valuesThatDieWithTheMapFindItEmpty) {
   int found = 0;
   {
      ObjectMap map;
      for (std::uint32_t key = 0; key <= GetParam(); ++key) {
         map.insertOrAssign(key, makePtr<Counted>([&map, &found, key] {
                               found += map.contains(key) || map.erase(key) || map.begin() != map.end();
                            }));
      }
   }
   EXPECT_EQ(found, 0);
}

/// The naive model: entries in order of insertion, each with the number of its insertion.
class Model {
 public:
   struct Entry {
      std::uint64_t number;
      std::uint32_t key;
      std::uint32_t value;
   };

   Entry const* find(std::uint32_t key) const {
      auto const found = std::ranges::find(entries_, key, &Entry::key);
      return found == entries_.end() ? nullptr : &*found;
   }
   void insertOrAssign(std::uint32_t key, std::uint32_t value) {
      auto const found = std::ranges::find(entries_, key, &Entry::key);
      if (found != entries_.end()) {
         found->value = value;
      } else {
         entries_.push_back({++last_, key, value});
      }
   }
   void erase(std::uint32_t key) {
      std::erase_if(entries_, [key](Entry const& entry) { return entry.key == key; });
   }
   void clear() { entries_.clear(); }
   /// The first entry that was inserted behind that number.
   Entry const* after(std::uint64_t number) const {
      auto const found = std::ranges::upper_bound(entries_, number, {}, &Entry::number);
      return found == entries_.end() ? nullptr : &*found;
   }
   std::vector<Entry> const& entries() const { return entries_; }

 private:
   std::vector<Entry> entries_;
   std::uint64_t last_ = 0;
};

/// A visit that goes on step by step while the map changes.
struct Walk {
   std::optional<Map::Iterator> at;
   std::uint64_t number = 0;  // of the entry visited last, in the model
};

class HashMap2018ModelTest : public testing::TestWithParam<std::uint32_t> {
 protected:
   void mutate() {
      // The share of insertions swings, so that the map grows and shrinks through all its forms.
      std::uint32_t const phase = (step_ / 200) % 4;
      std::uint32_t const key = random_() % keys_;
      std::uint32_t const action = random_() % 100;
      if (action == 0 && random_() % 10 == 0) {
         map_.clear();
         model_.clear();
      } else if (action < 20 + 20 * phase) {
         std::uint32_t const value = random_();
         EXPECT_EQ(map_.insertOrAssign(key, value), model_.find(key) == nullptr);
         model_.insertOrAssign(key, value);
      } else {
         EXPECT_EQ(map_.erase(key), model_.find(key) != nullptr);
         model_.erase(key);
      }
   }

   void step(Walk& walk) {
      if (walk.at && *walk.at == map_.end()) walk = Walk();
      if (!walk.at) {
         walk.at = map_.begin();
      } else {
         ++*walk.at;
      }
      expectAt(*walk.at, model_.after(walk.number));
      if (*walk.at != map_.end()) walk.number = model_.after(walk.number)->number;
   }

   /// A scan that keeps nothing but its bookmark.
   void resume() {
      auto const at = map_.after(bookmark_);
      auto const* const expected = model_.after(bookmarkNumber_);
      expectAt(at, expected);
      bookmark_ = expected ? at.bookmark() : 0;
      bookmarkNumber_ = expected ? expected->number : 0;
   }

   void expectAt(Map::Iterator const& at, Model::Entry const* expected) {
      ASSERT_EQ(at == map_.end(), expected == nullptr) << "step " << step_;
      if (!expected) return;
      ASSERT_EQ(at->key, expected->key) << "step " << step_;
      ASSERT_EQ(at->value, expected->value) << "step " << step_;
   }

   void compare() {
      ASSERT_EQ(map_.size(), model_.entries().size());
      auto at = map_.begin();
      for (auto const& entry : model_.entries()) {
         expectAt(at, &entry);
         ++at;
      }
      ASSERT_TRUE(at == map_.end());
      for (std::uint32_t key = 0; key < keys_; ++key) {
         auto const* const expected = model_.find(key);
         auto const* const value = map_.find(key);
         ASSERT_EQ(value != nullptr, expected != nullptr);
         ASSERT_EQ(map_[key], expected ? expected->value : 0);
      }
   }

   std::mt19937 random_{GetParam()};
   std::uint32_t keys_ = GetParam() % 2 == 0 ? 12 : 150;
   std::uint32_t step_ = 0;
   Map map_;
   Model model_;
   Map::Bookmark bookmark_ = 0;
   std::uint64_t bookmarkNumber_ = 0;
};
INSTANTIATE_TEST_SUITE_P(seeds, HashMap2018ModelTest, testing::Range(1U, 13U));

TEST_P(HashMap2018ModelTest, agreesWithTheModelWhileVisitsAndChangesAlternate) {
   std::vector<Walk> walks(4);
   for (; step_ < 8000 && !HasFatalFailure(); ++step_) {
      for (std::uint32_t changes = random_() % 4; changes > 0; --changes) mutate();
      step(walks[random_() % walks.size()]);
      if (random_() % 3 == 0) resume();
      if (step_ % 50 == 0) compare();
   }
}

TEST(HashMap2018Test, aMapThatNobodyNeedsAnyMoreIsDestroyedInSteps) {
   for (std::uint32_t const size : {0U, 1U, 8U, 1024U, 1025U, 10000U}) {
      Map map;
      for (std::uint32_t key = 0; key < size; ++key) map.insertOrAssign(key, key);
      std::uint32_t steps = 1;
      while (!map.destroySome()) ++steps;
      EXPECT_EQ(steps, std::max(1U, (size + 1023) / 1024)) << size;
      EXPECT_TRUE(map.empty());
   }
}

}  // namespace
