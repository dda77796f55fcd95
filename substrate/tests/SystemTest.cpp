// SPDX-License-Identifier: MIT
/// The time that everything reads.
#include <gtest/gtest.h>

#include <chrono>

#include "substrate/orb/ActivityManager.h"
#include "substrate/vel/System.h"

namespace {

using Vel::System;

Vel::Seconds systemClock() {
   return std::chrono::duration<Vel::Seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

TEST(SystemTest, theTimeIsThatOfTheSystemInSecondsSinceTheEpoch) {
   Vel::Seconds const before = systemClock();
   Vel::Seconds const now = System::currentTime();
   EXPECT_GE(now, before);
   EXPECT_LE(now, systemClock());
}

TEST(SystemTest, theSourceOfTheTimeMayBeReplacedAndRestored) {
   auto const outer = System::timeSourceIs([] { return 1760000000.25; });
   EXPECT_EQ(System::currentTime(), 1760000000.25);
   EXPECT_EQ(Orb::activityManager().clock()->now(), 1760000000.25);
   auto const replaced = System::timeSourceIs(nullptr);
   EXPECT_GT(System::currentTime(), 1760000000.25);
   EXPECT_EQ(replaced(), 1760000000.25);
   System::timeSourceIs(outer);
}

TEST(SystemTest, theProcessHasOneActivityManagerWithOneClock) {
   EXPECT_EQ(&Orb::activityManager(), &Orb::activityManager());
   EXPECT_TRUE(Orb::activityManager().clock() == Orb::activityManager().clock());
   EXPECT_TRUE(Orb::activityManager().clock());
}

}  // namespace
