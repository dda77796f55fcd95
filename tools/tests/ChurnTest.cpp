// SPDX-License-Identifier: MIT
#include "tools/simulate/Churn.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>

#include "host/store/StateStore.h"
#include "tools/tests/SimulatedHeadEnd.h"

namespace Tools::Simulation {
namespace {

using testing::IsEmpty;
using testing::Key;
using testing::SizeIs;
using testing::UnorderedElementsAre;

Churn churn(std::uint32_t tunnels, std::uint32_t hops = 5, std::uint64_t seed = 1) {
   return Churn(HeadEnd({.tunnels = tunnels, .hops = hops, .seed = seed}));
}

/// The places in a patch that change nothing.
std::vector<std::string> idle(Json const& state, Json const& patch, std::string const& place = "") {
   std::vector<std::string> found;
   for (auto const& [name, value] : patch.items()) {
      auto const here = place + '/' + name;
      auto const old = state.find(name);
      if (old == state.end()) {
         if (value.is_null()) found.push_back(here);
      } else if (old->is_object() && value.is_object()) {
         auto const inner = idle(*old, value, here);
         found.insert(found.end(), inner.begin(), inner.end());
         if (value.empty()) found.push_back(here);
      } else if (*old == value) {
         found.push_back(here);
      }
   }
   return found;
}

TEST(Churn, isAFunctionOfTheOptions) {
   auto one = churn(50);
   auto same = churn(50);
   auto other = churn(50, 5, 2);
   bool differs = false;
   for (unsigned patch = 0; patch < 100; ++patch) {
      auto const next = one.next();
      EXPECT_EQ(next, same.next());
      differs |= next != other.next();
   }
   EXPECT_TRUE(differs);
}

TEST(Churn, changesSomethingWithAllThatAPatchSays) {
   for (unsigned const tunnels : {1U, 2U, 20U, 21U, 100U}) {
      for (unsigned const hops : {0U, 1U, 5U}) {
         auto events = churn(tunnels, hops);
         auto state = Json::parse(documentOf(events.headEnd()));
         for (unsigned patch = 0; patch < 150; ++patch) {
            auto const next = events.next();
            ASSERT_THAT(next, Not(IsEmpty()));
            ASSERT_THAT(idle(state, next), IsEmpty()) << next;
            state.merge_patch(next);
         }
      }
   }
}

TEST(Churn, leavesAHeadEndWithARowForEveryTunnelThatIsThere) {
   auto events = churn(60);
   auto state = Json::parse(documentOf(events.headEnd()));
   std::set<std::size_t> counts;
   for (unsigned patch = 0; patch < 400; ++patch) {
      state.merge_patch(events.next());
      auto const& tunnels = events.headEnd().tunnels;
      auto const present = static_cast<std::size_t>(std::ranges::count_if(tunnels, &Tunnel::present));
      ASSERT_THAT(rowsOf(state), SizeIs(present));
      ASSERT_GE(present, 57U) << "one in twenty may be away";
      counts.insert(present);
      for (auto const& tunnel : tunnels) {
         ASSERT_EQ(tunnel.up, tunnel.stateTransitions % 2 == 1);
         std::set<Router> met{events.headEnd().network.headEnd()};
         met.insert(tunnel.active().path.begin(), tunnel.active().path.end());
         ASSERT_THAT(met, SizeIs(6)) << "a loop";
      }
   }
   EXPECT_GT(counts.size(), 1U) << "tunnels go and come";
}

TEST(Churn, leadsTheStateStoreToTheSameState) {
   auto events = churn(100);
   auto const root = Vel::makePtr<Vel::EntityDir>("");
   Store::StateStore store(root);
   store.replace(documentOf(events.headEnd()));
   for (unsigned patch = 0; patch < 1000; ++patch) {
      auto const next = events.next();
      std::size_t entries = 0;
      for (auto const& [name, collection] : next.items()) entries += collection.size();
      ASSERT_EQ(store.applyPatch(next.dump()), entries) << next;
   }
   EXPECT_EQ(store.document(), documentOf(events.headEnd()));
}

TEST(Churn, isAboutOneTunnelAtATime) {
   auto events = churn(40);
   auto const entries = [&] {
      std::vector<Json> all;
      for (auto const& tunnel : events.headEnd().tunnels) all.push_back(entriesOf(events.headEnd().network, tunnel));
      return all;
   };
   auto before = entries();
   for (unsigned patch = 0; patch < 100; ++patch) {
      events.next();
      auto after = entries();
      unsigned changed = 0;
      for (std::size_t n = 0; n < after.size(); ++n) changed += before[n] != after[n];
      ASSERT_EQ(changed, 1U);
      before = std::move(after);
   }
}

/// What a patch is about, in an operator's words.
std::string kind(Json const& state, Json const& patch) {
   if (patch.contains("subTunnelConfig")) {
      return patch.at("subTunnelConfig").front().is_null() ? "removed" : "configured";
   }
   if (!patch.contains("subTunnelStatus")) return patch.contains("pathSpec") ? "path spec edited" : "LSP set up";
   auto const& status = patch.at("subTunnelStatus").front();
   if (status.contains("up")) return status.at("up").is_null() ? "down" : "up";
   if (!status.contains("activeLsp")) return "path changed";
   std::string const active = status.at("activeLsp");
   if (patch.contains("spStatus")) return "LSP taken over";
   EXPECT_TRUE(state.at("spIdForLspRequestConfigId").contains(active)) << "the standby was there before";
   return active.find("@secondary.") == std::string::npos ? "back to primary" : "over to secondary";
}

TEST(Churn, isABelievableMix) {
   auto events = churn(200);
   auto state = Json::parse(documentOf(events.headEnd()));
   std::map<std::string, unsigned> kinds;
   for (unsigned patch = 0; patch < 1000; ++patch) {
      auto const next = events.next();
      ++kinds[kind(state, next)];
      state.merge_patch(next);
   }
   EXPECT_THAT(kinds, UnorderedElementsAre(Key("removed"), Key("configured"), Key("path spec edited"),
                                           Key("LSP set up"), Key("LSP taken over"), Key("down"), Key("up"),
                                           Key("path changed"), Key("back to primary"), Key("over to secondary")));
   for (auto const& [name, count] : kinds) EXPECT_GE(count, 5U) << name;
   EXPECT_GT(kinds["LSP taken over"], kinds["removed"]);
}

TEST(Churn, makesALspBeforeItBreaksTheOther) {
   auto events = churn(50);
   auto state = Json::parse(documentOf(events.headEnd()));
   unsigned takeovers = 0;
   for (unsigned patch = 0; patch < 500; ++patch) {
      auto const next = events.next();
      if (kind(state, next) == "LSP taken over") {
         ++takeovers;
         auto const status = next.at("subTunnelStatus").begin();
         auto const from = Rsvp::RsvpLerLspRequestConfigId::fromText(
               state.at("subTunnelStatus").at(status.key()).at("activeLsp").get<std::string>());
         auto const to = Rsvp::RsvpLerLspRequestConfigId::fromText(status.value().at("activeLsp").get<std::string>());
         EXPECT_EQ(to.request, from.request + 1);
         auto const& spIds = state.at("spIdForLspRequestConfigId");
         EXPECT_TRUE(state.at("spStatus").contains(spIds.at(to.valueToStrep()))) << "up before it is used";
         EXPECT_TRUE(next.at("spIdForLspRequestConfigId").at(from.valueToStrep()).is_null());
         EXPECT_TRUE(next.at("spStatus").at(spIds.at(from.valueToStrep()).get<std::string>()).is_null());
      }
      state.merge_patch(next);
   }
   EXPECT_GT(takeovers, 50U);
}

}  // namespace
}  // namespace Tools::Simulation
