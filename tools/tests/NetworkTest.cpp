// SPDX-License-Identifier: MIT
#include "tools/simulate/Network.h"

#include <gmock/gmock.h>

#include <set>

namespace Tools::Simulation {
namespace {

using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr Router kMostRouters = 48 * 16;

std::uint32_t number(Lanu::IpGenAddr const& address) { return __builtin_bswap32(address.ip4NetworkOrder()); }

TEST(Network, hasAPathWithoutLoopsForEveryLength) {
   for (std::uint64_t seed = 1; seed <= 8; ++seed) {
      Network const network(seed);
      Random random(seed, 1);
      for (unsigned hops = 1; hops <= kMostHops; ++hops) {
         auto const egresses = network.egresses(hops);
         ASSERT_THAT(egresses, Not(IsEmpty())) << "seed " << seed << ", " << hops << " hops";
         for (unsigned again = 0; again < 10; ++again) {
            auto const egress = random.pick(egresses);
            auto const path = network.path(egress, hops, random);
            ASSERT_THAT(path, SizeIs(hops));
            EXPECT_EQ(path.back(), egress);
            std::set<Router> met{network.headEnd()};
            Router from = network.headEnd();
            for (Router const to : path) {
               EXPECT_TRUE(network.linked(from, to)) << network.name(from) << " to " << network.name(to);
               EXPECT_TRUE(met.insert(to).second) << "a loop at " << network.name(to);
               from = to;
            }
         }
      }
   }
}

TEST(Network, hasManyPathsToMostEgresses) {
   Network const network(1);
   Random random(1, 1);
   auto const egresses = network.egresses(6);
   std::size_t many = 0;
   for (Router const egress : egresses) {
      std::set<Path> paths;
      for (unsigned again = 0; again < 50; ++again) paths.insert(network.path(egress, 6, random));
      many += paths.size() > 10;
   }
   EXPECT_GT(many, egresses.size() / 2);
}

TEST(Network, reachesEveryEdgeRouterByPathsThatAreNotKnown) {
   Network const network(1);
   Random random(1, 1);
   auto const egresses = network.egresses(0);
   EXPECT_GE(egresses.size(), 48U * 4);
   EXPECT_THAT(network.path(egresses.front(), 0, random), IsEmpty());
}

TEST(Network, hasEgressesOnBothSidesOf128) {
   Network const network(1);
   for (unsigned hops = 0; hops <= kMostHops; ++hops) {
      std::set<bool> sides;
      for (Router const egress : network.egresses(hops)) sides.insert(number(network.loopback(egress)) >= 0x80000000);
      EXPECT_THAT(sides, SizeIs(2)) << hops << " hops";
   }
}

TEST(Network, givesEachLinkANetworkOfTwoAddresses) {
   Network const network(1);
   std::set<std::uint32_t> links;
   for (Router one = 0; one < kMostRouters; ++one) {
      for (Router other = 0; other < one; ++other) {
         if (!network.linked(one, other)) continue;
         auto const here = number(network.hopAddress(other, one));
         auto const there = number(network.hopAddress(one, other));
         EXPECT_EQ(here ^ there, 1U) << network.name(one) << " to " << network.name(other);
         EXPECT_TRUE(links.insert(here & ~1U).second) << network.name(one) << " to " << network.name(other);
      }
   }
   // Within the POPs, between core routers and from them to edge routers, then to the east and to the south.
   EXPECT_EQ(links.size(), 48U * (6 + 4 * 12) + 48 * 4 + 32 * 4);
}

TEST(Network, tellsRoutersApart) {
   Network const network(1);
   std::set<std::string> names;
   std::set<Lanu::IpGenAddr> loopbacks;
   for (Router router = 0; router < kMostRouters; ++router) {
      names.insert(network.name(router));
      loopbacks.insert(network.loopback(router));
   }
   EXPECT_THAT(names, SizeIs(kMostRouters));
   EXPECT_THAT(loopbacks, SizeIs(kMostRouters));
   EXPECT_THAT(network.name(network.headEnd()), testing::EndsWith("-cr1"));
}

TEST(Network, isMadeUpFromItsSeed) {
   EXPECT_EQ(Network(7).egresses(0), Network(7).egresses(0));
   EXPECT_NE(Network(7).egresses(0), Network(8).egresses(0));
}

TEST(Random, isTheSameEverywhere) {
   Random random(1, 2);
   std::vector<std::uint32_t> drawn;
   for (unsigned again = 0; again < 4; ++again) drawn.push_back(random.below(1'000'000));
   EXPECT_THAT(drawn, testing::ElementsAre(510004, 172473, 521661, 344306));
}

TEST(Random, keepsItsStreamsApart) {
   Random one(1, 1);
   Random other(1, 2);
   unsigned same = 0;
   for (unsigned again = 0; again < 1000; ++again) same += one.below(1000) == other.below(1000);
   EXPECT_LT(same, 20U);
}

TEST(Random, drawsEveryNumberBelowTheLimit) {
   Random random(3, 1);
   std::set<std::uint32_t> drawn;
   for (unsigned again = 0; again < 1000; ++again) drawn.insert(random.below(10));
   EXPECT_THAT(drawn, SizeIs(10));
   EXPECT_EQ(*drawn.rbegin(), 9U);
}

}  // namespace
}  // namespace Tools::Simulation
