// SPDX-License-Identifier: MIT
/// Assertions stop the process and say why.
#include <gtest/gtest.h>

#include "substrate/trel/Assert.h"

namespace {

TEST(AssertTest, aTrueConditionPasses) { Trel::fmassert(true, "mib() && \"args cannot be null\""); }

TEST(AssertDeathTest, aFalseOnePrintsItsTextAndItsPlaceAndStopsTheProcess) {
   EXPECT_EXIT(Trel::fmassert(false, "mib() && \"args cannot be null\""), testing::KilledBySignal(SIGABRT),
               "AssertTest\\.cpp:[0-9]+: .*: Assertion `mib\\(\\) && \"args cannot be null\"' failed\\.\n");
}

TEST(AssertDeathTest, theTextNeedNotEndWithANul) {
   std::string_view const text = "index > 0 and more";
   EXPECT_DEATH(Trel::fmassert(false, text.substr(0, 9)), "Assertion `index > 0' failed\\.");
}

}  // namespace
