// SPDX-License-Identifier: MIT
/// Notifiers and the reactors in their lists, which come and go while a visit is under way.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "substrate/tests/Counted.h"
#include "substrate/vel/PtrInterface.h"

namespace {

using Vel::AttributeId;
using Vel::makePtr;
using Vel::Ptr;
using Log = std::vector<std::string>;

constexpr AttributeId kCost = 1;
constexpr AttributeId kUp = 2;

struct Notifier : TestSupport::Counted {
   explicit Notifier(std::function<void()> onDestruction = [] {}) : Counted(std::move(onDestruction)) {
      hasNotificationActiveIs(true);
   }
   using PtrInterface::notifieesDelAll;
};

class Listener : public Vel::PtrInterface::NotifieeConst {
 public:
   using Handler = std::function<void(AttributeId, void const*)>;
   using NotifieeConst::bind;
   using NotifieeConst::Hold;

   explicit Listener(Handler handler) : handler_(std::move(handler)) {}

   void onAttribute(AttributeId attribute, void const* key) override { handler_(attribute, key); }

 private:
   Handler handler_;
};

Ptr<Listener> listen(Ptr<Notifier> const& notifier, Listener::Handler handler,
                     Listener::Hold hold = Listener::Hold::strong) {
   auto listener = makePtr<Listener>(std::move(handler));
   listener->bind(notifier.get(), hold);
   listener->isRegisteredNotifieeIs(true);
   return listener;
}

class NotificationTest : public testing::Test {
 protected:
   /// Listens and writes `name` into the log.
   Ptr<Listener> listenAs(
         std::string name, std::function<void()> then = [] {}) {
      return listen(notifier_, [this, name = std::move(name), then = std::move(then)](AttributeId, void const*) {
         log_.push_back(name);
         then();
      });
   }
   Log visit(AttributeId attribute = kCost) {
      log_.clear();
      notifier_->visit(attribute);
      return log_;
   }

   Ptr<Notifier> notifier_ = makePtr<Notifier>();
   Log log_;
};

TEST_F(NotificationTest, reactorsHearOfAChangeInOrderOfRegistration) {
   auto const a = listenAs("a");
   auto const b = listenAs("b");
   EXPECT_EQ(visit(), (Log{"a", "b"}));
   a->isRegisteredNotifieeIs(false);
   EXPECT_EQ(visit(), (Log{"b"}));
   a->isRegisteredNotifieeIs(true);
   EXPECT_EQ(visit(), (Log{"b", "a"}));
}

TEST_F(NotificationTest, theyHearWhichAttributeChangedAndWhichMember) {
   std::vector<std::pair<AttributeId, int>> heard;
   auto const listener = listen(notifier_, [&](AttributeId attribute, void const* key) {
      heard.emplace_back(attribute, key ? *static_cast<int const*>(key) : -1);
   });
   notifier_->visit(kUp);
   notifier_->visit(kCost, 42);
   EXPECT_EQ(heard, (std::vector<std::pair<AttributeId, int>>{{kUp, -1}, {kCost, 42}}));
}

TEST_F(NotificationTest, nothingIsDeliveredWhileTheNotifiersFlagIsOff) {
   auto const a = listenAs("a");
   notifier_->hasNotificationActiveIs(false);
   EXPECT_EQ(visit(), Log());
   notifier_->hasNotificationActiveIs(true);
   EXPECT_EQ(visit(), (Log{"a"}));
}

TEST_F(NotificationTest, anObjectIsSilentUntilItsNotificationIsSwitchedOn) {
   struct Plain : Vel::PtrInterface {};
   EXPECT_FALSE(makePtr<Plain>()->hasNotificationActive());
   EXPECT_FALSE(makePtr<Plain>()->isMarkedForDeletion());
}

TEST_F(NotificationTest, aReactorRegisteredTwiceHearsOnce) {
   auto const a = listenAs("a");
   a->isRegisteredNotifieeIs(true);
   EXPECT_TRUE(a->isRegisteredNotifiee());
   EXPECT_EQ(visit(), (Log{"a"}));
   a->isRegisteredNotifieeIs(false);
   a->isRegisteredNotifieeIs(false);
   EXPECT_FALSE(a->isRegisteredNotifiee());
   EXPECT_EQ(visit(), Log());
}

TEST_F(NotificationTest, aReactorWithoutANotifierCannotRegister) {
   auto const idle = makePtr<Listener>([](AttributeId, void const*) {});
   idle->isRegisteredNotifieeIs(true);
   EXPECT_FALSE(idle->isRegisteredNotifiee());
}

TEST_F(NotificationTest, aReactorPointedAtAnotherNotifierLeavesTheFirstAndStaysRegistered) {
   auto const other = makePtr<Notifier>();
   auto const a = listenAs("a");
   a->bind(other.get());
   EXPECT_EQ(a->notifierObject(), other.get());
   EXPECT_EQ(visit(), Log());
   other->visit(kCost);
   EXPECT_EQ(log_, (Log{"a"}));
   EXPECT_EQ(notifier_->references(), 1U);
   a->bind(nullptr);
   EXPECT_FALSE(a->isRegisteredNotifiee());
   EXPECT_EQ(other->references(), 1U);
}

TEST_F(NotificationTest, aReactorKeepsItsNotifierAliveUnlessItIsBoundWeakly) {
   bool gone = false;
   auto notifier = makePtr<Notifier>([&] { gone = true; });
   auto strong = listen(notifier, [](AttributeId, void const*) {});
   auto const weak = listen(
         notifier, [](AttributeId, void const*) {}, Listener::Hold::weak);
   EXPECT_EQ(notifier->references(), 2U);
   notifier = nullptr;
   EXPECT_FALSE(gone);
   strong = nullptr;
   EXPECT_TRUE(gone);
   EXPECT_EQ(weak->notifierObject(), nullptr);
   EXPECT_FALSE(weak->isRegisteredNotifiee());
}

TEST_F(NotificationTest, aNotifierMayLetAllItsReactorsGo) {
   auto const strong = listenAs("strong");
   auto const weak = listen(
         notifier_, [](AttributeId, void const*) { FAIL(); }, Listener::Hold::weak);
   notifier_->notifieesDelAll();
   EXPECT_EQ(visit(), Log());
   EXPECT_FALSE(strong->isRegisteredNotifiee());
   EXPECT_FALSE(weak->isRegisteredNotifiee());
   EXPECT_EQ(weak->notifierObject(), nullptr);
   // Who holds the notifier goes on holding it, and may listen again.
   EXPECT_EQ(strong->notifierObject(), notifier_.get());
   EXPECT_EQ(notifier_->references(), 2U);
   strong->isRegisteredNotifieeIs(true);
   EXPECT_EQ(visit(), (Log{"strong"}));
   strong->bind(nullptr);
   EXPECT_EQ(notifier_->references(), 1U);
}

// What may happen while a visit is under way.

TEST_F(NotificationTest, aReactorThatRegistersMeanwhileIsCalledFromTheNextVisitOn) {
   Ptr<Listener> late;
   auto const a = listenAs("a", [&] {
      if (!late) late = listenAs("late");
   });
   auto const b = listenAs("b");
   EXPECT_EQ(visit(), (Log{"a", "b"}));
   EXPECT_EQ(visit(), (Log{"a", "b", "late"}));
}

TEST_F(NotificationTest, aReactorMayRetireItself) {
   Ptr<Listener> a;
   a = listenAs("a", [&] { a->isRegisteredNotifieeIs(false); });
   auto const b = listenAs("b");
   EXPECT_EQ(visit(), (Log{"a", "b"}));
   EXPECT_EQ(visit(), (Log{"b"}));
}

TEST_F(NotificationTest, aReactorMayRetireThoseBeforeAndBehindIt) {
   Ptr<Listener> a;
   Ptr<Listener> c;
   a = listenAs("a");
   auto const b = listenAs("b", [&] {
      a->isRegisteredNotifieeIs(false);
      c->isRegisteredNotifieeIs(false);
   });
   c = listenAs("c");
   auto const d = listenAs("d");
   EXPECT_EQ(visit(), (Log{"a", "b", "d"}));
   EXPECT_EQ(visit(), (Log{"b", "d"}));
}

TEST_F(NotificationTest, aReactorMayRetireEverybody) {
   std::vector<Ptr<Listener>> all;
   for (std::string const name : {"a", "b", "c"}) {
      all.push_back(listenAs(name, [&] {
         for (auto const& listener : all) listener->isRegisteredNotifieeIs(false);
      }));
   }
   EXPECT_EQ(visit(), (Log{"a"}));
   EXPECT_EQ(visit(), Log());
}

TEST_F(NotificationTest, reactorsMayDieThemselvesOrTakeTheNextWithThem) {
   Ptr<Listener> a;
   Ptr<Listener> b;
   a = listenAs("a", [&] {
      a = nullptr;
      b = nullptr;
   });
   b = listenAs("b");
   auto const c = listenAs("c");
   EXPECT_EQ(visit(), (Log{"a", "c"}));
   EXPECT_EQ(visit(), (Log{"c"}));
   EXPECT_EQ(notifier_->references(), 2U);
}

TEST_F(NotificationTest, aReactorThatRegistersAgainIsNotCalledTwiceByOneVisit) {
   Ptr<Listener> a;
   Ptr<Listener> c;
   auto const again = [](Ptr<Listener> const& listener) {
      listener->isRegisteredNotifieeIs(false);
      listener->isRegisteredNotifieeIs(true);
   };
   a = listenAs("a", [&] { again(a); });
   auto const b = listenAs("b", [&] { again(c); });
   c = listenAs("c");
   EXPECT_EQ(visit(), (Log{"a", "b"}));  // c came anew after the visit had begun
   EXPECT_EQ(visit(), (Log{"b", "a"}));
   b->isRegisteredNotifieeIs(false);
   EXPECT_EQ(visit(), (Log{"c", "a"}));
}

TEST_F(NotificationTest, aReactorMarkedForDeletionIsNotCalled) {
   Ptr<Listener> b;
   auto const a = listenAs("a", [&] { b->velDoZombieReactors(true); });
   b = listenAs("b");
   auto const c = listenAs("c");
   EXPECT_EQ(visit(), (Log{"a", "c"}));
   EXPECT_TRUE(b->isMarkedForDeletion());
   EXPECT_FALSE(b->hasNotificationActive());
   EXPECT_FALSE(b->isRegisteredNotifiee());
   EXPECT_EQ(b->references(), 1U);  // stays allocated
   EXPECT_EQ(visit(), (Log{"a", "c"}));
}

TEST_F(NotificationTest, aHandlerMayChangeTheNotifierAgain) {
   Ptr<Listener> late;
   int depth = 0;
   auto const a = listenAs("a", [&] {
      if (depth++ != 0) return;
      late = listenAs("late");
      notifier_->visit(kUp);
   });
   auto const b = listenAs("b");
   // The second change is told to all at once, the late one among them; then the first one goes on.
   EXPECT_EQ(visit(), (Log{"a", "a", "b", "late", "b"}));
}

TEST_F(NotificationTest, aNotifierThatIsSwitchedOffWhileItVisitsDeliversNoFurther) {
   auto const a = listenAs("a", [&] { notifier_->hasNotificationActiveIs(false); });
   auto const b = listenAs("b");
   EXPECT_EQ(visit(), (Log{"a"}));
   notifier_->hasNotificationActiveIs(true);
   a->isRegisteredNotifieeIs(false);
   EXPECT_EQ(visit(), (Log{"b"}));
}

TEST_F(NotificationTest, whatReactorsAreBeingToldOfCanBeAskedFor) {
   constexpr AttributeId kMember = 77;
   std::vector<int> told;
   int depth = 0;
   auto const a = listenAs("a", [&] {
      if (depth++ == 0) {
         notifier_->visit(kMember + 1, 9);
         notifier_->visit(kMember, 2);
      }
      told = notifier_->membersBeingTold<int>(kMember);
   });
   notifier_->visit(kMember, 1);
   EXPECT_EQ(told, (std::vector<int>{1}));
   depth = 0;
   a->isRegisteredNotifieeIs(false);
   auto const b = listenAs("b", [&] {
      if (depth++ == 0) return notifier_->visit(kMember, 2);
      told = notifier_->membersBeingTold<int>(kMember);
   });
   notifier_->visit(kMember, 1);
   EXPECT_EQ(told, (std::vector<int>{1, 2}));
   EXPECT_TRUE(notifier_->membersBeingTold<int>(kMember).empty());
}

TEST_F(NotificationTest, retiringInsideANestedVisitCountsForTheOuterOne) {
   Ptr<Listener> b;
   Ptr<Listener> c;
   int depth = 0;
   auto const a = listenAs("a", [&] {
      if (depth++ == 0) notifier_->visit(kUp);
   });
   b = listenAs("b", [&] {
      c->isRegisteredNotifieeIs(false);
      b->isRegisteredNotifieeIs(false);
   });
   c = listenAs("c");
   auto const d = listenAs("d");
   EXPECT_EQ(visit(), (Log{"a", "a", "b", "d", "d"}));
}

TEST_F(NotificationTest, aNotifierThatLosesItsLastReferenceTellsTheOthersFirst) {
   auto notifier = makePtr<Notifier>([&] { log_.push_back("gone"); });
   auto const a = listen(
         notifier,
         [&](AttributeId, void const*) {
            log_.push_back("a");
            notifier = nullptr;
         },
         Listener::Hold::weak);
   auto const b = listen(
         notifier, [&](AttributeId, void const*) { log_.push_back("b"); }, Listener::Hold::weak);
   notifier->visit(kCost);
   EXPECT_EQ(log_, (Log{"a", "b", "gone"}));
   EXPECT_EQ(a->notifierObject(), nullptr);
}

TEST_F(NotificationTest, aReactorMayLeaveItsNotifierInItsOwnHandler) {
   bool gone = false;
   auto notifier = makePtr<Notifier>([&] { gone = true; });
   Ptr<Listener> a;
   a = listen(notifier, [&](AttributeId, void const*) { a->bind(nullptr); });
   auto const* const plain = notifier.get();
   notifier = nullptr;
   plain->visit(kCost);
   EXPECT_TRUE(gone);
}

TEST_F(NotificationTest, aVisitEndsWhenTheNotifierLetsAllGo) {
   auto const a = listenAs("a", [&] { notifier_->notifieesDelAll(); });
   auto const b = listenAs("b");
   EXPECT_EQ(visit(), (Log{"a"}));
   EXPECT_EQ(visit(), Log());
}

TEST_F(NotificationTest, observersMayBeToldFromADestructor) {
   struct Root : Vel::PtrInterface {
      Root() { hasNotificationActiveIs(true); }
      ~Root() override {
         visit(kUp);
         notifieesDelAll();
      }
   };
   int heard = 0;
   auto root = makePtr<Root>();
   auto const listener = makePtr<Listener>([&](AttributeId, void const*) { ++heard; });
   listener->bind(root.get(), Listener::Hold::weak);
   listener->isRegisteredNotifieeIs(true);
   root = nullptr;
   EXPECT_EQ(heard, 1);
   EXPECT_EQ(listener->notifierObject(), nullptr);
}

TEST_F(NotificationTest, anErrorInAHandlerReachesWhoMadeTheChangeAndLeavesTheListSound) {
   bool fails = true;
   auto const a = listenAs("a", [&] {
      if (fails) throw std::runtime_error("refused");
   });
   Ptr<Listener> b = listenAs("b");
   auto const c = listenAs("c");
   EXPECT_THROW(visit(), std::runtime_error);
   b = nullptr;  // would meet the broken visit
   fails = false;
   EXPECT_EQ(visit(), (Log{"a", "c"}));
}

/// Random reactors that register, retire, die, come anew and cause nested visits from inside their handlers.
class NotificationModelTest : public testing::TestWithParam<std::uint32_t> {
 protected:
   struct Visit {
      std::uint64_t began;  // the last registration when it began
      std::uint64_t last = 0;
      std::set<std::uint64_t> called = {};
   };
   struct Member {
      Ptr<Listener> listener;
      std::uint64_t registration = 0;  // 0: not registered
   };

   void act(Member& member) {
      if (!member.listener) {
         member.listener = makePtr<Listener>([this, &member](AttributeId, void const*) { called(member); });
         member.listener->bind(notifier_.get(), random_() % 2 == 0 ? Listener::Hold::strong : Listener::Hold::weak);
      }
      switch (random_() % 5) {
         case 0:
            // One that is being called lives, and listens, until it returns: it must say that it is done.
            if (member.listener->references() > 1) member.listener->isRegisteredNotifieeIs(false);
            member.listener = nullptr;
            member.registration = 0;
            break;
         case 1:
            member.listener->isRegisteredNotifieeIs(false);
            member.registration = 0;
            break;
         default:
            if (member.registration == 0) member.registration = ++registrations_;
            member.listener->isRegisteredNotifieeIs(true);
      }
   }

   void visit() {
      underWay_.push_back({registrations_});
      notifier_->visit(kCost);
      Visit const visit = std::move(underWay_.back());
      underWay_.pop_back();
      for (Member const& member : members_) {
         bool const due = member.registration != 0 && member.registration <= visit.began;
         EXPECT_TRUE(!due || visit.called.contains(member.registration));
      }
   }

   void called(Member const& member) {
      Visit& visit = underWay_.back();
      ++calls_;
      EXPECT_NE(member.registration, 0U);
      EXPECT_LE(member.registration, visit.began);
      EXPECT_GT(member.registration, visit.last) << "called twice or out of order";
      visit.last = member.registration;
      visit.called.insert(member.registration);
      for (std::uint32_t actions = random_() % 3; actions > 0; --actions) act(members_[random_() % members_.size()]);
      if (underWay_.size() < 4 && random_() % 4 == 0) this->visit();
   }

   std::mt19937 random_{GetParam()};
   Ptr<Notifier> notifier_ = makePtr<Notifier>();
   std::vector<Member> members_{12};
   std::uint64_t registrations_ = 0;
   std::vector<Visit> underWay_;  // the innermost last
   int calls_ = 0;
};
INSTANTIATE_TEST_SUITE_P(seeds, NotificationModelTest, testing::Range(1U, 9U));

TEST_P(NotificationModelTest, whoWasThereAndStillIsWhenItsTurnComesIsCalledOnce) {
   for (int i = 0; i < 500; ++i) {
      for (int actions = 0; actions < 5; ++actions) act(members_[random_() % members_.size()]);
      visit();
   }
   EXPECT_GT(calls_, 1000);
}

}  // namespace
