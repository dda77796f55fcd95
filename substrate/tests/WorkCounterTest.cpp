// SPDX-License-Identifier: MIT
/// Counts of work, and of the objects that there are.
#include "substrate/vel/WorkCounter.h"

#include <gtest/gtest.h>

#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/PtrInterface.h"
#include "substrate/vel/RbTreeMap.h"

namespace {

using Vel::WorkCounter;

struct Object : Vel::PtrInterface {};

/// Entries visited by a call.
template <class Call>
std::uint64_t visitedBy(Call&& call) {
   std::uint64_t const before = Vel::collectionNodesVisited.value();
   call();
   return Vel::collectionNodesVisited.value() - before;
}

template <class Map>
void walk(Map const& map) {
   for (auto const& entry : map) (void)entry;
}

TEST(WorkCounterTest, itIsReadByNameForAsLongAsItLives) {
   {
      WorkCounter counter("bridges crossed");
      EXPECT_EQ(WorkCounter::readings().at("bridges crossed"), 0U);
      ++counter;
      counter += 3;
      EXPECT_EQ(counter.value(), 4U);
      EXPECT_EQ(WorkCounter::readings().at("bridges crossed"), 4U);
   }
   EXPECT_FALSE(WorkCounter::readings().contains("bridges crossed"));
}

TEST(WorkCounterTest, countersOfOneNameAreAddedUp) {
   WorkCounter one("bridges crossed");
   {
      WorkCounter other("bridges crossed");
      ++one;
      ++other;
      EXPECT_EQ(WorkCounter::readings().at("bridges crossed"), 2U);
   }
   EXPECT_EQ(WorkCounter::readings().at("bridges crossed"), 1U);
}

TEST(WorkCounterTest, objectsAreCountedWhenTheyComeAndWhenTheyGo) {
   std::uint64_t const made = Vel::objectsMade.value();
   std::uint64_t const live = Vel::PtrInterface::objectsLive();
   {
      auto const one = Vel::makePtr<Object>();
      auto const other = Vel::makePtr<Object>();
      EXPECT_EQ(Vel::objectsMade.value() - made, 2U);
      EXPECT_EQ(Vel::PtrInterface::objectsLive() - live, 2U);
   }
   EXPECT_EQ(Vel::objectsMade.value() - made, 2U);
   EXPECT_EQ(Vel::PtrInterface::objectsLive(), live);
}

TEST(WorkCounterTest, aWalkVisitsEveryEntryAndALookUpNone) {
   Vel::HashMap2018<unsigned, unsigned> map;
   Vel::RbTreeMap<unsigned, unsigned> tree;
   for (unsigned key = 0; key < 100; ++key) {
      map.insertOrAssign(key, key);
      tree.insert(key, key);
   }
   EXPECT_NEAR(static_cast<double>(visitedBy([&] { walk(map); })), 100, 3);
   EXPECT_NEAR(static_cast<double>(visitedBy([&] { walk(tree); })), 100, 3);
   EXPECT_EQ(visitedBy([&] { EXPECT_EQ(map[50], 50U); }), 0U);
   EXPECT_EQ(visitedBy([&] { EXPECT_EQ(tree[50], 50U); }), 0U);
}

TEST(WorkCounterTest, anEntryThatHasGoneIsPassedOverOnceAtMost) {
   Vel::HashMap2018<unsigned, unsigned> map;
   EXPECT_LT(visitedBy([&] {
                for (unsigned key = 0; key < 10'000; ++key) {
                   map.insertOrAssign(key, key);
                   if (key >= 100) map.erase(key - 100);
                }
             }),
             5 * 10'000U);
}

}  // namespace
