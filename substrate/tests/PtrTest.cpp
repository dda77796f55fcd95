// SPDX-License-Identifier: MIT
/// Counted objects and the pointers to them.
#include <gtest/gtest.h>

#include <thread>
#include <unordered_set>
#include <vector>

#include "substrate/tests/Counted.h"
#include "substrate/vel/Ptr.h"

namespace {

using TestSupport::Counted;
using Vel::makePtr;
using Vel::Ptr;

TEST(PtrTest, theLastReferenceDestroysTheObject) {
   int alive = 0;
   auto first = makePtr<Counted>(alive);
   auto second = first;
   EXPECT_EQ(first->references(), 2U);
   first = nullptr;
   EXPECT_EQ(alive, 1);
   second = nullptr;
   EXPECT_EQ(alive, 0);
}

TEST(PtrTest, pointersAreEqualWhenTheyPointToTheVerySameObject) {
   int alive = 0;
   auto const one = makePtr<Counted>(alive);
   auto const other = makePtr<Counted>(alive);
   Ptr<Counted const> const readOnly = one;
   EXPECT_TRUE(one == readOnly);
   EXPECT_FALSE(one == other);
   EXPECT_FALSE(one == nullptr);
   EXPECT_TRUE(Ptr<Counted>() == nullptr);
   EXPECT_TRUE(Ptr<Counted>() == Ptr<Counted const>(nullptr));
   EXPECT_FALSE(Ptr<Counted>());
   EXPECT_EQ((std::unordered_set<Ptr<Counted>>{one, one, other}).size(), 2U);
}

TEST(PtrTest, movingAPointerHandsItsReferenceOn) {
   int alive = 0;
   auto from = makePtr<Counted>(alive);
   auto const to = std::move(from);
   EXPECT_EQ(to->references(), 1U);
   EXPECT_TRUE(from == nullptr);
}

TEST(PtrTest, aPointerMayBeAssignedToItself) {
   int alive = 0;
   auto pointer = makePtr<Counted>(alive);
   auto const& same = pointer;
   pointer = same;
   EXPECT_EQ(pointer->references(), 1U);
   EXPECT_EQ(alive, 1);
}

TEST(PtrTest, aDownCastIsTested) {
   int alive = 0;
   Ptr<Vel::PtrInterface> const general = makePtr<Counted>(alive);
   EXPECT_TRUE(Vel::ptrCast<Counted>(general) == general);
   struct Other : Vel::PtrInterface {};
   EXPECT_TRUE(Vel::ptrCast<Other>(general) == nullptr);
   EXPECT_TRUE(Vel::ptrCast<Counted>(Ptr<Vel::PtrInterface>()) == nullptr);
   EXPECT_EQ(general->references(), 1U);
}

TEST(PtrTest, theNewObjectIsInPlaceWhenTheOldOneIsDestroyed) {
   Ptr<Vel::PtrInterface> slot;
   auto const replacement = makePtr<Counted>([] {});
   bool replaced = false;
   slot = makePtr<Counted>([&] { replaced = slot == replacement; });
   slot = replacement;
   EXPECT_TRUE(replaced);
}

TEST(PtrTest, anObjectMayReferToItselfWhileItIsDestroyed) {
   struct SelfReferring : Vel::PtrInterface {
      explicit SelfReferring(int& destructions) : destructions_(destructions) {}
      ~SelfReferring() override {
         ++destructions_;
         Ptr<SelfReferring> const self(this);
         Ptr<SelfReferring> const again = self;
      }
      int& destructions_;
   };
   int destructions = 0;
   makePtr<SelfReferring>(destructions);
   EXPECT_EQ(destructions, 1);
}

TEST(PtrTest, theObjectDecidesWhatHappensWhenTheLastReferenceHasGone) {
   struct Pooled : Vel::PtrInterface {
      void handleZeroRef() override { ++returned; }
      int returned = 0;
   };
   Pooled pooled;
   { Ptr<Pooled> const last(&pooled); }
   EXPECT_EQ(pooled.returned, 1);
}

/// Whether reference counts change atomically.
class PointerModeTest : public testing::TestWithParam<bool> {
 protected:
   PointerModeTest() : outer_(std::exchange(Vel::threadSafePointers_, GetParam())) {}
   ~PointerModeTest() override { Vel::threadSafePointers_ = outer_; }

 private:
   bool outer_;
};
INSTANTIATE_TEST_SUITE_P(plainAndAtomic, PointerModeTest, testing::Bool());

TEST_P(PointerModeTest, referencesAreCounted) {
   int alive = 0;
   {
      auto const object = makePtr<Counted>(alive);
      std::vector<Ptr<Counted const>> const readers(100, object);
      EXPECT_EQ(object->references(), 101U);
   }
   EXPECT_EQ(alive, 0);
}

TEST_P(PointerModeTest, theModeMayChangeWhileReferencesAreHeld) {
   int alive = 0;
   auto object = makePtr<Counted>(alive);
   Vel::threadSafePointers_ = !GetParam();
   auto other = object;
   object = nullptr;
   EXPECT_EQ(alive, 1);
   other = nullptr;
   EXPECT_EQ(alive, 0);
}

TEST(PtrTest, threadsMayShareAnObjectInThreadSafeMode) {
   bool const outer = std::exchange(Vel::threadSafePointers_, true);
   int alive = 0;
   {
      auto const object = makePtr<Counted>(alive);
      auto const copyOften = [&object] {
         for (int i = 0; i < 50'000; ++i) Ptr<Counted> const copy(object);
      };
      std::thread other(copyOften);
      copyOften();
      other.join();
      EXPECT_EQ(object->references(), 1U);
   }
   EXPECT_EQ(alive, 0);
   Vel::threadSafePointers_ = outer;
}

// 65,535 tunnels have to fit into a few hundred megabytes with a dozen counted objects and reactors each.
TEST(PtrTest, countedObjectsAndReactorsAreSmall) {
   EXPECT_LE(sizeof(Vel::PtrInterface), 24U);
   EXPECT_LE(sizeof(Vel::PtrInterface::NotifieeConst), 64U);
   EXPECT_EQ(sizeof(Ptr<Counted>), sizeof(void*));
   EXPECT_EQ(sizeof(Vel::RefCount), 4U);
}

}  // namespace
