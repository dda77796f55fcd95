// SPDX-License-Identifier: MIT
/// The reactors of a state machine: bound to a typed input, they call their owner's handlers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "substrate/tests/Counted.h"
#include "substrate/vel/Mutators.h"
#include "substrate/vel/Reactor.h"

namespace {

using testing::ThrowsMessage;
using Vel::AttributeId;
using Vel::makePtr;
using Vel::Ptr;
using Log = std::vector<std::string>;

class Link : public Vel::PtrInterface {
 public:
   enum : AttributeId { attrCost = 1, attrUp };

   explicit Link(std::function<void()> onDestruction = [] {}) : gone_(std::move(onDestruction)) {
      hasNotificationActiveIs(true);
   }
   ~Link() override { gone_(); }
   void costIs(std::uint32_t cost) { Vel::setAttribute(*this, attrCost, cost_, cost); }
   void upIs(bool up) { Vel::setAttribute(*this, attrUp, up_, up); }

 private:
   std::function<void()> gone_;
   std::uint32_t cost_ = 0;
   bool up_ = false;
};

/// A state machine with one input.
class LinkSm : public Vel::PtrInterface {
 public:
   LinkSm(Log& log, Ptr<Link const> const& link) : log_(log), velLink_(makePtr<VelLink>(this, link)) {}
   ~LinkSm() override {
      log_.push_back("machine gone");
      if (velLink_) velLink_->retire();
   }

   class VelLink : public Vel::Reactor<VelLink, LinkSm, Link> {
    public:
      using Reactor::Reactor;
      void handle(LinkSm& owner, AttributeId attribute, void const* /*key*/) {
         if (attribute == Link::attrCost) owner.handleCost();
      }
      void handleNotifier(LinkSm& owner) { owner.log_.push_back("other link"); }
   };

   void handleCost() {
      log_.push_back("cost");
      if (then_) then_();
      log_.push_back("cost handled");
   }

   Ptr<VelLink> const& velLink() const { return velLink_; }
   void velLinkDel() { velLink_ = nullptr; }
   void thenIs(std::function<void()> then) { then_ = std::move(then); }

 private:
   Log& log_;
   std::function<void()> then_;
   Ptr<VelLink> velLink_;
};

class ReactorTest : public testing::Test {
 protected:
   Log changed(Ptr<Link> const& link) {
      log_.clear();
      link->costIs(++cost_);
      return log_;
   }

   Log const handled_{"cost", "cost handled"};
   std::uint32_t cost_ = 0;
   Log log_;
   Ptr<Link> link_ = makePtr<Link>();
   Ptr<LinkSm> machine_ = makePtr<LinkSm>(log_, link_);
};

TEST_F(ReactorTest, isBoundRegisteredAndActiveFromTheStart) {
   EXPECT_EQ(machine_->velLink()->notifier(), link_.get());
   EXPECT_TRUE(machine_->velLink()->isRegisteredNotifiee());
   EXPECT_TRUE(machine_->velLink()->hasNotificationActive());
   EXPECT_EQ(link_->references(), 2U);
   EXPECT_EQ(log_, Log());  // what is there already is nobody's news
}

TEST_F(ReactorTest, callsItsOwnerForTheAttributesItServes) {
   EXPECT_EQ(changed(link_), handled_);
   log_.clear();
   link_->upIs(true);
   EXPECT_EQ(log_, Log());
}

TEST_F(ReactorTest, bindingTheSameNotifierAgainDoesNothing) {
   auto const other = makePtr<LinkSm>(log_, link_);
   other->thenIs([&] { log_.push_back("other machine"); });
   Log const before = changed(link_);
   machine_->velLink()->notifierIs(link_);
   EXPECT_EQ(changed(link_), before);  // it keeps its place in the list
   EXPECT_EQ(link_->references(), 3U);
}

TEST_F(ReactorTest, bindingAnotherNotifierMovesItAndTellsTheOwner) {
   auto const backup = makePtr<Link>();
   machine_->velLink()->notifierIs(backup);
   EXPECT_EQ(log_, (Log{"other link"}));
   EXPECT_EQ(machine_->velLink()->notifier(), backup.get());
   EXPECT_EQ(changed(link_), Log());
   EXPECT_EQ(changed(backup), handled_);
   EXPECT_EQ(link_->references(), 1U);
}

TEST_F(ReactorTest, aNotifierOfAnotherTypeIsRefusedAndChangesNothing) {
   EXPECT_THAT([&] { machine_->velLink()->notifierIs(machine_); },
               ThrowsMessage<Vel::ArgumentException>("a reactor was pointed at a notifier of another type"));
   EXPECT_EQ(machine_->velLink()->notifier(), link_.get());
   EXPECT_EQ(changed(link_), handled_);
}

TEST_F(ReactorTest, bindingNothingReleasesTheNotifierUntilAnotherIsBound) {
   machine_->velLink()->notifierIs(nullptr);
   EXPECT_EQ(machine_->velLink()->notifier(), nullptr);
   EXPECT_EQ(link_->references(), 1U);
   EXPECT_EQ(changed(link_), Log());
   machine_->velLink()->notifierIs(link_);
   EXPECT_EQ(log_, (Log{"other link"}));
   EXPECT_EQ(changed(link_), handled_);
}

TEST_F(ReactorTest, isMadeWithoutANotifierAndRegistersWithItsFirst) {
   auto const machine = makePtr<LinkSm>(log_, nullptr);
   EXPECT_FALSE(machine->velLink()->isRegisteredNotifiee());
   machine->velLink()->notifierIs(makePtr<Link>());
   EXPECT_TRUE(machine->velLink()->isRegisteredNotifiee());
}

TEST_F(ReactorTest, doesNotCallItsOwnerOnceItIsMarkedForDeletion) {
   auto const reactor = machine_->velLink();
   reactor->velDoZombieReactors(true);
   EXPECT_EQ(changed(link_), Log());
   reactor->onAttribute(Link::attrCost, nullptr);
   EXPECT_EQ(log_, Log());
   // Nor does a new notifier bring it back.
   auto const backup = makePtr<Link>();
   reactor->notifierIs(backup);
   EXPECT_EQ(changed(backup), Log());
   EXPECT_EQ(log_, Log());
}

TEST_F(ReactorTest, doesNotCallItsOwnerWhileItsNotificationIsOff) {
   machine_->velLink()->hasNotificationActiveIs(false);
   EXPECT_EQ(changed(link_), Log());
   machine_->velLink()->hasNotificationActiveIs(true);
   EXPECT_EQ(changed(link_), handled_);
}

TEST_F(ReactorTest, forgetsAnOwnerThatHasGone) {
   auto const reactor = machine_->velLink();
   machine_ = nullptr;
   EXPECT_EQ(changed(link_), Log());
   reactor->hasNotificationActiveIs(true);
   reactor->onAttribute(Link::attrCost, nullptr);
   EXPECT_EQ(log_, Log());
}

TEST_F(ReactorTest, theOwnerOutlivesTheHandlerThatDropsItsLastReference) {
   machine_->thenIs([this] { machine_ = nullptr; });
   EXPECT_EQ(changed(link_), (Log{"cost", "cost handled", "machine gone"}));
   EXPECT_EQ(link_->references(), 1U);
}

TEST_F(ReactorTest, theOwnerMayDropItsReactorInItsOwnHandler) {
   machine_->thenIs([this] { machine_->velLinkDel(); });
   EXPECT_EQ(changed(link_), handled_);
   EXPECT_EQ(changed(link_), Log());
   EXPECT_EQ(link_->references(), 1U);
}

TEST_F(ReactorTest, theOwnerMayDropTheLastReferenceToItsNotifierInItsOwnHandler) {
   auto dying = makePtr<Link>([this] { log_.push_back("link gone"); });
   machine_->velLink()->notifierIs(dying);
   machine_->thenIs([&] {
      machine_->velLink()->notifierIs(nullptr);
      dying = nullptr;
      log_.push_back("let go");
   });
   EXPECT_EQ(changed(dying), (Log{"cost", "let go", "cost handled", "link gone"}));
}

TEST_F(ReactorTest, anOwnerReplacedByAnotherInItsHandlerHandsOver) {
   Ptr<LinkSm> replacement;
   machine_->thenIs([&] {
      replacement = makePtr<LinkSm>(log_, link_);
      machine_ = nullptr;
   });
   EXPECT_EQ(changed(link_), (Log{"cost", "cost handled", "machine gone"}));
   EXPECT_EQ(changed(link_), handled_);
}

}  // namespace
