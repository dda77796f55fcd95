// SPDX-License-Identifier: MIT
/// What managers are told when the published state changes, and that they are told of nothing else.
#include "notifications/TunnelMonitor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/MplsSnmpAgent.h"
#include "notifications/tests/EventList.h"
#include "substrate/vel/EntityDir.h"
#include "substrate/vel/Generic.h"
#include "tests/support/HeadEnd.h"

namespace MplsSnmp {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::EventList;

constexpr char kParis[] = "cli:to-paris";
constexpr char kPrimary[] = "cli:to-paris@primary.1";
constexpr char kPrimary2[] = "cli:to-paris@primary.2";
constexpr char kSecondary[] = "cli:to-paris@secondary.1";
constexpr char kSp[] = "10.0.0.9/12/10.0.0.1/1";
constexpr char kSp2[] = "10.0.0.9/12/10.0.0.1/2";
constexpr char kSp3[] = "10.0.0.9/12/10.0.0.1/3";

class TunnelMonitorTest : public testing::Test {
 protected:
   TunnelMonitorTest() {
      monitor->clockIs([this] { return now; });
      monitor->mplsTeMibIs(head.mib);
      monitor->eventSinkIs(events);
      startAgent();
      paris = tunnel(kParis, kPrimary, kSp);
      head.spIdIs(kSecondary, kSp2);
      head.requestStatusIs(kSecondary);
      head.spStatusIs(kSp2);
      settle();
   }

   void startAgent() {
      root->rsvpTeSnmpAgentIs(head.mib, head.hopTableHelper, head.lerConfig, head.lerStatus, head.kelpStatus,
                              head.counterTable);
      settle();
   }

   /// A tunnel that is up, with all that its row needs.
   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus> tunnel(std::string_view id, std::string_view request, std::string_view spId) {
      head.spIdIs(request, spId);
      head.spStatusIs(spId);
      head.requestStatusIs(request);
      auto const config = head.configIs(id);
      config->primaryPathSpecIdIs(Rsvp::RsvpLerPathSpecId::fromText("cli:gold"));
      config->secondaryPathSpecIdIs(Rsvp::RsvpLerPathSpecId::fromText("cli:silver"));
      auto const status = head.statusIs(id, request);
      status->activePathIs(path({"10.1.4.2", "10.4.9.2"}));
      status->upIs(true);
      return status;
   }

   static Rsvp::RsvpLerPath path(std::vector<std::string> const& hops) {
      Rsvp::RsvpLerPath made;
      std::uint32_t index = 0;
      for (auto const& hop : hops) made.hopIs(++index, Lanu::IpGenAddr::fromText(hop));
      return made;
   }

   /// A change is complete.
   void settle() { Orb::TaskSchedulerRoot::findOrCreateScheduler()->runAll(); }
   /// What is told of the changes since the last time.
   std::vector<std::string> told() {
      settle();
      return events->taken();
   }
   void begin() {
      monitor->begin();
      ASSERT_THAT(told(), IsEmpty());
   }
   Vel::Ptr<Rsvp::RsvpLerLspRequestStatus> requestStatus(std::string_view request) const {
      auto const id = TestSupport::HeadEnd::requestId(request);
      auto const& coll = head.requests->lspRequestStatusColl()[id.lspGroupId];
      return Vel::Ptr(const_cast<Rsvp::RsvpLerLspRequestStatus*>(coll->lspRequestStatus()[id].get()));
   }

   RateLimit::Time now{1000h};
   TestSupport::HeadEnd head;
   Vel::Ptr<Root> const root = rootFactory("root");
   Vel::Ptr<EventList> const events = Vel::makePtr<EventList>();
   Vel::Ptr<TunnelMonitor> monitor = tunnelMonitorFactory("tunnelMonitor");
   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus> paris;
};

TEST_F(TunnelMonitorTest, WhatIsThereWhenItBeginsIsKnown) {
   begin();
   paris->pathChangesIs(7);
   EXPECT_THAT(told(), IsEmpty());
}

TEST_F(TunnelMonitorTest, WhatChangesBeforeItBeginsIsNotTold) {
   paris->upIs(false);
   EXPECT_THAT(told(), IsEmpty());
   paris->upIs(true);
   begin();
   paris->upIs(false);
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, ATunnelGoesDownAndComesUp) {
   begin();
   paris->upIs(false);
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
   paris->upIs(true);
   EXPECT_THAT(told(), ElementsAre("up cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, AnEventHasAllThatIsToBeSaid) {
   begin();
   paris->activeLspIs(TestSupport::HeadEnd::requestId(kSecondary));
   paris->activePathIs(path({"10.1.6.2", "10.6.9.2", "10.9.9.9"}));
   settle();
   ASSERT_EQ(events->events().size(), 1U);
   auto const& event = events->events().front();
   EXPECT_EQ(event.kind, Snmp::TunnelEvent::Kind::rerouted);
   EXPECT_EQ(event.tunnel, kParis);
   EXPECT_EQ(event.name, "to-paris");
   EXPECT_THAT(event.from.index, ElementsAre(12, 1, 0x0a000001, 0x0a000009));
   EXPECT_THAT(event.to.index, ElementsAre(12, 2, 0x0a000001, 0x0a000009));
   EXPECT_EQ(event.from.lsp, kPrimary);
   EXPECT_EQ(event.to.lsp, kSecondary);
   EXPECT_THAT(event.from.path, ElementsAre("10.1.4.2", "10.4.9.2"));
   EXPECT_THAT(event.to.path, ElementsAre("10.1.6.2", "10.6.9.2", "10.9.9.9"));
   for (auto const& state : {event.from, event.to}) {
      EXPECT_EQ(state.adminStatus, 1);
      EXPECT_EQ(state.operStatus, 1);
   }
}

TEST_F(TunnelMonitorTest, ATunnelThatIsWithdrawnWhileItIsUpGoesDownAndIsForgotten) {
   begin();
   head.statusDel(kParis);
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
   tunnel(kParis, kPrimary, kSp);
   EXPECT_THAT(told(), ElementsAre("up cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, ATunnelThatIsDownComesAndGoesUnheard) {
   begin();
   paris->upIs(false);
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
   head.configDel(kParis);
   EXPECT_THAT(told(), IsEmpty());
   head.configIs(kParis);
   EXPECT_THAT(told(), IsEmpty());
   paris->upIs(true);
   EXPECT_THAT(told(), ElementsAre("up cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, ANewTunnelIsTold) {
   begin();
   tunnel("cli:to-rome", "cli:to-rome@primary.1", "200.0.0.7/40/10.0.0.1/1");
   EXPECT_THAT(told(), ElementsAre("up cli:to-rome 40.1"));
}

TEST_F(TunnelMonitorTest, TwoPartsOfASplitTunnelAreTwoTunnels) {
   begin();
   auto const first = tunnel("cli:to-rome#1", "cli:to-rome#1@primary.1", "200.0.0.7/40/10.0.0.1/1");
   tunnel("cli:to-rome#2", "cli:to-rome#2@primary.1", "200.0.0.7/41/10.0.0.1/1");
   EXPECT_THAT(told(), ElementsAre("up cli:to-rome#1 40.1", "up cli:to-rome#2 41.1"));
   first->upIs(false);
   EXPECT_THAT(told(), ElementsAre("down cli:to-rome#1 40.1"));
}

TEST_F(TunnelMonitorTest, ASwitchOverIsOneRerouting) {
   begin();
   paris->activeLspIs(TestSupport::HeadEnd::requestId(kSecondary));
   ASSERT_TRUE(head.row(kSp2));
   EXPECT_THAT(told(), ElementsAre("rerouted cli:to-paris 12.2"));
   paris->activeLspIs(TestSupport::HeadEnd::requestId(kPrimary));
   EXPECT_THAT(told(), ElementsAre("rerouted cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, ASwitchOverThatLeavesNoRowOnItsWayIsOneRerouting) {
   begin();
   paris->activeLspIs(TestSupport::HeadEnd::requestId("cli:to-paris@secondary.3"));
   ASSERT_EQ(head.mib->mplsTunnelTable().size(), 0U);
   head.requestStatusIs("cli:to-paris@secondary.3");
   head.spStatusIs(kSp3);
   head.spIdIs("cli:to-paris@secondary.3", kSp3);
   EXPECT_THAT(told(), ElementsAre("rerouted cli:to-paris 12.3"));
}

TEST_F(TunnelMonitorTest, ATunnelThatHasNoRowWhenTheChangeIsOverIsDown) {
   begin();
   paris->activeLspIs(TestSupport::HeadEnd::requestId("cli:to-paris@secondary.3"));
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
   head.requestStatusIs("cli:to-paris@secondary.3");
   head.spStatusIs(kSp3);
   EXPECT_THAT(told(), IsEmpty());
   head.spIdIs("cli:to-paris@secondary.3", kSp3);
   EXPECT_THAT(told(), ElementsAre("up cli:to-paris 12.3"));
}

TEST_F(TunnelMonitorTest, MakeBeforeBreakIsAReoptimization) {
   begin();
   head.spIdIs(kPrimary2, kSp3);
   head.requestStatusIs(kPrimary2);
   head.spStatusIs(kSp3);
   EXPECT_THAT(told(), IsEmpty());
   paris->activeLspIs(TestSupport::HeadEnd::requestId(kPrimary2));
   paris->activePathIs(path({"10.1.5.2", "10.5.9.2"}));
   head.spIdDel(kPrimary);
   EXPECT_THAT(told(), ElementsAre("reoptimized cli:to-paris 12.3"));
}

TEST_F(TunnelMonitorTest, AnotherPathIsAReoptimizationUnlessSomethingHasFailed) {
   begin();
   paris->activePathIs(path({"10.1.5.2", "10.5.9.2"}));
   EXPECT_THAT(told(), ElementsAre("reoptimized cli:to-paris 12.1"));
   requestStatus(kPrimary)->errorsIs({{24, 5}});
   EXPECT_THAT(told(), IsEmpty());
   paris->activePathIs(path({"10.1.4.2", "10.4.9.2"}));
   EXPECT_THAT(told(), ElementsAre("rerouted cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, APathThatIsLeftForABetterOneHasNotFailed) {
   begin();
   requestStatus(kPrimary)->errorsIs({{25, 6}});
   paris->activePathIs(path({"10.1.5.2", "10.5.9.2"}));
   EXPECT_THAT(told(), ElementsAre("reoptimized cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, FastRerouteIsARerouting) {
   begin();
   requestStatus(kPrimary)->errorsIs({{25, 3}});
   EXPECT_THAT(told(), ElementsAre("rerouted cli:to-paris 12.1"));
   paris->activePathIs(path({"10.1.5.2", "10.5.9.2"}));
   requestStatus(kPrimary)->errorsIs({});
   EXPECT_THAT(told(), ElementsAre("rerouted cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, WhileAnSpIdIsAmbiguousItsRowSpeaksForTheTunnel) {
   begin();
   head.spIdIs("cli:to-rome@primary.1", kSp);
   EXPECT_THAT(told(), IsEmpty());
   paris->upIs(false);
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
   paris->upIs(true);
   EXPECT_THAT(told(), ElementsAre("up cli:to-paris 12.1"));
   head.spIdDel("cli:to-rome@primary.1");
   EXPECT_THAT(told(), IsEmpty());
}

TEST_F(TunnelMonitorTest, ARowThatStaysBehindDoesNotSpeakForATunnelThatHasMovedOn) {
   begin();
   head.spIdIs("cli:to-rome@primary.1", kSp);
   paris->activeLspIs(TestSupport::HeadEnd::requestId(kSecondary));
   ASSERT_EQ(head.mib->mplsTunnelTable().size(), 2U) << "that of the ambiguous sp id stays";
   EXPECT_THAT(told(), ElementsAre("rerouted cli:to-paris 12.2"));
   head.spIdDel("cli:to-rome@primary.1");
   ASSERT_EQ(head.mib->mplsTunnelTable().size(), 1U);
   EXPECT_THAT(told(), IsEmpty());
   head.statusDel(kParis);
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.2"));
}

TEST_F(TunnelMonitorTest, ReplacedObjectsThatSayTheSameAreNoChange) {
   begin();
   auto const replaced = Vel::makePtr<Rsvp::RsvpLerSubTunnelStatus>(paris->id());
   replaced->activeLspIs(paris->activeLsp());
   replaced->activePathIs(path({"10.1.4.2", "10.4.9.2"}));
   replaced->upIs(true);
   auto const& coll = head.statuses->subTunnelStatusColl()[paris->id().tunnelSpecId()];
   const_cast<Rsvp::RsvpLerSubTunnelStatusColl&>(*coll).subTunnelStatusIs(paris->id(), replaced);
   head.requestStatusIs(kPrimary);
   head.spStatusIs(kSp);
   EXPECT_THAT(told(), IsEmpty());
   paris->upIs(false);
   EXPECT_THAT(told(), IsEmpty()) << "nobody's any more";
   replaced->upIs(false);
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, AReplacedAgentAnnouncesWhatHasChangedMeanwhileAndNothingElse) {
   tunnel("cli:to-rome", "cli:to-rome@primary.1", "200.0.0.7/40/10.0.0.1/1");
   settle();
   begin();
   head.counterTable = Vel::makePtr<Tallies::CounterTable>("counters");
   startAgent();
   EXPECT_THAT(told(), IsEmpty());

   root->rsvpTeSnmpAgentDel();
   paris->activeLspIs(TestSupport::HeadEnd::requestId(kSecondary));
   EXPECT_THAT(told(), IsEmpty()) << "nobody has made another row of it";
   startAgent();
   EXPECT_THAT(told(), ElementsAre("rerouted cli:to-paris 12.2"));
}

TEST_F(TunnelMonitorTest, AnAgentThatIsTakenAwayLeavesItsRowsAndNothingIsTold) {
   begin();
   root->rsvpTeSnmpAgentDel();
   EXPECT_THAT(told(), IsEmpty());
   startAgent();
   EXPECT_THAT(told(), IsEmpty());
}

TEST_F(TunnelMonitorTest, BeyondTheRateATunnelIsToldOnceOfAllThatHasHappened) {
   monitor->maxRateIs(1);
   auto const rome = tunnel("cli:to-rome", "cli:to-rome@primary.1", "200.0.0.7/40/10.0.0.1/1");
   begin();
   paris->upIs(false);
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
   for (bool const up : {true, false, true, false}) {
      rome->upIs(up);
      settle();
      paris->upIs(up);
      settle();
   }
   EXPECT_THAT(told(), IsEmpty());
   EXPECT_EQ(monitor->waiting(), 1U) << "of Paris nothing is left to be told";
   EXPECT_EQ(monitor->coalesced(), 4U + 2U);
   ASSERT_GT(events->waits(), 0ns) << "the host is asked to come back";
   now += events->waits();
   monitor->proceed();
   EXPECT_THAT(told(), ElementsAre("down cli:to-rome 40.1"));
   EXPECT_EQ(monitor->sent(), 2U);
}

TEST_F(TunnelMonitorTest, ATunnelThatHasGoneIsToldWhenItsTurnComes) {
   monitor->maxRateIs(1);
   auto const rome = tunnel("cli:to-rome", "cli:to-rome@primary.1", "200.0.0.7/40/10.0.0.1/1");
   begin();
   paris->upIs(false);
   settle();
   head.statusDel("cli:to-rome");
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
   now += 2s;
   monitor->proceed();
   EXPECT_THAT(told(), ElementsAre("down cli:to-rome 40.1"));
}

TEST_F(TunnelMonitorTest, ASinkWithoutRoomIsToldWhenItHasSome) {
   begin();
   events->roomIs(false);
   paris->upIs(false);
   EXPECT_THAT(told(), IsEmpty());
   events->roomIs(true);
   monitor->proceed();
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, WithoutASinkWhatWaitedIsForgottenAndNothingIsKept) {
   begin();
   auto const with = Vel::PtrInterface::objectsLive();
   events->roomIs(false);
   paris->upIs(false);
   settle();
   monitor->eventSinkIs(nullptr);
   EXPECT_EQ(monitor->waiting(), 0U);
   EXPECT_EQ(Vel::PtrInterface::objectsLive() + 2, with) << "the tunnel, and its reactor on the LSP's errors";
   events->roomIs(true);
   monitor->eventSinkIs(events);
   begin();
   paris->upIs(true);
   EXPECT_THAT(told(), ElementsAre("up cli:to-paris 12.1"));
}

TEST_F(TunnelMonitorTest, WhatASinkChangesWhenItIsToldIsLookedAtBeforeTheNextIsTold) {
   begin();
   paris->upIs(false);
   tunnel("cli:to-rome", "cli:to-rome@primary.1", "200.0.0.7/40/10.0.0.1/1");
   auto const oslo = tunnel("cli:to-oslo", "cli:to-oslo@primary.1", "200.0.0.8/41/10.0.0.1/1");
   events->thenIs([&] {
      head.statusDel("cli:to-rome");
      oslo->activePathIs(path({"10.1.9.9"}));
   });
   EXPECT_THAT(told(), ElementsAre("down cli:to-paris 12.1", "up cli:to-oslo 41.1"));
   EXPECT_EQ(monitor->coalesced(), 3U) << "that Rome came and went, and the other path";
   EXPECT_EQ(monitor->waiting(), 0U);
}

TEST_F(TunnelMonitorTest, ASinkMayEndItAllWhenItIsTold) {
   tunnel("cli:to-rome", "cli:to-rome@primary.1", "200.0.0.7/40/10.0.0.1/1");
   begin();
   events->thenIs([this] {
      monitor->eventSinkIs(nullptr);
      monitor = nullptr;
   });
   paris->upIs(false);
   head.statusDel("cli:to-rome");
   EXPECT_EQ(told().size(), 1U);
}

TEST_F(TunnelMonitorTest, TheCountsFollowTheRows) {
   EXPECT_EQ(monitor->tunnelsConfigured(), 1U);
   EXPECT_EQ(monitor->tunnelsActive(), 1U);
   auto const rome = tunnel("cli:to-rome", "cli:to-rome@primary.1", "200.0.0.7/40/10.0.0.1/1");
   EXPECT_EQ(monitor->tunnelsConfigured(), 2U);
   EXPECT_EQ(monitor->tunnelsActive(), 2U);
   paris->upIs(false);
   EXPECT_EQ(monitor->tunnelsActive(), 1U);
   paris->activeLspIs(TestSupport::HeadEnd::requestId(kSecondary));
   EXPECT_EQ(monitor->tunnelsConfigured(), 2U);
   EXPECT_EQ(monitor->tunnelsActive(), 1U);
   head.statusDel("cli:to-rome");
   EXPECT_EQ(monitor->tunnelsConfigured(), 1U);
   EXPECT_EQ(monitor->tunnelsActive(), 0U);
   auto const other = tunnelMonitorFactory("other");
   other->mplsTeMibIs(head.mib);
   EXPECT_EQ(other->tunnelsConfigured(), 1U) << "those that are there are counted";
   head.mib->mplsTunnelTableDelAll();
   EXPECT_EQ(monitor->tunnelsConfigured(), 0U);
}

TEST_F(TunnelMonitorTest, AHostMakesItByTypeNameAndAsksByAttributes) {
   auto const dir = Vel::makePtr<Vel::EntityDir>("");
   auto const made = dir->newEntity("MplsSnmp::TunnelMonitor", "tunnelMonitor");
   auto const set = [&](char const* attribute, Vel::Any value) {
      EXPECT_TRUE(Vel::attributeSet(*made, attribute, {&value, 1}).known());
   };
   auto const number = [&](char const* attribute) {
      return std::any_cast<std::uint64_t>(Vel::attributeGet(*made, attribute).value);
   };
   set("mplsTeMib", Vel::Ptr<Vel::PtrInterface>(head.mib));
   set("maxRate", std::uint64_t{100});
   set("eventSink", Vel::Ptr<Vel::PtrInterface>(Vel::makePtr<EventList>()));
   Vel::operationInvoke(*made, "begin");
   EXPECT_EQ(number("tunnelsConfigured"), 1U);
   EXPECT_EQ(number("tunnelsActive"), 1U);
   EXPECT_EQ(number("maxRate"), 100U);
   paris->upIs(false);
   settle();
   EXPECT_EQ(number("tunnelsActive"), 0U);
   EXPECT_EQ(number("sent"), 1U);
   EXPECT_EQ(number("coalesced"), 0U);
   EXPECT_EQ(number("waiting"), 0U);
   dir->entityDel("tunnelMonitor");
}

}  // namespace
}  // namespace MplsSnmp
