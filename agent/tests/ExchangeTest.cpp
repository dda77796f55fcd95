// SPDX-License-Identifier: MIT
// What is taken out ends at once, whoever still holds it, and what takes its place has the tables for itself.
#include <gtest/gtest.h>

#include "agent/MplsSnmpAgent.h"
#include "tests/support/HeadEnd.h"
#include "tests/support/Observer.h"

namespace {

constexpr char kTunnel[] = "cli:to-paris";
constexpr char kRequest[] = "cli:to-paris@primary.1";
constexpr char kSpId[] = "10.0.0.9/12/10.0.0.1/1";

/// A head end with one tunnel of two hops, in synchronous mode or with tasks.
class Exchange : public testing::TestWithParam<bool> {
 protected:
   Exchange() {
      Flo::SmControl::defaultSynchronousIs(GetParam());
      auto const specs = Vel::makePtr<Rsvp::RsvpLerPathSpecCollForSource>();
      head.pathSpecs->pathSpecCollIs(Rsvp::RsvpLerTunnelSource::cli, specs);
      auto const id = Rsvp::RsvpLerPathSpecId::fromText("cli:gold");
      specs->pathSpecIs(id, Vel::makePtr<Rsvp::RsvpLerPathSpec>(id));
      head.tunnelIs(kTunnel, kRequest, kSpId);
      head.configIs(kTunnel)->primaryPathSpecIdIs(id);
      status = head.statusIs(kTunnel, kRequest);
      pathIs({1, 2});
   }
   ~Exchange() override {
      root = nullptr;
      tasks->runAll();
      Flo::SmControl::defaultSynchronousIs(false);
   }

   void pathIs(std::vector<std::uint32_t> const& hops) {
      Rsvp::RsvpLerPath path;
      for (auto const hop : hops) path.hopIs(hop, Lanu::IpGenAddr::fromHostOrder(0x0a000100 + hop));
      status->activePathIs(path);
   }
   Vel::Ptr<MplsSnmp::RsvpTeSnmpAgent> set() {
      return root->rsvpTeSnmpAgentIs(head.mib, head.hopTableHelper, head.lerConfig, head.lerStatus, head.kelpStatus,
                                     head.counterTable);
   }
   Vel::Ptr<MplsSnmp::RsvpTeSnmpAgent> setAndRun() {
      auto const agent = set();
      tasks->runAll();
      EXPECT_TRUE(agent->subTunnelStatusSm()->idle());
      return agent;
   }

   void expectTables(std::size_t rows, std::size_t hopRows) const {
      EXPECT_EQ(head.mib->mplsTunnelTable().size(), rows);
      EXPECT_EQ(head.mib->mplsTunnelHopTable().size(), hopRows);
      EXPECT_EQ(head.mib->numAllocatorStatus()->inUse(), rows);
      EXPECT_EQ(head.hopTableHelper->pathSpecCollTableSm().size(), rows);
   }
   /// The tables follow every change.
   void expectFollowed() {
      expectTables(1, 2);
      pathIs({3});
      expectTables(1, 1);
      head.spIdDel(kRequest);
      expectTables(0, 0);
      pathIs({1, 2, 3});
      expectTables(0, 0);
      head.spIdIs(kRequest, kSpId);
      expectTables(1, 3);
      pathIs({1, 2});
      expectTables(1, 2);
   }

   TestSupport::HeadEnd head;
   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus> status;
   Vel::Ptr<Orb::TaskScheduler> const tasks = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   Vel::Ptr<MplsSnmp::Root> root = MplsSnmp::rootFactory("root");
};

INSTANTIATE_TEST_SUITE_P(Modes, Exchange, testing::Bool(),
                         [](auto const& info) { return info.param ? "Synchronous" : "WithTasks"; });

}  // namespace

TEST_P(Exchange, AnyOfTheSixInputsWithTheOldAgentHeldOrLetGo) {
   std::vector<std::function<void()>> const others{
         [&] { head.mib = MplsSnmp::mplsTeMibFactory("other"); },
         [&] { head.hopTableHelper = MplsSnmp::hopTableHelperFactory(); },
         [&] {
            auto const table = head.lerConfig->pathSpecCollTable();
            head.lerConfig = Vel::makePtr<Rsvp::RsvpLerConfig>("other");
            head.lerConfig->pathSpecCollTableIs(table);
         },
         [&] {
            auto const old = head.lerStatus;
            head.lerStatus = Vel::makePtr<Rsvp::RsvpLerHiveStatus>("other");
            head.lerStatus->spIdMapIs(old->spIdMap());
            head.lerStatus->subTunnelConfigCollTableIs(old->subTunnelConfigCollTable());
            head.lerStatus->subTunnelStatusCollTableIs(old->subTunnelStatusCollTable());
            head.lerStatus->lspRequestStatusCollTableIs(old->lspRequestStatusCollTable());
         },
         [&] {
            auto const coll = head.kelpStatus->spStatusColl();
            head.kelpStatus = Vel::makePtr<Rsvp::RsvpKelpStatus>("other");
            head.kelpStatus->spStatusCollIs(coll);
         },
         [&] { head.counterTable = Vel::makePtr<Tallies::CounterTable>("other"); }};
   for (bool const deletedFirst : {false, true}) {
      for (bool const held : {false, true}) {
         for (auto const& other : others) {
            setAndRun();
            // What a host holds on to: the agent, its derivation, the helper.
            auto agent = root->rsvpTeSnmpAgent();
            auto machine = agent->subTunnelStatusSm();
            auto helper = head.hopTableHelper;
            auto mib = head.mib;
            if (!held) {
               agent = nullptr;
               machine = nullptr;
               helper = nullptr;
               mib = nullptr;
            }
            if (deletedFirst) root->rsvpTeSnmpAgentDel();
            other();
            setAndRun();
            expectFollowed();
            if (machine) machine->hasNotificationActiveIs(true);
            expectFollowed();
            // And they die late.
            agent = nullptr;
            machine = nullptr;
            helper = nullptr;
            mib = nullptr;
            expectFollowed();
         }
      }
   }
}

TEST_P(Exchange, ATakenOutDerivationRunsNoTaskAndWritesNothing) {
   auto const agent = set();
   auto const machine = agent->subTunnelStatusSm();
   auto const taken = root->rsvpTeSnmpAgentDel();
   EXPECT_EQ(taken, agent);
   EXPECT_FALSE(tasks->hasWork());
   std::size_t const rows = head.mib->mplsTunnelTable().size();
   EXPECT_EQ(rows, GetParam() ? 1U : 0U);
   head.spStatusDel(kSpId);
   machine->doDeleteAll();
   machine->hasNotificationActiveIs(true);
   tasks->runAll();
   EXPECT_EQ(head.mib->mplsTunnelTable().size(), rows);
   head.spStatusIs(kSpId);
   setAndRun();
   expectFollowed();
}

TEST_P(Exchange, InsideEveryNotificationOfTheOutputs) {
   for (int n = 1; n < 12; ++n) {
      SCOPED_TRACE(n);
      setAndRun();
      int left = n;
      auto const act = [&](Vel::AttributeId, void const*) {
         if (--left != 0) return;
         head.counterTable = Vel::makePtr<Tallies::CounterTable>("other");
         if (n % 2 == 0) head.hopTableHelper = MplsSnmp::hopTableHelperFactory();
         set();
      };
      auto const onRows = Vel::makePtr<TestSupport::Observer>(*head.mib, act);
      auto const onEntries = Vel::makePtr<TestSupport::Observer>(*head.hopTableHelper, act);
      head.configIs(kTunnel)->primaryPathSpecIdIs(Rsvp::RsvpLerPathSpecId::fromText("cli:gold"));
      head.spStatusIs(kSpId);
      tasks->runAll();
      EXPECT_LE(left, 0);
      EXPECT_TRUE(root->rsvpTeSnmpAgent()->subTunnelStatusSm()->idle());
      expectFollowed();
   }
}

// An observer of the derivation itself hears that the scan is done and takes the agent out.
TEST_P(Exchange, WhenTheInitialScanIsDone) {
   Flo::SmControl::defaultSynchronousIs(false);
   set();
   auto const observer =
         Vel::makePtr<TestSupport::Observer>(*root->rsvpTeSnmpAgent()->subTunnelStatusSm(),
                                             [&](Vel::AttributeId, void const*) { root->rsvpTeSnmpAgentDel(); });
   tasks->runAll();
   EXPECT_FALSE(root->rsvpTeSnmpAgent());
   EXPECT_FALSE(tasks->hasWork());
   observer->isRegisteredNotifieeIs(false);
   Flo::SmControl::defaultSynchronousIs(GetParam());
   setAndRun();
   expectFollowed();
}
