// SPDX-License-Identifier: MIT
/// So many in a second, and no more.
#include "notifications/RateLimit.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

namespace MplsSnmp {
namespace {

using namespace std::chrono_literals;
using Time = RateLimit::Time;

Time const kStart{std::chrono::hours(1000)};

TEST(RateLimit, ZeroIsNoLimit) {
   RateLimit limit;
   for (int n = 0; n < 10'000; ++n) ASSERT_TRUE(limit.take(kStart));
   EXPECT_EQ(limit.wait(kStart), 0ns);
}

TEST(RateLimit, SoManyMayGoAtOnce) {
   RateLimit limit;
   limit.perSecondIs(3);
   for (int n = 0; n < 3; ++n) EXPECT_TRUE(limit.take(kStart));
   EXPECT_FALSE(limit.take(kStart));
}

TEST(RateLimit, WhoHasWaitedAsLongAsIsSaidMayGo) {
   RateLimit limit;
   limit.perSecondIs(2);
   Time now = kStart + 37ms;
   ASSERT_TRUE(limit.take(now));
   now += 300ms;
   ASSERT_TRUE(limit.take(now));
   auto const wait = limit.wait(now);
   EXPECT_GE(wait, 700ms);
   EXPECT_LE(wait, 800ms);
   EXPECT_FALSE(limit.take(now + wait - 1ns));
   EXPECT_EQ(limit.wait(now + wait), 0ns);
   EXPECT_TRUE(limit.take(now + wait));
   EXPECT_FALSE(limit.take(now + wait));
}

TEST(RateLimit, AnotherLimitCountsWhatHasGoneAlready) {
   RateLimit limit;
   for (int n = 0; n < 5; ++n) limit.take(kStart);
   limit.perSecondIs(6);
   EXPECT_TRUE(limit.take(kStart));
   EXPECT_FALSE(limit.take(kStart));
   limit.perSecondIs(0);
   EXPECT_TRUE(limit.take(kStart));
}

TEST(RateLimit, NoSecondHasMoreWhereverItBegins) {
   std::mt19937_64 random(1);
   for (std::uint32_t const most : {1U, 2U, 7U, 100U}) {
      RateLimit limit;
      limit.perSecondIs(most);
      Time now = kStart;
      Time const end = now + 5s;
      std::deque<Time> gone;
      std::size_t total = 0;
      while (now < end) {
         if (limit.take(now)) {
            ++total;
            gone.push_back(now);
            while (gone.front() <= now - 1s) gone.pop_front();
            ASSERT_LE(gone.size(), most);
         }
         now += std::chrono::microseconds(random() % (2'000'000 / (most * 3)));
      }
      EXPECT_GE(total, 5 * most * 3 / 4) << "hardly less than the limit";
   }
}

}  // namespace
}  // namespace MplsSnmp
