// SPDX-License-Identifier: MIT
// An agent that is replaced again and again leaves nothing behind.
#include <gtest/gtest.h>

#include "agent/MplsSnmpAgent.h"
#include "tests/support/HeadEnd.h"

namespace {

/// What there is of everything that an agent makes.
struct Stock {
   std::uint64_t objects;
   std::size_t tasks;
   std::size_t rows;
   std::size_t hopRows;
   std::size_t hopEntries;
   std::uint64_t hopIndices;
   bool operator==(Stock const&) const = default;
};

std::ostream& operator<<(std::ostream& out, Stock const& stock) {
   return out << stock.objects << " objects, " << stock.tasks << " tasks, " << stock.rows << " rows, " << stock.hopRows
              << " hop rows, " << stock.hopEntries << " hop entries, " << stock.hopIndices << " hop indices";
}

/// A head end with tunnels of two hops each, and a root that derives its rows.
class Replacement : public testing::Test {
 protected:
   static constexpr int kTunnels = 12;

   Replacement() {
      auto const source = Rsvp::RsvpLerTunnelSource::cli;
      auto const specs = Vel::makePtr<Rsvp::RsvpLerPathSpecCollForSource>();
      head.pathSpecs->pathSpecCollIs(source, specs);
      for (int n = 1; n <= kTunnels; ++n) {
         std::string const number = std::to_string(n);
         std::string const tunnel = "cli:to-" + number;
         std::string const request = tunnel + "@primary.1";
         auto const specId = Rsvp::RsvpLerPathSpecId::fromText("cli:via-" + number);
         specs->pathSpecIs(specId, Vel::makePtr<Rsvp::RsvpLerPathSpec>(specId));
         head.tunnelIs(tunnel, request, "10.0.0.9/" + number + "/10.0.0.1/1");
         head.configIs(tunnel)->primaryPathSpecIdIs(specId);
         Rsvp::RsvpLerPath path;
         path.hopIs(1, Lanu::IpGenAddr::fromText("10.0.1." + number));
         path.hopIs(2, Lanu::IpGenAddr::fromText("10.0.2." + number));
         head.statusIs(tunnel, request)->activePathIs(path);
      }
   }

   void set(Vel::Ptr<Rsvp::RsvpKelpStatus> const& kelpStatus) {
      root->rsvpTeSnmpAgentIs(head.mib, head.hopTableHelper, head.lerConfig, head.lerStatus, kelpStatus,
                              head.counterTable);
   }
   Stock stock() const {
      return {Vel::PtrInterface::objectsLive(),
              tasks->tasksQueued(),
              head.mib->mplsTunnelTable().size(),
              head.mib->mplsTunnelHopTable().size(),
              head.hopTableHelper->pathSpecCollTableSm().size(),
              head.mib->numAllocatorStatus()->inUse()};
   }

   TestSupport::HeadEnd head;
   Vel::Ptr<Orb::TaskScheduler> const tasks = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   Vel::Ptr<MplsSnmp::Root> root = MplsSnmp::rootFactory("root");
};

}  // namespace

TEST_F(Replacement, AThousandReplacementsLeakNothing) {
   Stock const empty = stock();
   set(head.kelpStatus);
   tasks->runAll();
   Stock const full = stock();
   ASSERT_EQ(full.rows, kTunnels);
   ASSERT_EQ(full.hopRows, 2 * kTunnels);
   ASSERT_EQ(full.hopIndices, kTunnels);
   ASSERT_EQ(full.tasks, 0U);

   // The others have nothing to derive a row from, and are replaced before, while and after they find that out.
   tasks->yieldPolicyIs([] { return true; });
   for (int round = 0; round < 500; ++round) {
      set(Vel::makePtr<Rsvp::RsvpKelpStatus>("other"));
      for (int slice = round % 40; slice > 0 && tasks->hasWork(); --slice) tasks->runSlice({});
      if (round % 3 == 0) root->rsvpTeSnmpAgentDel();
      set(head.kelpStatus);
      for (int slice = round % 7 == 0 ? 3 : 10000; slice > 0 && tasks->hasWork(); --slice) tasks->runSlice({});
      if (round % 7 != 0) {
         ASSERT_EQ(stock(), full) << "round " << round;
      }
   }
   tasks->yieldPolicyIs(nullptr);
   tasks->runAll();
   EXPECT_EQ(stock(), full);

   set(Vel::makePtr<Rsvp::RsvpKelpStatus>("other"));
   tasks->runAll();
   root->rsvpTeSnmpAgentDel();
   EXPECT_EQ(stock(), empty);
}
