// SPDX-License-Identifier: MIT
#include "tools/Rates.h"

#include <gtest/gtest.h>

namespace Tools {
namespace {

using namespace std::chrono_literals;

Oid const tunnel{12, 1, 1, 2};
RateMeter::Clock::time_point const start{};

TEST(RateMeter, hasNoRateUntilTheSecondReading) {
   RateMeter meter;
   auto const rates = meter.next({{tunnel, {100, 1000}}}, start).at(tunnel);
   EXPECT_FALSE(rates.packets);
   EXPECT_FALSE(rates.bytes);
   EXPECT_FALSE(rates.restarted);
}

TEST(RateMeter, dividesTheGrowthByTheTimeThatHasReallyPassed) {
   RateMeter meter;
   meter.next({{tunnel, {100, 1000}}}, start);
   auto const rates = meter.next({{tunnel, {150, 4000}}}, start + 2500ms).at(tunnel);
   EXPECT_DOUBLE_EQ(*rates.packets, 20);
   EXPECT_DOUBLE_EQ(*rates.bytes, 1200);
}

TEST(RateMeter, countsBeyond32Bits) {
   RateMeter meter;
   meter.next({{tunnel, {0, 0xffffffffffff0000}}}, start);
   auto const rates = meter.next({{tunnel, {0, 0xffffffffffffffff}}}, start + 1s).at(tunnel);
   EXPECT_DOUBLE_EQ(*rates.bytes, 65535);
}

TEST(RateMeter, takesCountersThatWentBackForRestartedAndNotForFast) {
   RateMeter meter;
   meter.next({{tunnel, {1000, 64}}}, start);
   auto const restarted = meter.next({{tunnel, {10, 640}}}, start + 1s).at(tunnel);
   EXPECT_TRUE(restarted.restarted);
   EXPECT_FALSE(restarted.packets);
   EXPECT_FALSE(restarted.bytes) << "the bytes began anew too, though they have passed their old value already";
   auto const after = meter.next({{tunnel, {30, 1920}}}, start + 2s).at(tunnel);
   EXPECT_FALSE(after.restarted);
   EXPECT_DOUBLE_EQ(*after.packets, 20);
}

TEST(RateMeter, beginsAnewWithATunnelThatWasGone) {
   RateMeter meter;
   meter.next({{tunnel, {1000, 1000}}}, start);
   meter.next({}, start + 1s);
   EXPECT_FALSE(meter.next({{tunnel, {5000, 5000}}}, start + 2s).at(tunnel).packets);
}

TEST(RateMeter, hasNoRateForACounterThatDidNotCome) {
   RateMeter meter;
   meter.next({{tunnel, {{}, 1000}}}, start);
   auto const rates = meter.next({{tunnel, {10, 2000}}}, start + 1s).at(tunnel);
   EXPECT_FALSE(rates.packets);
   EXPECT_DOUBLE_EQ(*rates.bytes, 1000);
}

}  // namespace
}  // namespace Tools
