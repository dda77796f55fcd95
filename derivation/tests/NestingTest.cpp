// SPDX-License-Identifier: MIT
// Whatever an observer does inside a notification, the tables are those of the inputs when the outermost change is
// done.
#include <array>
#include <functional>
#include <map>

#include "derivation/tests/Derivation.h"
#include "mib/MplsTunnelHopTableEntryRsvp.h"
#include "tests/support/Observer.h"

using TestSupport::Observer;

namespace {

constexpr char kRomeSecondary[] = "cli:to-rome@secondary.1";

/// Two tunnels with three hops each, and all that may happen to them.
class Switch {
 public:
   using Sm = MplsSnmp::RsvpSnmpSubTunnelStatusSm;
   using Act = std::pair<std::string, std::function<void()>>;
   /// A row's inputs and its hop rows, by key.
   using Tables = std::map<std::string, std::string>;

   Switch() {
      auto const gold = pathSpecId("gold");
      specs->pathSpecIs(gold, Vel::makePtr<Rsvp::RsvpLerPathSpec>(gold));
      head.pathSpecs->pathSpecCollIs(gold.source, specs);
      head.tunnelIs(kParis, kParisPrimary, kSp12);
      head.tunnelIs(kRome, kRomePrimary, kSp40);
      for (auto const* tunnel : {kParis, kRome}) {
         configIs(tunnel);
         statusIs(tunnel, tunnel == kParis ? kParisPrimary : kRomePrimary);
      }
   }

   void start() {
      sm = Sm::RsvpSnmpSubTunnelStatusSmIs(head.mib, head.hopTableHelper, head.lerConfig, head.lerStatus,
                                           head.kelpStatus, head.counterTable, Flo::SmControl{.synchronous = true});
   }

   static Rsvp::RsvpLerPathSpecId pathSpecId(std::string_view name) {
      return Rsvp::RsvpLerPathSpecId::fromText(fmt::format("cli:{}", name));
   }
   void configIs(std::string_view tunnel) { head.configIs(tunnel)->primaryPathSpecIdIs(pathSpecId("gold")); }
   void statusIs(std::string_view tunnel, std::string_view activeLsp) {
      auto const status = head.statusIs(tunnel, activeLsp);
      Rsvp::RsvpLerPath path;
      for (std::uint32_t hop : {1U, 2U, 5U}) path.hopIs(hop, Lanu::IpGenAddr::fromHostOrder(0x0a000000 + hop));
      status->activePathIs(path);
   }
   template <class T>
   static T& writable(Vel::Ptr<T const> const& object) {
      return const_cast<T&>(*object);
   }
   Rsvp::RsvpLerSubTunnelStatus* status(std::string_view tunnel) const {
      auto const id = head.subTunnelId(tunnel);
      auto const& table = head.lerStatus->subTunnelStatusCollTable();
      auto const coll = table ? table->subTunnelStatusColl()[id.tunnelSpecId()] : nullptr;
      auto const found = coll ? coll->subTunnelStatus()[id] : nullptr;
      return const_cast<Rsvp::RsvpLerSubTunnelStatus*>(found.get());
   }

   /// What may happen to a tunnel, each by itself.
   std::vector<Act> acts() {
      auto const tunnel = head.subTunnelId(kParis);
      auto const request = head.requestId(kParisPrimary);
      return {
            {"configuration gone", [this] { head.configDel(kParis); }},
            {"configuration replaced", [this] { configIs(kParis); }},
            {"status gone", [this] { head.statusDel(kParis); }},
            {"status replaced", [this] { statusIs(kParis, kParisPrimary); }},
            {"another active LSP",
             [this] {
                if (auto* const paris = status(kParis)) paris->activeLspIs(head.requestId(kParisSecondary));
             }},
            {"another path",
             [this] {
                if (auto* const paris = status(kParis)) {
                   Rsvp::RsvpLerPath path;
                   path.hopIs(3, Lanu::IpGenAddr::fromHostOrder(0x0a000103));
                   paris->activePathIs(path);
                }
             }},
            {"request status gone", [this] { head.requestStatusDel(kParisPrimary); }},
            {"request status replaced", [this] { head.requestStatusIs(kParisPrimary); }},
            {"sp status gone", [this] { head.spStatusDel(kSp12); }},
            {"sp status replaced", [this] { head.spStatusIs(kSp12); }},
            {"sp id gone", [this] { head.spIdDel(kParisPrimary); }},
            {"another sp id", [this] { head.spIdIs(kParisPrimary, kSp12Second); }},
            {"the same sp id again", [this] { head.spIdIs(kParisPrimary, kSp12); }},
            {"the sp id of another", [this] { head.spIdIs(kParisPrimary, kSp40); }},
            {"the other one's sp id gone", [this] { head.spIdDel(kRomePrimary); }},
            {"collections of configurations replaced",
             [this, tunnel] {
                auto const coll = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfigColl>();
                auto const config = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(tunnel);
                config->primaryPathSpecIdIs(pathSpecId("gold"));
                coll->subTunnelConfigIs(tunnel, config);
                head.configs->subTunnelConfigCollIs(tunnel.tunnelSpecId(), coll);
             }},
            {"an empty collection of request statuses",
             [this, request] {
                head.requests->lspRequestStatusCollIs(request.lspGroupId,
                                                      Vel::makePtr<Rsvp::RsvpLerLspRequestStatusCollForLspGroup>());
             }},
            {"null in place of the configuration",
             [this, tunnel] {
                writable(head.configs->subTunnelConfigColl()[tunnel.tunnelSpecId()]).subTunnelConfigIs(tunnel, nullptr);
             }},
            {"status table gone", [this] { head.lerStatus->subTunnelStatusCollTableIs(nullptr); }},
            {"status table back", [this] { head.lerStatus->subTunnelStatusCollTableIs(head.statuses); }},
            {"sp id map gone", [this] { head.lerStatus->spIdMapIs(nullptr); }},
            {"sp id map back", [this] { head.lerStatus->spIdMapIs(head.spIds); }},
            {"path spec gone", [this] { specs->pathSpecDel(pathSpecId("gold")); }},
            {"path spec replaced",
             [this] {
                specs->pathSpecIs(pathSpecId("gold"), Vel::makePtr<Rsvp::RsvpLerPathSpec>(pathSpecId("gold")));
             }},
            {"path spec table gone", [this] { head.lerConfig->pathSpecCollTableIs(nullptr); }},
            {"path spec table back", [this] { head.lerConfig->pathSpecCollTableIs(head.pathSpecs); }}};
   }

   /// The rows with their inputs, and the hop rows of each.
   static Tables tables(MplsSnmp::MplsTeMib const& mib) {
      Tables all;
      std::map<std::uint32_t, std::string> hops;
      for (auto const& node : mib.mplsTunnelHopTable()) {
         auto const& row = dynamic_cast<MplsSnmp::MplsTunnelHopTableEntryRsvp const&>(*node.value());
         hops[node.key().tunnelHopListIndex] += fmt::format(" hop {} {} {}", node.key().tunnelHopIndex,
                                                            row.hopIpAddr().hex(), fmt::ptr(row.pathSpec().get()));
      }
      for (auto const& node : mib.mplsTunnelTable()) {
         auto const& row = dynamic_cast<MplsSnmp::MplsTunnelTableEntryRsvp const&>(*node.value());
         all[node.key().valueToStrep()] = fmt::format(
               "{} {} {} {}{}", fmt::ptr(row.subTunnelStatus().get()), fmt::ptr(row.subTunnelConfig().get()),
               fmt::ptr(row.lspRequestStatus().get()), fmt::ptr(row.spStatus().get()), hops[row.hopTableIndex()]);
         hops.erase(row.hopTableIndex());
      }
      for (auto const& [index, rows] : hops) all[fmt::format("hop rows of {} without a tunnel row", index)] = rows;
      return all;
   }

   /// The tables are those of a fresh start over the same inputs, but for the rows of ambiguous sp ids.
   void expectRight() const {
      auto const freshMib = MplsSnmp::mplsTeMibFactory("fresh");
      auto const freshHelper = MplsSnmp::hopTableHelperFactory();
      auto const fresh =
            Sm::RsvpSnmpSubTunnelStatusSmIs(freshMib, freshHelper, head.lerConfig, head.lerStatus, head.kelpStatus,
                                            head.counterTable, Flo::SmControl{.synchronous = true});
      Tables expected = tables(*freshMib);
      Tables actual = tables(*head.mib);
      if (auto const& map = head.lerStatus->spIdMap()) {
         std::map<Rsvp::RsvpSpId, int> requests;
         for (auto const& entry : map->spIdForLspRequestConfigId()) ++requests[entry.value];
         for (auto const& [spId, count] : requests) {
            if (count > 1) actual.erase(MplsSnmp::mibKeyFor(spId).valueToStrep());
         }
      }
      EXPECT_EQ(actual, expected);
      std::size_t const rows = head.mib->mplsTunnelTable().size();
      EXPECT_EQ(head.mib->numAllocatorStatus()->inUse(), rows);
      EXPECT_EQ(head.hopTableHelper->pathSpecCollTableSm().size(), rows);
      EXPECT_EQ(sm->localAttrStore().lspReqConfIdsForSpId().size(),
                fresh->localAttrStore().lspReqConfIdsForSpId().size());
   }

   /// What a derivation over this head end listens to, and the outputs.
   std::vector<Vel::Ptr<Vel::PtrInterface const>> inputs() const {
      auto const tunnel = head.subTunnelId(kParis);
      auto const spec = tunnel.tunnelSpecId();
      auto const statuses = head.statuses->subTunnelStatusColl()[spec];
      return {head.lerStatus,
              head.kelpStatus,
              head.lerConfig,
              head.spIds,
              head.spStatuses,
              head.configs,
              head.configs->subTunnelConfigColl()[spec],
              head.statuses,
              statuses,
              statuses->subTunnelStatus()[tunnel],
              head.requests,
              head.requests->lspRequestStatusColl()[head.requestId(kParisPrimary).lspGroupId],
              head.pathSpecs,
              specs};
   }
   std::vector<Vel::Ptr<Vel::PtrInterface const>> outputs() const { return {head.mib, head.hopTableHelper}; }

   TestSupport::HeadEnd head;
   Vel::Ptr<Rsvp::RsvpLerPathSpecCollForSource> specs = Vel::makePtr<Rsvp::RsvpLerPathSpecCollForSource>();
   Vel::Ptr<Sm> sm;
};

using Notifiers = std::vector<Vel::Ptr<Vel::PtrInterface const>>;

/// Makes each change, with each other change inside each of the notifications that `notifiers` have from the outer one.
/// Returns how often one was inside another.
template <class NotifiersOf>
int nestAll(NotifiersOf&& notifiersOf) {
   int nested = 0;
   std::size_t const count = Switch().acts().size();
   for (std::size_t outer = 0; outer < count; ++outer) {
      for (std::size_t inner = 0; inner < count; ++inner) {
         bool reached = true;
         for (int n = 1; reached; ++n) {
            reached = false;
            Switch world;
            auto const acts = world.acts();
            bool listening = false;
            int left = n;
            auto const act = [&](Vel::AttributeId, void const*) {
               if (!listening || --left != 0) return;
               reached = true;
               acts[inner].second();
            };
            // Registered before the derivation: they hear of a change of an input before it does.
            std::vector<Vel::Ptr<Observer>> observers;
            for (auto const& notifier : notifiersOf(world)) {
               observers.push_back(Vel::makePtr<Observer>(*notifier, act));
            }
            world.start();
            listening = true;
            SCOPED_TRACE(fmt::format("{}; inside, at notification {}: {}", acts[outer].first, n, acts[inner].first));
            acts[outer].second();
            listening = false;
            world.expectRight();
            nested += reached;
            if (testing::Test::HasFailure()) return nested;
         }
      }
   }
   return nested;
}

}  // namespace

TEST(Nesting, EachChangeInsideEachNotificationOfTheOutputs) {
   EXPECT_GT(nestAll([](Switch const& world) { return world.outputs(); }), 1500);
}

// Heard before the derivation hears of the change: when it does, more has changed than it is told.
TEST(Nesting, EachChangeInsideEachNotificationOfTheInputs) {
   EXPECT_GT(nestAll([](Switch const& world) { return world.inputs(); }), 400);
}

// The delete of the old object comes first; when the add of the new one does, that may have gone as well.
TEST(Nesting, NoRowIsMadeOverAnObjectThatHasGoneMeanwhile) {
   auto const expectNoRow = [](auto&& replace, auto&& take) {
      Switch world;
      world.start();
      bool taken = false;
      auto const observer = Vel::makePtr<Observer>(*world.head.mib, [&](Vel::AttributeId attribute, void const*) {
         if (attribute != MplsSnmp::MplsTeMib::attrMplsTunnelTable) return;
         EXPECT_FALSE(world.head.row(kSp12));
         if (!std::exchange(taken, true)) take(world.head);
      });
      replace(world);
      EXPECT_TRUE(taken);
      EXPECT_FALSE(world.head.row(kSp12));
   };
   expectNoRow([](Switch& world) { world.configIs(kParis); }, [](auto& head) { head.configDel(kParis); });
   expectNoRow([](Switch& world) { world.head.requestStatusIs(kParisPrimary); },
               [](auto& head) { head.requestStatusDel(kParisPrimary); });
   expectNoRow([](Switch& world) { world.head.spStatusIs(kSp12); }, [](auto& head) { head.spStatusDel(kSp12); });
}

// What comes and goes again before its own event has had its turn must not have made a row: that event finds nothing,
// and would not find the row either.
TEST(Nesting, AnInputThatComesAndGoesBeforeItIsHeardOfLeavesNoRow) {
   using Change = void (*)(Switch&);
   struct Input {
      Change comes;
      Change goes;
      Change another;  // change of another input of the same row
   };
   Change const newSpStatus = [](Switch& world) { world.head.spStatusIs(kSp12); };
   std::array const inputs{Input{[](Switch& world) { world.configIs(kParis); },
                                 [](Switch& world) { world.head.configDel(kParis); }, newSpStatus},
                           Input{[](Switch& world) { world.head.requestStatusIs(kParisPrimary); },
                                 [](Switch& world) { world.head.requestStatusDel(kParisPrimary); }, newSpStatus},
                           Input{newSpStatus, [](Switch& world) { world.head.spStatusDel(kSp12); },
                                 [](Switch& world) { world.configIs(kParis); }}};
   for (Input const& input : inputs) {
      Switch world;
      world.start();
      input.goes(world);
      bool begun = false;
      bool gone = false;
      auto const observer = Vel::makePtr<Observer>(*world.head.mib, [&](Vel::AttributeId attribute, void const*) {
         if (attribute != MplsSnmp::MplsTeMib::attrMplsTunnelTable) return;
         if (!std::exchange(begun, true)) {
            input.another(world);
            input.comes(world);
         } else if (!gone && world.head.row(kSp12)) {
            gone = true;
            input.goes(world);
         }
      });
      world.head.spStatusIs(kSp40);
      EXPECT_TRUE(gone);
      EXPECT_FALSE(world.head.row(kSp12));
      world.expectRight();
   }
}
