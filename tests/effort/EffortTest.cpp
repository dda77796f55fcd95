// SPDX-License-Identifier: MIT
// What the derivation of rows costs, counted in steps: the first scan in proportion to the tunnels, a change of one
// tunnel the same in a small network and in a large one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/MplsSnmpAgent.h"
#include "host/store/StateStore.h"
#include "substrate/vel/WorkCounter.h"
#include "tools/simulate/Churn.h"

namespace {

namespace Simulation = Tools::Simulation;
using Work = std::map<std::string, std::uint64_t>;

// What the module does. "objects made" would count those of the store as well.
std::vector<std::string> const kKinds{"tunnel rows built", "hop rows built", "child machines made", "reactors run",
                                      "collection nodes visited"};

/// The first tunnels of one large made-up head end.
Simulation::HeadEnd headEndOf(std::size_t tunnels) {
   Simulation::HeadEnd headEnd({.tunnels = 10'000, .hops = 5, .seed = 1});
   headEnd.tunnels.resize(tunnels);
   return headEnd;
}

/// A head end with its published state and the derivation of its rows.
class Switch {
 public:
   explicit Switch(Simulation::HeadEnd const& headEnd) {
      std::string document;
      Simulation::writeDocument(headEnd, [&](std::string_view piece) { document += piece; });
      store_.replace(document);
   }
   /// Derives all rows, in tasks; returns the work that it took.
   Work start() {
      return workOf([this] {
         root_->rsvpTeSnmpAgentIs(mib, MplsSnmp::hopTableHelperFactory(), store_.lerConfig(), store_.lerHiveStatus(),
                                  store_.kelpStatus(), Vel::makePtr<Tallies::CounterTable>("counters"));
         Orb::TaskSchedulerRoot::findOrCreateScheduler()->runAll();
      });
   }
   Work apply(Simulation::Json const& patch) {
      return workOf([&] { store_.applyPatch(patch.dump()); });
   }

   Vel::Ptr<MplsSnmp::MplsTeMib> const mib = MplsSnmp::mplsTeMibFactory("mplsTeMib");

 private:
   template <class Call>
   static Work workOf(Call&& call) {
      Work const before = Vel::WorkCounter::readings();
      call();
      Work const after = Vel::WorkCounter::readings();
      Work work;
      for (std::string const& kind : kKinds) work[kind] = after.at(kind) - before.at(kind);
      return work;
   }

   Vel::Ptr<Vel::EntityDir> const dir_ = Vel::makePtr<Vel::EntityDir>("state");
   Store::StateStore store_{dir_};
   Vel::Ptr<MplsSnmp::Root> const root_ = MplsSnmp::rootFactory("root");
};

}  // namespace

TEST(Effort, OfTheFirstScanGrowsWithTheTunnels) {
   Switch small(headEndOf(1000));
   Switch large(headEndOf(10'000));
   Work const few = small.start();
   Work const many = large.start();
   EXPECT_EQ(few.at("tunnel rows built"), 1000U);
   EXPECT_EQ(many.at("tunnel rows built"), 10'000U);
   EXPECT_EQ(few.at("hop rows built"), 5000U);
   EXPECT_EQ(many.at("hop rows built"), 50'000U);
   for (std::string const& kind : kKinds) {
      EXPECT_NEAR(static_cast<double>(many.at(kind)), 10.0 * static_cast<double>(few.at(kind)),
                  0.5 * static_cast<double>(few.at(kind)))
            << kind;
   }
}

TEST(Effort, OfOneTunnelsChangeIsTheSameInALargeNetwork) {
   Switch small(headEndOf(100));
   Switch large(headEndOf(10'000));
   small.start();
   large.start();
   // What goes on in the small network goes on among the first tunnels of the large one.
   Simulation::Churn churn(headEndOf(100));
   Work total;
   for (int n = 0; n < 500; ++n) {
      Simulation::Json const patch = churn.next();
      Work inSmall = small.apply(patch);
      Work inLarge = large.apply(patch);
      // A collection is tidied up when more than half of it has gone, which takes a visit to each that has gone: few in
      // the small network, and seldom in the large one.
      inSmall["collection nodes visited"] += 200;
      for (std::string const& kind : kKinds) total[kind] += inLarge[kind];
      EXPECT_LE(inLarge["collection nodes visited"], inSmall["collection nodes visited"]) << patch;
      inSmall.erase("collection nodes visited");
      inLarge.erase("collection nodes visited");
      ASSERT_EQ(inLarge, inSmall) << patch;
   }
   EXPECT_EQ(small.mib->mplsTunnelTable().size() + 9900, large.mib->mplsTunnelTable().size());
   for (std::string const& kind : kKinds) {
      EXPECT_GT(total[kind], 0U) << kind;
      EXPECT_LT(total[kind], 500 * 100U) << kind << ": a few steps for each patch";
   }
}
