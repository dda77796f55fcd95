// SPDX-License-Identifier: MIT
// Objects that are made by the thousand stand side by side.
#include "substrate/vel/Pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <typeinfo>
#include <vector>

namespace {

using Vel::Pool;

constexpr std::size_t kSize = 48;

std::vector<void*> takeAll(Pool& pool, std::size_t count) {
   std::vector<void*> places(count);
   std::ranges::generate(places, [&] { return pool.take(); });
   return places;
}

TEST(PoolTest, objectsStandOneBehindTheOtherInTheOrderOfTheirMaking) {
   Pool pool(kSize);
   auto const places = takeAll(pool, 5000);
   std::size_t neighbours = 0;
   for (std::size_t n = 1; n < places.size(); ++n) {
      neighbours += static_cast<char*>(places[n]) - static_cast<char*>(places[n - 1]) == kSize ? 1 : 0;
   }
   EXPECT_GE(neighbours, 4980U) << "but for the ends of the pieces by which a pool grows";
   for (void* const place : places) pool.giveBack(place);
}

TEST(PoolTest, noTwoObjectsShareAPlaceAndEachIsAligned) {
   Pool pool(kSize);
   auto places = takeAll(pool, 3000);
   for (std::size_t n = 0; n < places.size(); n += 2) pool.giveBack(places[n]);
   for (std::size_t n = 0; n < places.size(); n += 2) places[n] = pool.take();
   EXPECT_EQ(pool.taken(), 3000U);
   EXPECT_TRUE(std::ranges::all_of(
         places, [](void* place) { return reinterpret_cast<std::uintptr_t>(place) % alignof(std::max_align_t) == 0; }));
   std::ranges::sort(places);
   for (std::size_t n = 1; n < places.size(); ++n) {
      ASSERT_GE(static_cast<char*>(places[n]) - static_cast<char*>(places[n - 1]), kSize);
   }
   for (void* const place : places) pool.giveBack(place);
}

TEST(PoolTest, aPlaceThatWasGivenBackIsTheNextToBeTaken) {
   Pool pool(kSize);
   auto const places = takeAll(pool, 10);
   pool.giveBack(places[4]);
   EXPECT_EQ(pool.take(), places[4]);
   for (void* const place : places) pool.giveBack(place);
   EXPECT_EQ(pool.taken(), 0U);
}

TEST(PoolTest, anEmptyPoolServesAgain) {
   Pool pool(kSize);
   for (int round = 0; round < 3; ++round) {
      for (void* const place : takeAll(pool, 100)) pool.giveBack(place);
      EXPECT_EQ(pool.taken(), 0U);
   }
}

TEST(PoolTest, aTypeHasOnePoolInTheProcess) {
   EXPECT_EQ(&Pool::of(typeid(PoolTest_aTypeHasOnePoolInTheProcess_Test), kSize),
             &Pool::of(typeid(PoolTest_aTypeHasOnePoolInTheProcess_Test), kSize));
   EXPECT_NE(&Pool::of(typeid(PoolTest_aTypeHasOnePoolInTheProcess_Test), kSize), &Pool::of(typeid(int), kSize));
}

}  // namespace
