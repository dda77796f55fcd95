// SPDX-License-Identifier: MIT
/// Reactions that are set off inside another wait until that one is done.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "substrate/flo/Turn.h"
#include "substrate/vel/PtrInterface.h"

namespace {

using Flo::Turn;
using testing::ElementsAre;

class TurnTest : public testing::Test {
 protected:
   std::vector<std::string> log;
   void did(std::string what) { log.push_back(std::move(what)); }
};

TEST_F(TurnTest, whatIsAloneRunsAtOnce) {
   EXPECT_FALSE(Turn::underWay());
   Turn::take([&] {
      EXPECT_TRUE(Turn::underWay());
      did("first");
   });
   did("after");
   EXPECT_FALSE(Turn::underWay());
   EXPECT_THAT(log, ElementsAre("first", "after"));
}

TEST_F(TurnTest, whatIsSetOffInsideWaitsInItsOrder) {
   Turn::take([&] {
      Turn::take([&] {
         did("second");
         Turn::take([&] { did("fourth"); });
      });
      Turn::take([&] { did("third"); });
      did("first");
   });
   EXPECT_THAT(log, ElementsAre("first", "second", "third", "fourth"));
}

TEST_F(TurnTest, aHeldCallRunsAtOnceAlsoInsideATurnAndReturnsItsResult) {
   int const result = Turn::hold([&] {
      Turn::take([&] { did("set off"); });
      did("first");
      return Turn::hold([&] {
         Turn::take([&] { did("set off further in"); });
         did("second");
         return 7;
      });
   });
   EXPECT_EQ(result, 7);
   EXPECT_THAT(log, ElementsAre("first", "second", "set off", "set off further in"));
}

TEST_F(TurnTest, anExceptionIsPassedOnWhenThoseThatWaitAreThrough) {
   auto const run = [&] {
      Turn::take([&] {
         Turn::take([&] {
            did("second");
            throw std::runtime_error("second failed");
         });
         Turn::take([&] { did("third"); });
         did("first");
      });
   };
   EXPECT_THROW(run(), std::runtime_error);
   EXPECT_FALSE(Turn::underWay());
   EXPECT_THAT(log, ElementsAre("first", "second", "third"));
   EXPECT_THROW(Turn::hold([&]() -> int {
                   Turn::take([&] { did("fourth"); });
                   throw std::logic_error("held");
                }),
                std::logic_error);
   EXPECT_EQ(log.back(), "fourth");
}

TEST_F(TurnTest, whatWaitsHoldsItsObjectsNoLongerThanNeeded) {
   struct Thing : Vel::PtrInterface {};
   auto const thing = Vel::makePtr<Thing>();
   Turn::take([&] {
      Turn::take([thing] {});
      EXPECT_EQ(thing->references(), 2U);
   });
   EXPECT_EQ(thing->references(), 1U);
}

}  // namespace
