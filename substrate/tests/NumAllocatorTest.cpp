// SPDX-License-Identifier: MIT
/// Handing out numbers of a range.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <set>

#include "substrate/orb/NumAllocator.h"

namespace {

using Orb::NumAllocator;
using Vel::makePtr;
using Vel::Ptr;

Ptr<NumAllocator> allocator(std::uint64_t first, std::uint64_t last) {
   return NumAllocator::NumAllocatorIs(makePtr<Orb::NumAllocatorConfig>(Orb::Range{first, last}),
                                       makePtr<Orb::NumAllocatorStatus>(), Orb::activityManager().clock());
}

TEST(NumAllocatorTest, goesUpwardsFromTheBottomOfItsRange) {
   auto const numbers = allocator(5, 100);
   EXPECT_EQ(numbers->getNumber(), 5U);
   EXPECT_EQ(numbers->getNumber(), 6U);
   EXPECT_EQ(numbers->getNumber(), 7U);
   EXPECT_EQ(numbers->status().inUse(), 3U);
   EXPECT_TRUE(numbers->status().isUsed(6));
   EXPECT_FALSE(numbers->status().isUsed(8));
   EXPECT_FALSE(numbers->status().isUsed(4));
}

TEST(NumAllocatorTest, anExhaustedRangeGivesNoNumberUntilOneIsReleased) {
   auto const numbers = allocator(1, 3);
   for (int i = 0; i < 3; ++i) EXPECT_NE(numbers->getNumber(), 0U);
   EXPECT_EQ(numbers->getNumber(), 0U);
   EXPECT_EQ(numbers->getNumber(), 0U);
   EXPECT_EQ(numbers->status().inUse(), 3U);
   EXPECT_TRUE(numbers->releaseNumber(2));
   EXPECT_EQ(numbers->getNumber(), 2U);
   EXPECT_EQ(numbers->getNumber(), 0U);
}

TEST(NumAllocatorTest, aRangeOfOneNumberHandsItOutAgainAndAgain) {
   auto const numbers = allocator(9, 9);
   for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(numbers->getNumber(), 9U);
      EXPECT_EQ(numbers->getNumber(), 0U);
      EXPECT_TRUE(numbers->releaseNumber(9));
   }
}

TEST(NumAllocatorTest, aReleasedNumberRestsWhileOthersAreFree) {
   auto const numbers = allocator(1, 4);
   for (int i = 0; i < 4; ++i) numbers->getNumber();
   numbers->releaseNumber(1);
   numbers->releaseNumber(2);  // released last
   EXPECT_EQ(numbers->getNumber(), 1U);
   EXPECT_EQ(numbers->getNumber(), 2U);
   numbers->releaseNumber(4);
   numbers->releaseNumber(3);
   EXPECT_EQ(numbers->getNumber(), 4U);
}

TEST(NumAllocatorTest, onlyAUsedNumberCanBeReleased) {
   auto const numbers = allocator(1, 4);
   EXPECT_FALSE(numbers->releaseNumber(1));
   numbers->getNumber();
   EXPECT_FALSE(numbers->releaseNumber(0));
   EXPECT_FALSE(numbers->releaseNumber(5));
   EXPECT_FALSE(numbers->releaseNumber(2));
   EXPECT_TRUE(numbers->releaseNumber(1));
   EXPECT_FALSE(numbers->releaseNumber(1));
   EXPECT_EQ(numbers->status().inUse(), 0U);
}

TEST(NumAllocatorTest, theLargestNumbersAreHandedOutLikeOthers) {
   constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
   auto const numbers = allocator(kMax - 2, kMax);
   std::set<std::uint64_t> given;
   for (int i = 0; i < 3; ++i) given.insert(numbers->getNumber());
   EXPECT_EQ(given, (std::set<std::uint64_t>{kMax - 2, kMax - 1, kMax}));
   EXPECT_EQ(numbers->getNumber(), 0U);
   EXPECT_TRUE(numbers->releaseNumber(kMax - 1));
   EXPECT_EQ(numbers->getNumber(), kMax - 1);
   EXPECT_TRUE(numbers->releaseNumber(kMax));
   EXPECT_EQ(numbers->getNumber(), kMax);
}

// What an allocator keeps follows the numbers in use: a range of four thousand million is as cheap as a small one.
TEST(NumAllocatorTest, aHugeRangeIsUsedLikeASmallOne) {
   auto const numbers = allocator(1, std::numeric_limits<std::uint32_t>::max());
   for (std::uint64_t n = 1; n <= 70'000; ++n) ASSERT_EQ(numbers->getNumber(), n);
   EXPECT_EQ(numbers->status().inUse(), 70'000U);
   for (std::uint64_t n = 70'000; n >= 1; --n) ASSERT_TRUE(numbers->releaseNumber(n));
   EXPECT_EQ(numbers->status().inUse(), 0U);
}

TEST(NumAllocatorTest, aStatusOutlivesItsAllocator) {
   auto const config = makePtr<Orb::NumAllocatorConfig>(Orb::Range{1, 10});
   auto const status = makePtr<Orb::NumAllocatorStatus>();
   NumAllocator::NumAllocatorIs(config, status, Orb::activityManager().clock())->getNumber();
   auto const next = NumAllocator::NumAllocatorIs(config, status, Orb::activityManager().clock());
   EXPECT_EQ(next->getNumber(), 2U);
   EXPECT_TRUE(next->releaseNumber(1));
}

TEST(NumAllocatorDeathTest, aRangeIsNotEmptyAndDoesNotBeginAtZero) {
   EXPECT_DEATH(allocator(0, 5), "0 < range.first && range.first <= range.last");
   EXPECT_DEATH(allocator(6, 5), "0 < range.first && range.first <= range.last");
}

TEST(NumAllocatorDeathTest, needsAConfigurationAStatusAndAClock) {
   EXPECT_DEATH(
         NumAllocator::NumAllocatorIs(nullptr, makePtr<Orb::NumAllocatorStatus>(), Orb::activityManager().clock()),
         "config && status && clock");
}

class NumAllocatorModelTest : public testing::TestWithParam<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(seeds, NumAllocatorModelTest, testing::Range(1U, 9U));

TEST_P(NumAllocatorModelTest, handsOutFreeNumbersOnlyAndForgetsNone) {
   std::mt19937 random(GetParam());
   std::uint64_t const first = 1 + random() % 3;
   std::uint64_t const last = first + (GetParam() % 2 == 0 ? 7 : 60);
   std::uint64_t const size = last - first + 1;
   auto const numbers = allocator(first, last);
   std::set<std::uint64_t> used;
   std::uint64_t lastReleased = 0;
   for (int i = 0; i < 20'000; ++i) {
      // The share of releases swings, so that the range is now nearly empty, now exhausted.
      if (random() % 100 < ((i / 500) % 2 == 0 ? 40U : 60U)) {
         std::uint64_t const number = first - 1 + random() % (size + 2);
         bool const wasUsed = used.erase(number) == 1;
         ASSERT_EQ(numbers->releaseNumber(number), wasUsed);
         if (wasUsed) lastReleased = number;
      } else {
         std::uint64_t const number = numbers->getNumber();
         bool const othersAreFree = used.size() + 1 < size;
         ASSERT_FALSE(othersAreFree && number == lastReleased) << number << " was released last";
         if (used.size() == size) {
            ASSERT_EQ(number, 0U);
            continue;
         }
         ASSERT_GE(number, first);
         ASSERT_LE(number, last);
         ASSERT_TRUE(used.insert(number).second) << number << " was in use";
         if (number == lastReleased) lastReleased = 0;
      }
      ASSERT_EQ(numbers->status().inUse(), used.size());
      for (std::uint64_t n = first - 1; n <= last + 1; ++n) ASSERT_EQ(numbers->status().isUsed(n), used.contains(n));
   }
}

}  // namespace
