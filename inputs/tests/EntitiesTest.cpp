// SPDX-License-Identifier: MIT
/// What the published objects tell their reactors: each change once, with its attribute, and nothing when a value is
/// set again.
#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "inputs/rsvp/KelpStatus.h"
#include "inputs/rsvp/LerConfig.h"
#include "inputs/rsvp/LerHiveStatus.h"
#include "inputs/tallies/CounterTable.h"
#include "inputs/tunnel/TunnelId.h"

namespace {

using namespace Rsvp;
using Vel::AttributeId;
using Vel::makePtr;
using Vel::Ptr;

/// Notes the attributes that it hears of, and the member for keys of type `Key`.
template <class Key = int>
class Listener : public Vel::PtrInterface::NotifieeConst {
 public:
   explicit Listener(Ptr<Vel::PtrInterface const> const& notifier) {
      bind(notifier.get());
      isRegisteredNotifieeIs(true);
   }
   void onAttribute(AttributeId attribute, void const* key) override {
      attributes.push_back(attribute);
      if (key) keys.push_back(*static_cast<Key const*>(key));
   }
   std::vector<AttributeId> attributes;
   std::vector<Key> keys;
};

/// `set` changes one attribute of `object`: it is told once, and not again when it is set again.
template <class Object, class Set>
void expectToldOnce(Ptr<Object> const& object, AttributeId attribute, Set&& set) {
   auto const listener = makePtr<Listener<>>(object);
   set(*object);
   EXPECT_EQ(listener->attributes, std::vector<AttributeId>{attribute});
   EXPECT_TRUE(listener->keys.empty());
   set(*object);
   EXPECT_EQ(listener->attributes.size(), 1U);
}

RsvpLerSubTunnelConfigId const kSubTunnel = RsvpLerSubTunnelConfigId::fromText("cli:to-paris");
RsvpLerPathSpecId const kPathSpec = RsvpLerPathSpecId::fromText("cli:gold");
RsvpLerLspRequestConfigId const kRequest = RsvpLerLspRequestConfigId::fromText("cli:to-paris@primary.1");
RsvpSpId const kSp = RsvpSpId::fromText("10.0.0.9/12/10.0.0.1/1");

TEST(SubTunnelConfigTest, tellsOfEveryChange) {
   auto const config = makePtr<RsvpLerSubTunnelConfig>(kSubTunnel);
   EXPECT_EQ(config->id(), kSubTunnel);
   EXPECT_FALSE(config->primaryPathSpecId().isConfigured());
   EXPECT_FALSE(config->secondaryPathSpecId().isConfigured());
   EXPECT_FALSE(config->fastReroute());
   expectToldOnce(config, RsvpLerSubTunnelConfig::attrPrimaryPathSpecId,
                  [](auto& c) { c.primaryPathSpecIdIs(kPathSpec); });
   expectToldOnce(config, RsvpLerSubTunnelConfig::attrSecondaryPathSpecId,
                  [](auto& c) { c.secondaryPathSpecIdIs(kPathSpec); });
   expectToldOnce(config, RsvpLerSubTunnelConfig::attrFastReroute, [](auto& c) { c.fastRerouteIs(true); });
   EXPECT_EQ(config->primaryPathSpecId(), kPathSpec);
   EXPECT_EQ(config->secondaryPathSpecId(), kPathSpec);
   EXPECT_TRUE(config->fastReroute());
   expectToldOnce(config, RsvpLerSubTunnelConfig::attrPrimaryPathSpecId, [](auto& c) { c.primaryPathSpecIdIs({}); });
}

TEST(SubTunnelStatusTest, tellsOfEveryChange) {
   auto const status = makePtr<RsvpLerSubTunnelStatus>(kSubTunnel);
   EXPECT_EQ(status->id(), kSubTunnel);
   EXPECT_FALSE(status->up());
   EXPECT_FALSE(status->activeLsp().isSet());
   EXPECT_TRUE(status->activePath().empty());
   RsvpLerPath path;
   path.hopIs(1, Lanu::IpGenAddr::fromText("10.0.12.2"));
   expectToldOnce(status, RsvpLerSubTunnelStatus::attrUp, [](auto& s) { s.upIs(true); });
   expectToldOnce(status, RsvpLerSubTunnelStatus::attrPathChanges, [](auto& s) { s.pathChangesIs(4294967295U); });
   expectToldOnce(status, RsvpLerSubTunnelStatus::attrStateTransitions, [](auto& s) { s.stateTransitionsIs(5); });
   expectToldOnce(status, RsvpLerSubTunnelStatus::attrActiveLsp, [](auto& s) { s.activeLspIs(kRequest); });
   expectToldOnce(status, RsvpLerSubTunnelStatus::attrActivePath, [&](auto& s) { s.activePathIs(path); });
   EXPECT_TRUE(status->up());
   EXPECT_EQ(status->pathChanges(), 4294967295U);
   EXPECT_EQ(status->stateTransitions(), 5U);
   EXPECT_EQ(status->activeLsp(), kRequest);
   EXPECT_EQ(status->activePath(), path);
}

TEST(SubTunnelStatusTest, aPathOfEqualHopsIsNoChange) {
   auto const status = makePtr<RsvpLerSubTunnelStatus>(kSubTunnel);
   auto const path = [] {
      RsvpLerPath made;
      made.hopIs(1, Lanu::IpGenAddr::fromText("10.0.12.2"));
      return made;
   };
   status->activePathIs(path());
   auto const heard = makePtr<Listener<>>(status);
   status->activePathIs(path());
   EXPECT_TRUE(heard->attributes.empty());
}

TEST(LspRequestStatusTest, tellsOfItsErrors) {
   auto const status = makePtr<RsvpLerLspRequestStatus>(kRequest);
   EXPECT_EQ(status->id(), kRequest);
   EXPECT_TRUE(status->errors().empty());
   expectToldOnce(status, RsvpLerLspRequestStatus::attrErrors, [](auto& s) { s.errorsIs({{25, 3}, {24, 5}}); });
   EXPECT_EQ(status->errors(), (std::vector<RsvpLerLspRequestStatus::Error>{{25, 3}, {24, 5}}));
   // Their order is that in which they were signalled: another order is a change.
   expectToldOnce(status, RsvpLerLspRequestStatus::attrErrors, [](auto& s) { s.errorsIs({{24, 5}, {25, 3}}); });
}

TEST(SpStatusTest, tellsOfEveryChange) {
   auto const status = makePtr<RsvpSpStatus>(kSp);
   EXPECT_EQ(status->id(), kSp);
   EXPECT_EQ(status->upSince(), 0);
   expectToldOnce(status, RsvpSpStatus::attrUpSince, [](auto& s) { s.upSinceIs(1760000000.25); });
   // Each part of the session attribute counts.
   expectToldOnce(status, RsvpSpStatus::attrSessionAttribute, [](auto& s) { s.sessionAttributeIs({7, 0, 0, 0, 0}); });
   expectToldOnce(status, RsvpSpStatus::attrSessionAttribute, [](auto& s) { s.sessionAttributeIs({7, 1, 0, 0, 0}); });
   expectToldOnce(status, RsvpSpStatus::attrSessionAttribute, [](auto& s) { s.sessionAttributeIs({7, 1, 2, 0, 0}); });
   expectToldOnce(status, RsvpSpStatus::attrSessionAttribute, [](auto& s) { s.sessionAttributeIs({7, 1, 2, 3, 0}); });
   expectToldOnce(status, RsvpSpStatus::attrSessionAttribute, [](auto& s) { s.sessionAttributeIs({7, 1, 2, 3, 4}); });
   EXPECT_EQ(status->upSince(), 1760000000.25);
   EXPECT_EQ(status->sessionAttribute().includeAll, 4U);
}

TEST(PathSpecTest, isNamedAfterItsIdAndTellsOfEveryChange) {
   auto const spec = makePtr<RsvpLerPathSpec>(kPathSpec);
   EXPECT_EQ(spec->id(), kPathSpec);
   EXPECT_EQ(spec->name(), storedName("gold"));
   EXPECT_EQ(spec->type(), RsvpLerPathSpec::Type::unknown);
   expectToldOnce(spec, RsvpLerPathSpec::attrName, [](auto& s) { s.nameIs(storedName("silver")); });
   expectToldOnce(spec, RsvpLerPathSpec::attrType, [](auto& s) { s.typeIs(RsvpLerPathSpec::Type::dynamic); });
   EXPECT_EQ(spec->name(), storedName("silver"));
   EXPECT_EQ(static_cast<int>(spec->type()), 2);
}

TEST(RootInputsTest, tellOfTheirParts) {
   auto const config = makePtr<RsvpLerConfig>("config");
   auto const hive = makePtr<RsvpLerHiveStatus>("status");
   auto const kelp = makePtr<RsvpKelpStatus>("kelp");
   EXPECT_EQ(hive->name(), "status");
   expectToldOnce(config, RsvpLerConfig::attrPathSpecCollTable,
                  [part = makePtr<RsvpLerPathSpecCollTable>()](auto& c) { c.pathSpecCollTableIs(part); });
   expectToldOnce(hive, RsvpLerHiveStatus::attrSpIdMap,
                  [part = makePtr<RsvpLerSpIdMap>()](auto& h) { h.spIdMapIs(part); });
   expectToldOnce(hive, RsvpLerHiveStatus::attrSubTunnelConfigCollTable,
                  [part = makePtr<RsvpLerSubTunnelConfigCollTable>()](auto& h) { h.subTunnelConfigCollTableIs(part); });
   expectToldOnce(hive, RsvpLerHiveStatus::attrSubTunnelStatusCollTable,
                  [part = makePtr<RsvpLerSubTunnelStatusCollTable>()](auto& h) { h.subTunnelStatusCollTableIs(part); });
   expectToldOnce(
         hive, RsvpLerHiveStatus::attrLspRequestStatusCollTable,
         [part = makePtr<RsvpLerLspRequestStatusCollTable>()](auto& h) { h.lspRequestStatusCollTableIs(part); });
   expectToldOnce(hive, RsvpLerHiveStatus::attrTunnelIndexMap,
                  [part = makePtr<RsvpLerTunnelIndexMap>()](auto& h) { h.tunnelIndexMapIs(part); });
   expectToldOnce(hive, RsvpLerHiveStatus::attrSubTunnelIndexMap,
                  [part = makePtr<RsvpLerSubTunnelIndexMap>()](auto& h) { h.subTunnelIndexMapIs(part); });
   expectToldOnce(kelp, RsvpKelpStatus::attrSpStatusColl,
                  [part = makePtr<RsvpSpStatusColl>()](auto& k) { k.spStatusCollIs(part); });
   // Each may go again.
   expectToldOnce(hive, RsvpLerHiveStatus::attrSpIdMap, [](auto& h) { h.spIdMapIs(nullptr); });
   expectToldOnce(kelp, RsvpKelpStatus::attrSpStatusColl, [](auto& k) { k.spStatusCollIs(nullptr); });
   EXPECT_TRUE(hive->spIdMap() == nullptr);
   EXPECT_TRUE(hive->subTunnelIndexMap());
}

/// A collection tells of a member that comes, is replaced and goes, by its key.
template <class Coll, class Key, class Value, class Map>
void expectCollection(AttributeId attribute, Map const& (Coll::*members)() const, void (Coll::*set)(Key, Value),
                      void (Coll::*del)(Key), std::remove_cvref_t<Key> const& key,
                      std::remove_cvref_t<Value> const& first, std::remove_cvref_t<Value> const& second) {
   using PlainKey = std::remove_cvref_t<Key>;
   auto const coll = makePtr<Coll>();
   auto const listener = makePtr<Listener<PlainKey>>(coll);
   EXPECT_TRUE(((*coll).*members)().empty());
   ((*coll).*set)(key, first);
   EXPECT_EQ(listener->keys.size(), 1U);
   ((*coll).*set)(key, first);
   EXPECT_EQ(listener->keys.size(), 1U);
   ((*coll).*set)(key, second);
   EXPECT_EQ(listener->keys.size(), 2U);
   EXPECT_EQ(((*coll).*members)()[key], second);
   ((*coll).*del)(key);
   ((*coll).*del)(key);
   EXPECT_EQ(listener->keys, std::vector<PlainKey>(3, key));
   EXPECT_EQ(listener->attributes, std::vector<AttributeId>(3, attribute));
   EXPECT_TRUE(((*coll).*members)().empty());
}

TEST(CollectionsTest, tellOfMembersThatComeAreReplacedAndGo) {
   auto const tunnel = kSubTunnel.tunnelSpecId();
   expectCollection(RsvpLerSpIdMap::attrMember, &RsvpLerSpIdMap::spIdForLspRequestConfigId,
                    &RsvpLerSpIdMap::spIdForLspRequestConfigIdIs, &RsvpLerSpIdMap::spIdForLspRequestConfigIdDel,
                    kRequest, kSp, RsvpSpId::fromText("10.0.0.9/12/10.0.0.1/2"));
   expectCollection(RsvpLerTunnelIndexMap::attrMember, &RsvpLerTunnelIndexMap::tunnelIndexForTunnelSpecId,
                    &RsvpLerTunnelIndexMap::tunnelIndexForTunnelSpecIdIs,
                    &RsvpLerTunnelIndexMap::tunnelIndexForTunnelSpecIdDel, tunnel, 12U, 13U);
   expectCollection(RsvpLerSubTunnelIndexMap::attrMember, &RsvpLerSubTunnelIndexMap::tunnelIndexForSubTunnelConfigId,
                    &RsvpLerSubTunnelIndexMap::tunnelIndexForSubTunnelConfigIdIs,
                    &RsvpLerSubTunnelIndexMap::tunnelIndexForSubTunnelConfigIdDel, kSubTunnel, 40U, 41U);

   using Config = RsvpLerSubTunnelConfig;
   expectCollection(RsvpLerSubTunnelConfigColl::attrMember, &RsvpLerSubTunnelConfigColl::subTunnelConfig,
                    &RsvpLerSubTunnelConfigColl::subTunnelConfigIs, &RsvpLerSubTunnelConfigColl::subTunnelConfigDel,
                    kSubTunnel, makePtr<Config>(kSubTunnel), makePtr<Config>(kSubTunnel));
   using Status = RsvpLerSubTunnelStatus;
   expectCollection(RsvpLerSubTunnelStatusColl::attrMember, &RsvpLerSubTunnelStatusColl::subTunnelStatus,
                    &RsvpLerSubTunnelStatusColl::subTunnelStatusIs, &RsvpLerSubTunnelStatusColl::subTunnelStatusDel,
                    kSubTunnel, makePtr<Status>(kSubTunnel), makePtr<Status>(kSubTunnel));
   using Requests = RsvpLerLspRequestStatusCollForLspGroup;
   expectCollection(Requests::attrMember, &Requests::lspRequestStatus, &Requests::lspRequestStatusIs,
                    &Requests::lspRequestStatusDel, kRequest, makePtr<RsvpLerLspRequestStatus>(kRequest),
                    makePtr<RsvpLerLspRequestStatus>(kRequest));
   expectCollection(RsvpSpStatusColl::attrMember, &RsvpSpStatusColl::spStatus, &RsvpSpStatusColl::spStatusIs,
                    &RsvpSpStatusColl::spStatusDel, kSp, makePtr<RsvpSpStatus>(kSp), makePtr<RsvpSpStatus>(kSp));
   using Specs = RsvpLerPathSpecCollForSource;
   expectCollection(Specs::attrPathSpec, &Specs::pathSpec, &Specs::pathSpecIs, &Specs::pathSpecDel, kPathSpec,
                    makePtr<RsvpLerPathSpec>(kPathSpec), makePtr<RsvpLerPathSpec>(kPathSpec));
}

TEST(CollectionsTest, collectionsOfCollectionsDoTheSame) {
   auto const tunnel = kSubTunnel.tunnelSpecId();
   using Configs = RsvpLerSubTunnelConfigCollTable;
   expectCollection(Configs::attrMember, &Configs::subTunnelConfigColl, &Configs::subTunnelConfigCollIs,
                    &Configs::subTunnelConfigCollDel, tunnel, makePtr<RsvpLerSubTunnelConfigColl>(),
                    makePtr<RsvpLerSubTunnelConfigColl>());
   using Statuses = RsvpLerSubTunnelStatusCollTable;
   expectCollection(Statuses::attrMember, &Statuses::subTunnelStatusColl, &Statuses::subTunnelStatusCollIs,
                    &Statuses::subTunnelStatusCollDel, tunnel, makePtr<RsvpLerSubTunnelStatusColl>(),
                    makePtr<RsvpLerSubTunnelStatusColl>());
   using Requests = RsvpLerLspRequestStatusCollTable;
   expectCollection(Requests::attrMember, &Requests::lspRequestStatusColl, &Requests::lspRequestStatusCollIs,
                    &Requests::lspRequestStatusCollDel, kRequest.lspGroupId,
                    makePtr<RsvpLerLspRequestStatusCollForLspGroup>(),
                    makePtr<RsvpLerLspRequestStatusCollForLspGroup>());
   using Specs = RsvpLerPathSpecCollTable;
   expectCollection(Specs::attrPathSpecColl, &Specs::pathSpecColl, &Specs::pathSpecCollIs, &Specs::pathSpecCollDel,
                    RsvpLerTunnelSource::controller, makePtr<RsvpLerPathSpecCollForSource>(),
                    makePtr<RsvpLerPathSpecCollForSource>());
}

TEST(TunnelIdTest, theTunnelValueIsTheTypeAboveTheIndex) {
   using Tunnel::TunnelTable::TunnelId;
   EXPECT_EQ(TunnelId::convertToTunnelValue(TunnelId::Type::rsvpTunnel, 12), 0x1000'0000'0000'000cULL);
   EXPECT_EQ(TunnelId::convertToTunnelValue(TunnelId::Type::rsvpSubTunnel, 0xffff'ffffU), 0x1400'0000'ffff'ffffULL);
}

TEST(CounterTableTest, hasNoCountersUntilSomeAreAttached) {
   EXPECT_EQ(makePtr<Tallies::CounterTable>("counters")->counterMap(), nullptr);
}

}  // namespace
