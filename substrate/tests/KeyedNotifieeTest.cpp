// SPDX-License-Identifier: MIT
/// Reactors that listen to some members of a collection: a change of one member costs what those who listen to it cost.
#include "substrate/vel/KeyedNotifiee.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "substrate/vel/Reactor.h"
#include "substrate/vel/WorkCounter.h"

namespace {

using Vel::makePtr;
using Vel::Ptr;

constexpr Vel::AttributeId kMembers = 1;
constexpr Vel::AttributeId kOtherMembers = 2;
constexpr Vel::AttributeId kState = 3;

bool everythingWanted = false;
bool wantsEverything() { return everythingWanted; }
bool neverMore() { return false; }

struct Notifier : Vel::PtrInterface {
   Notifier() { hasNotificationActiveIs(true); }
   using PtrInterface::notifieesDelAll;
};

using Log = std::vector<std::string>;

/// What both kinds of reactors do when they are called.
struct Owner : Vel::PtrInterface {
   explicit Owner(std::function<void()> handler) : handler(std::move(handler)) {}
   std::function<void()> handler;
};

template <class Concrete, class Base>
struct Listener : Vel::Reactor<Concrete, Owner, Notifier, Base> {
   using Vel::Reactor<Concrete, Owner, Notifier, Base>::Reactor;
   void handle(Owner& owner, Vel::AttributeId, void const*) { owner.handler(); }
};
struct Plain : Listener<Plain, Vel::PtrInterface::NotifieeConst> {
   using Listener::Listener;
};
struct Keyed : Listener<Keyed, Vel::KeyedNotifiee<2, wantsEverything>> {
   using Listener::Listener;
};
struct KeyedOfAnotherClass : Listener<KeyedOfAnotherClass, Vel::KeyedNotifiee<1, neverMore>> {
   using Listener::Listener;
};

class KeyedNotifieeTest : public testing::Test {
 protected:
   ~KeyedNotifieeTest() override {
      everythingWanted = false;
      for (auto const& owner : owners_) owner->handler = nullptr;
   }

   template <class Kind>
   Ptr<Kind> listen(
         std::string name, std::function<void()> then = [] {}) {
      owners_.push_back(makePtr<Owner>([this, name = std::move(name), then = std::move(then)] {
         log_.push_back(name);
         then();
      }));
      return makePtr<Kind>(owners_.back().get(), notifier_);
   }
   template <class... Keys>
   Ptr<Keyed> listenTo(std::string name, std::function<void()> then, Keys... keys) {
      auto reactor = listen<Keyed>(std::move(name), std::move(then));
      reactor->interestsAre(kMembers, keys...);
      return reactor;
   }

   /// Who is called for a change of this member.
   Log told(unsigned member, Vel::AttributeId attribute = kMembers) {
      log_.clear();
      notifier_->visit(attribute, member);
      return log_;
   }

   Ptr<Notifier> notifier_ = makePtr<Notifier>();
   std::vector<Ptr<Owner>> owners_;
   Log log_;
   std::function<void()> const nothing_ = [] {};
};

TEST_F(KeyedNotifieeTest, aMemberReachesThoseWhoListenToItInOrderOfRegistration) {
   auto const a = listenTo("a", nothing_, 1U, 2U);
   auto const b = listen<Plain>("b");
   auto const c = listenTo("c", nothing_, 2U, 3U);
   auto const d = listenTo("d", nothing_, 1U);
   auto const e = listen<Plain>("e");
   EXPECT_EQ(told(1), (Log{"a", "b", "d", "e"}));
   EXPECT_EQ(told(2), (Log{"a", "b", "c", "e"}));
   EXPECT_EQ(told(3), (Log{"b", "c", "e"}));
   EXPECT_EQ(told(4), (Log{"b", "e"}));
}

TEST_F(KeyedNotifieeTest, aMemberOfTheSameKeyInAnotherCollectionIsAnotherMember) {
   auto const a = listenTo("a", nothing_, 1U);
   EXPECT_EQ(told(1, kOtherMembers), Log{});
}

TEST_F(KeyedNotifieeTest, attributesWithoutMembersReachEverybody) {
   auto const a = listenTo("a", nothing_, 1U);
   auto const b = listen<Plain>("b");
   auto const c = listen<Keyed>("c");
   notifier_->visit(kState);
   EXPECT_EQ(log_, (Log{"a", "b", "c"}));
}

TEST_F(KeyedNotifieeTest, whoListensToTheSameMemberTwiceIsToldOnce) {
   auto const a = listenTo("a", nothing_, 1U, 1U);
   EXPECT_EQ(told(1), Log{"a"});
   a->interestsAre(kMembers, 2U, 1U);
   EXPECT_EQ(told(1), Log{"a"});
   EXPECT_EQ(told(2), Log{"a"});
}

TEST_F(KeyedNotifieeTest, interestsCanChangeAndTheOrderStays) {
   auto const a = listenTo("a", nothing_, 1U);
   auto const b = listenTo("b", nothing_, 2U);
   a->interestsAre(kMembers, 2U);
   EXPECT_EQ(told(1), Log{});
   EXPECT_EQ(told(2), (Log{"a", "b"}));
   a->interestsAre(kMembers);
   EXPECT_EQ(told(2), Log{"b"});
}

TEST_F(KeyedNotifieeTest, interestsAreKeptWhileTheReactorIsNotRegistered) {
   auto const a = listenTo("a", nothing_, 1U);
   a->isRegisteredNotifieeIs(false);
   EXPECT_EQ(told(1), Log{});
   a->interestsAre(kMembers, 2U);
   a->isRegisteredNotifieeIs(true);
   EXPECT_EQ(told(1), Log{});
   EXPECT_EQ(told(2), Log{"a"});
}

TEST_F(KeyedNotifieeTest, interestsGoAlongToAnotherNotifier) {
   auto const a = listenTo("a", nothing_, 1U);
   auto const other = makePtr<Notifier>();
   a->notifierIs(other);
   EXPECT_EQ(told(1), Log{});
   other->visit(kMembers, 1U);
   EXPECT_EQ(log_, Log{"a"});
}

TEST_F(KeyedNotifieeTest, everyMemberReachesEverybodyWhileAClassWantsAllKeys) {
   auto const a = listenTo("a", nothing_, 1U);
   auto const b = listen<Plain>("b");
   auto const c = listenTo("c", nothing_, 2U);
   auto const d = listen<Keyed>("d");
   everythingWanted = true;
   EXPECT_EQ(told(1), (Log{"a", "b", "c", "d"}));
   everythingWanted = false;
   EXPECT_EQ(told(1), (Log{"a", "b"}));
}

TEST_F(KeyedNotifieeTest, aClassThatHasLeftIsNotAskedWhatItWants) {
   auto stays = listen<KeyedOfAnotherClass>("stays");
   stays->interestsAre(kMembers, 1U);
   auto goes = listenTo("goes", nothing_, 1U);
   everythingWanted = true;
   EXPECT_EQ(told(2), (Log{"stays", "goes"}));
   goes = nullptr;
   EXPECT_EQ(told(2), Log{});
   EXPECT_EQ(told(1), Log{"stays"});
}

TEST_F(KeyedNotifieeTest, reactorsDieDuringTheVisit) {
   for (bool const all : {false, true}) {
      everythingWanted = all;
      Ptr<Keyed> first, second, third, fourth;
      first = listenTo("first", nothing_, 1U);
      second = listenTo(
            "second", [&] { first = second = third = nullptr; }, 1U);
      third = listenTo("third", nothing_, 1U);
      fourth = listenTo("fourth", nothing_, 1U);
      EXPECT_EQ(told(1), (Log{"first", "second", "fourth"}));
      EXPECT_EQ(told(1), (Log{"fourth"}));
   }
}

TEST_F(KeyedNotifieeTest, whoRegistersDuringTheVisitIsNotCalledByIt) {
   Ptr<Keyed> late;
   auto const a = listenTo(
         "a",
         [&] {
            if (!late) late = listenTo("late", nothing_, 1U);
         },
         1U);
   EXPECT_EQ(told(1), Log{"a"});
   EXPECT_EQ(told(1), (Log{"a", "late"}));
}

TEST_F(KeyedNotifieeTest, whoLosesItsInterestDuringTheVisitIsPassedBy) {
   Ptr<Keyed> b;
   auto const a = listenTo(
         "a", [&] { b->interestsAre(kMembers, 2U); }, 1U);
   b = listenTo("b", nothing_, 1U);
   EXPECT_EQ(told(1), Log{"a"});
   EXPECT_EQ(told(2), Log{"b"});
}

TEST_F(KeyedNotifieeTest, whoMovesItsInterestIntoTheVisitIsNotCalledTwice) {
   Ptr<Keyed> a;
   a = listenTo(
         "a",
         [&] {
            a->interestsAre(kMembers);
            a->interestsAre(kMembers, 1U);
         },
         1U);
   EXPECT_EQ(told(1), Log{"a"});
}

TEST_F(KeyedNotifieeTest, theVisitEndsWhenTheNotifierLetsAllGo) {
   for (bool const all : {false, true}) {
      everythingWanted = all;
      auto const a = listenTo(
            "a", [&] { notifier_->notifieesDelAll(); }, 1U);
      auto const b = listenTo("b", nothing_, 1U);
      auto const c = listen<Plain>("c");
      EXPECT_EQ(told(1), Log{"a"});
      EXPECT_EQ(told(1), Log{});
   }
}

TEST_F(KeyedNotifieeTest, aChangeCallsNoMoreReactorsThanAreConcerned) {
   std::vector<Ptr<Keyed>> many;
   for (unsigned n = 0; n < 1000; ++n) many.push_back(listenTo("one of many", nothing_, n, n + 1));
   std::uint64_t const before = Vel::reactorsRun.value();
   notifier_->visit(kMembers, 500U);
   EXPECT_EQ(Vel::reactorsRun.value() - before, 2);
}

TEST_F(KeyedNotifieeTest, aReactorThatListensToEverythingStaysSmall) {
   EXPECT_LE(sizeof(Plain), 64);
   EXPECT_LE(sizeof(Vel::NotifieeList), 24);
}

/// Random registrations, interests and visits against a list of who listens to what.
class KeyedModelTest : public KeyedNotifieeTest, public testing::WithParamInterface<unsigned> {};
INSTANTIATE_TEST_SUITE_P(seeds, KeyedModelTest, testing::Range(1U, 9U));

TEST_P(KeyedModelTest, thoseConcernedAreCalledInOrderOfRegistration) {
   struct Known {
      std::string name;
      Ptr<Vel::PtrInterface> reactor;
      std::set<unsigned> members;  // empty for a plain reactor: all
   };
   std::vector<Known> known;
   std::mt19937 random(GetParam());
   auto const below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
   for (unsigned n = 0; n < 2000; ++n) {
      std::string const name = std::to_string(n);
      switch (below(6)) {
         case 0:
            known.push_back({name, listen<Plain>(name), {}});
            break;
         case 1: {
            unsigned const one = below(5), other = below(5);
            known.push_back({name, listenTo(name, nothing_, one, other), {one, other}});
            break;
         }
         case 2:
            if (!known.empty()) known.erase(known.begin() + below(static_cast<unsigned>(known.size())));
            break;
         case 3:
            if (!known.empty()) {
               Known& changed = known[below(static_cast<unsigned>(known.size()))];
               if (auto const keyed = Vel::ptrCast<Keyed>(changed.reactor)) {
                  changed.members = {below(5)};
                  keyed->interestsAre(kMembers, *changed.members.begin());
               }
            }
            break;
         default: {
            everythingWanted = below(4) == 0;
            unsigned const member = below(5);
            Log expected;
            for (Known const& each : known) {
               if (everythingWanted || each.members.empty() || each.members.contains(member)) {
                  expected.push_back(each.name);
               }
            }
            ASSERT_EQ(told(member), expected) << "step " << n;
         }
      }
   }
}

}  // namespace
