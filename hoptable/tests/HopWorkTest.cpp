// SPDX-License-Identifier: MIT
/// What a change costs does not depend on the number of tunnels.
#include "hoptable/tests/HopChain.h"
#include "substrate/vel/WorkCounter.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {

namespace {

class HopWorkTest : public HopChainTest {
 protected:
   static constexpr std::uint32_t kTunnels = 500;

   HopWorkTest() {
      for (std::uint32_t index = 1; index <= kTunnels; ++index) {
         specIs(spec(index));
         tunnels_.push_back(Tunnel::make(fmt::format("cli:tunnel-{}", index), spec(index), twoHops_));
         entryIs(index, tunnels_.back());
      }
   }
   static std::string spec(std::uint32_t index) { return fmt::format("cli:spec-{}", index); }
   static std::uint64_t calls() { return Vel::reactorsRun.value(); }
   /// How many reactors are called by a change.
   static std::uint64_t callsOf(std::function<void()> const& change) {
      std::uint64_t const before = calls();
      change();
      return calls() - before;
   }

   std::vector<Tunnel> tunnels_;
};

TEST_F(HopWorkTest, aPathSpecReachesTheTunnelsThatUseItOnly) {
   EXPECT_EQ(callsOf([&] { specIs(spec(77)); }), 1);
   EXPECT_EQ(callsOf([&] { specDel(spec(77)); }), 1);
   EXPECT_EQ(callsOf([&] { specIs(spec(77)); }), 1);
   EXPECT_EQ(callsOf([&] { specIs("cli:nobodys"); }), 0);
   tunnels_[99].secondaryIs(spec(77));
   tunnels_[299].primaryIs(spec(77));
   EXPECT_EQ(callsOf([&] { specIs(spec(77)); }), 3);
   EXPECT_EQ(callsOf([&] { specIs(spec(300)); }), 0);
}

TEST_F(HopWorkTest, aCollectionOfAnotherSourceReachesNobody) {
   EXPECT_EQ(callsOf([&] { table_->pathSpecCollIs(Source::controller, Vel::makePtr<Coll>()); }), 0);
   EXPECT_EQ(callsOf([&] { table_->pathSpecCollDel(Source::controller); }), 0);
}

TEST_F(HopWorkTest, aChangeOfOneTunnelReachesThatTunnel) {
   EXPECT_EQ(callsOf([&] { tunnels_[7].pathIs({{1, "10.0.0.1"}}); }), 1);
   EXPECT_EQ(callsOf([&] { tunnels_[7].primaryIs(spec(9)); }), 1);
   EXPECT_EQ(callsOf([&] { tunnels_[7].activeLspIs(kSecondary); }), 1);
}

TEST_F(HopWorkTest, onlyTheRowsOfTheTunnelAreTouched) {
   logRows();
   specIs(spec(77));
   EXPECT_THAT(takeRowLog(), testing::ElementsAre("-77.1.1", "-77.1.2", "+77.1.1", "+77.1.2"));
}

TEST_F(HopWorkTest, whoListensToTheDetailLinesGetsThoseOfEveryTunnelInOrderOfRegistration) {
   std::vector<std::string> expected;
   for (std::uint32_t index = 1; index <= kTunnels; ++index) {
      expected.push_back(
            fmt::format("void MplsSnmp::PathSpecSm::handlePathSpec(const Rsvp::RsvpLerPathSpecId&): "
                        "hopTableIndex: {}, pathSpecId: cli:nobodys",
                        index));
      expected.push_back(fmt::format("pathSpecId doesn't match entry pathSpecId: {}", spec(index)));
   }
   TestSupport::TraceCapture trace("MplsSnmp");
   specIs("cli:nobodys");
   EXPECT_EQ(trace.texts(), expected);
   trace.clear();
   table_->pathSpecCollIs(Source::controller, Vel::makePtr<Coll>());
   EXPECT_EQ(trace.count("source doesn't match entry source: cli"), kTunnels);
}

TEST_F(HopWorkTest, whoListensToTheDetailLinesSeesEveryPathSpecOfTheSourceVisited) {
   TestSupport::TraceCapture const trace("MplsSnmp");
   tunnels_[7].secondaryIs(spec(9));
   EXPECT_EQ(trace.count(fmt::format("pathSpecId doesn't match entry pathSpecId: {}", spec(8))), kTunnels - 1);
   EXPECT_EQ(trace.count("adding entry for hop: 1, 10.0.12.2"), 1);
}

TEST_F(HopWorkTest, theLinesMakeNoDifferenceToTheRows) {
   auto const change = [&] {
      specIs(spec(77));
      specDel(spec(78));
      tunnels_[7].primaryIs(spec(9));
      tunnels_[8].primaryIs("cli:nobodys");
      table_->pathSpecCollIs(Source::controller, Vel::makePtr<Coll>());
      Rows const after = rows();
      specIs(spec(78));
      tunnels_[7].primaryIs(spec(8));
      tunnels_[8].primaryIs(spec(9));
      return after;
   };
   Rows const quiet = change();
   TestSupport::TraceCapture const trace("MplsSnmp");
   EXPECT_EQ(change(), quiet);
}

TEST_F(HopWorkTest, listeningCostsATunnelLittle) {
   EXPECT_LE(sizeof(PathSpecSm::VelSubTunnelStatus), 64);
   EXPECT_LE(sizeof(PathSpecSm::VelPathSpecColl), 144);
   EXPECT_LE(sizeof(PathSpecCollSm::VelPathSpecCollTable), 104);
   EXPECT_LE(sizeof(PathSpecCollTableSm) + sizeof(PathSpecCollSm) + sizeof(PathSpecSm), 232);
}

}  // namespace

}  // namespace MplsSnmp
