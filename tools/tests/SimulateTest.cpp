// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <stdexcept>

#include "host/store/StateStore.h"
#include "tools/tests/SimulatedHeadEnd.h"

namespace Tools::Simulation {
namespace {

using testing::SizeIs;
using testing::StrEq;
using testing::ThrowsMessage;

HeadEnd headEnd(std::uint32_t tunnels, std::uint32_t hops = 5, std::uint64_t seed = 1) {
   return HeadEnd({.tunnels = tunnels, .hops = hops, .seed = seed});
}

TEST(SimulatedHeadEnd, isAFunctionOfItsOptions) {
   EXPECT_EQ(documentOf(headEnd(100)), documentOf(headEnd(100)));
   EXPECT_NE(documentOf(headEnd(100)), documentOf(headEnd(100, 5, 2)));
   EXPECT_NE(documentOf(headEnd(100)), documentOf(headEnd(100, 6)));
}

TEST(SimulatedHeadEnd, keepsItsFirstTunnelsWhenMoreAreAskedFor) {
   auto const few = headEnd(100);
   auto const many = headEnd(200);
   // The last ones may be the first parts of a tunnel that is split into more.
   for (std::size_t n = 0; n < 96; ++n) {
      EXPECT_EQ(entriesOf(few.network, few.tunnels[n]), entriesOf(many.network, many.tunnels[n])) << n;
   }
}

TEST(SimulatedHeadEnd, hasARowForEveryTunnel) {
   for (unsigned const tunnels : {1U, 2U, 3U, 200U}) {
      for (unsigned const hops : {0U, 1U, 5U, 64U}) {
         auto const state = Json::parse(documentOf(headEnd(tunnels, hops)));
         EXPECT_THAT(rowsOf(state), SizeIs(tunnels));
         EXPECT_THAT(state.at("subTunnelConfig"), SizeIs(tunnels));
         for (auto const& [id, status] : state.at("subTunnelStatus").items()) {
            ASSERT_THAT(status.value("activePath", Json::object()), SizeIs(hops)) << id;
         }
      }
   }
}

TEST(SimulatedHeadEnd, hasHopRowsForEveryPath) {
   auto const state = Json::parse(documentOf(headEnd(500)));
   for (auto const& [id, status] : state.at("subTunnelStatus").items()) {
      std::string const active = status.at("activeLsp");
      bool const secondary = active.find("@secondary.") != std::string::npos;
      auto const& config = state.at("subTunnelConfig").at(id);
      EXPECT_TRUE(state.at("pathSpec").contains(config.at(secondary ? "secondaryPathSpec" : "primaryPathSpec"))) << id;
   }
}

TEST(SimulatedHeadEnd, usesEveryTunnelIdOnceAtTheLimit) {
   auto const full = headEnd(kMostTunnels);
   std::set<std::uint16_t> tunnelIds;
   std::set<Rsvp::RsvpLerSubTunnelConfigId> ids;
   for (auto const& tunnel : full.tunnels) {
      tunnelIds.insert(tunnel.tunnelId);
      ids.insert(tunnel.id);
   }
   EXPECT_THAT(tunnelIds, SizeIs(kMostTunnels));
   EXPECT_EQ(*tunnelIds.begin(), 1);
   EXPECT_THAT(ids, SizeIs(kMostTunnels));
}

TEST(SimulatedHeadEnd, isWrittenAsTheStateStoreWouldWriteIt) {
   auto const root = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store(root);
   for (unsigned const hops : {0U, 5U, 12U}) {
      auto const document = documentOf(headEnd(300, hops));
      store.replace(document);
      EXPECT_EQ(store.document(), document);
   }
}

TEST(SimulatedHeadEnd, hasTunnelsInAllConditions) {
   using Source = Rsvp::RsvpLerTunnelSource;
   auto const& tunnels = headEnd(2000).tunnels;
   auto const share = [&](auto const& is) { return 100.0 * std::ranges::count_if(tunnels, is) / 2000; };
   auto const isBetween = [](double low, double high) { return testing::AllOf(testing::Ge(low), testing::Le(high)); };
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.id.source == Source::cli; }), isBetween(60, 80));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.id.source == Source::autoTunnel; }), isBetween(5, 15));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.id.isSplit(); }), isBetween(5, 25));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.fastReroute; }), isBetween(50, 70));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.pathSpecs.size() == 2; }), isBetween(25, 40));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.lsps.size() == 2; }), isBetween(12, 27));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.active().group == Group::secondary; }),
               isBetween(0.5, 5));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return !tunnel.up; }), isBetween(1, 6));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.active().error == kLocallyRepaired; }), isBetween(1, 6));
   EXPECT_THAT(share([](Tunnel const& tunnel) { return tunnel.excludeAny != 0; }), isBetween(15, 35));
   for (auto const& tunnel : tunnels) {
      EXPECT_LE(tunnel.holdingPriority, tunnel.setupPriority);
      EXPECT_EQ(tunnel.up, tunnel.stateTransitions % 2 == 1);
      EXPECT_LT(tunnel.active().upSince, kNow);
   }
}

TEST(SimulatedHeadEnd, sendsThePartsOfASplitTunnelToOneEgress) {
   std::map<Rsvp::RsvpLerTunnelSpecId, std::set<Router>> egresses;
   std::map<Rsvp::RsvpLerTunnelSpecId, std::set<std::uint32_t>> parts;
   for (auto const& tunnel : headEnd(500).tunnels) {
      egresses[tunnel.id.tunnelSpecId()].insert(tunnel.egress);
      parts[tunnel.id.tunnelSpecId()].insert(tunnel.id.subTunnel);
   }
   bool split = false;
   for (auto const& [id, ends] : egresses) {
      EXPECT_THAT(ends, SizeIs(1)) << id;
      auto const& numbers = parts[id];
      if (numbers.contains(0)) {
         EXPECT_THAT(numbers, SizeIs(1)) << id;
      } else {
         split = true;
         EXPECT_EQ(*numbers.begin(), 1U) << id;
         EXPECT_EQ(*numbers.rbegin(), numbers.size()) << id;
         EXPECT_GE(numbers.size(), 2U) << id;
      }
   }
   EXPECT_TRUE(split);
}

TEST(SimulatedHeadEnd, refusesSizesThatThereAreNot) {
   auto const refuses = [](char const* why) { return ThrowsMessage<std::invalid_argument>(StrEq(why)); };
   EXPECT_THAT([] { headEnd(0); }, refuses("a head end has 1 to 65535 tunnels"));
   EXPECT_THAT([] { headEnd(65536); }, refuses("a head end has 1 to 65535 tunnels"));
   EXPECT_THAT([] { headEnd(1, 65); }, refuses("a path has 0 to 64 hops"));
}

TEST(MergePatch, isTheLeastThatMakesOneOfTheOther) {
   auto const patch = [](char const* before, char const* after) {
      return mergePatch(Json::parse(before), Json::parse(after)).dump();
   };
   EXPECT_EQ(patch(R"({"a": 1, "b": {"c": 1, "d": 2}})", R"({"a": 1, "b": {"c": 1, "d": 2}})"), "{}");
   EXPECT_EQ(patch(R"({"a": 1, "b": {"c": 1, "d": 2}})", R"({"a": 1, "b": {"c": 3}})"), R"({"b":{"c":3,"d":null}})");
   EXPECT_EQ(patch(R"({"a": {"b": 1}})", R"({})"), R"({"a":null})");
   EXPECT_EQ(patch(R"({})", R"({"a": {}})"), R"({"a":{}})");
   EXPECT_EQ(patch(R"({"a": [{"b": 1, "c": 2}]})", R"({"a": [{"b": 1, "c": 3}]})"), R"({"a":[{"b":1,"c":3}]})")
         << "an array is replaced whole";
   EXPECT_EQ(patch(R"({"a": [1]})", R"({"a": {"b": 1}})"), R"({"a":{"b":1}})");
}

}  // namespace
}  // namespace Tools::Simulation
