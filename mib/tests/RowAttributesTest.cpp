// SPDX-License-Identifier: MIT
/// The rows and the types of their columns, as a host sees them that knows no header of the module.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "mib/MplsTunnelHopTableEntryRsvp.h"
#include "mib/MplsTunnelTableEntryRsvp.h"
#include "mib/Types.h"
#include "substrate/vel/EnumType.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/TypeRegistry.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::Pair;
using Published = Vel::Ptr<Vel::PtrInterface const>;

class RowAttributesTest : public testing::Test {
 protected:
   RowAttributesTest() {
      Vel::System::timeSourceIs([] { return 1000.5; });
      status_->upIs(true);
      status_->pathChangesIs(3);
      status_->stateTransitionsIs(5);
      config_->fastRerouteIs(true);
      spStatus_->sessionAttributeIs({7, 6, 1, 2, 4});
      spStatus_->upSinceIs(1000);
      spec_->typeIs(Rsvp::RsvpLerPathSpec::Type::dynamic);
   }
   ~RowAttributesTest() override { Vel::System::timeSourceIs(nullptr); }

   /// Every attribute that is a value, as text.
   static std::map<std::string, std::string> columns(Published const& row) {
      std::map<std::string, std::string> all;
      for (auto const& attribute : row->fwkType().base->attributes) {
         std::string const name(attribute.name);
         all[name] = Vel::TypeRegistry::instance().valueToStrep(Vel::attributeGet(*row, name).value);
      }
      return all;
   }
   static Published input(Published const& row, std::string_view name) {
      return Vel::Generic::pointerOf(Vel::attributeGet(*row, name).value, 0);
   }
   /// Numbers of the attributes, those of the base first.
   static std::vector<std::uint16_t> ids(Vel::TypeInfo const& type) {
      std::vector<std::uint16_t> all;
      for (auto const* const each : {type.base, &type}) {
         for (auto const& attribute : each->attributes) all.push_back(attribute.id);
      }
      return all;
   }

   Rsvp::RsvpLerSubTunnelConfigId const id_ = Rsvp::RsvpLerSubTunnelConfigId::fromText("cli:to-paris");
   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus> const status_ = Vel::makePtr<Rsvp::RsvpLerSubTunnelStatus>(id_);
   Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig> const config_ = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(id_);
   Vel::Ptr<Rsvp::RsvpSpStatus> const spStatus_ = Vel::makePtr<Rsvp::RsvpSpStatus>(Rsvp::RsvpSpId());
   Vel::Ptr<Rsvp::RsvpLerLspRequestStatus> const request_ =
         Vel::makePtr<Rsvp::RsvpLerLspRequestStatus>(Rsvp::RsvpLerLspRequestConfigId());
   Vel::Ptr<Rsvp::RsvpLerHiveStatus> const lerStatus_ = Vel::makePtr<Rsvp::RsvpLerHiveStatus>("lerStatus");
   Vel::Ptr<Tallies::CounterTable> const counters_ = Vel::makePtr<Tallies::CounterTable>("counters");
   Vel::Ptr<Rsvp::RsvpLerPathSpec> const spec_ =
         Vel::makePtr<Rsvp::RsvpLerPathSpec>(Rsvp::RsvpLerPathSpecId::fromText("cli:gold"));
   Published const tunnel_ = mplsTunnelTableEntryRsvpFactory(MplsTunnelTableKey(1, 2, 3, 4), 9U, status_, config_,
                                                             spStatus_, request_, counters_, lerStatus_);
   Published const hop_ = mplsTunnelHopTableEntryRsvpFactory(
         MplsTunnelHopTableKey(9, 1, 2), Snmp::InetAddress::fromIpGenAddr(Lanu::IpGenAddr::fromText("10.0.12.2")),
         spec_);
   Vel::TypeModule const module_{"MplsSnmp", mplsSnmpTypes()};
};

TEST_F(RowAttributesTest, theColumnsOfATunnelRowAreAttributes) {
   EXPECT_THAT(
         columns(tunnel_),
         ElementsAre(Pair("adminStatus", "adminUp"), Pair("descr", ""), Pair("excludeAnyAffinity", "1"),
                     Pair("holdingPrio", "6"), Pair("hopTableIndex", "9"), Pair("ifIndex", "0"),
                     Pair("includeAllAffinity", "4"), Pair("includeAnyAffinity", "2"), Pair("instanceUpTime", "0.5"),
                     Pair("isIf", "False"), Pair("key", MplsTunnelTableKey(1, 2, 3, 4).valueToStrep()),
                     Pair("localProtectInUse", "False"), Pair("name", "to-paris"), Pair("operStatus", "operUp"),
                     Pair("owner", "rsvpTe"), Pair("pathChanges", "3"), Pair("pathInUse", "1"), Pair("perfBytes", "0"),
                     Pair("perfPackets", "0"), Pair("role", "head"), Pair("rowStatus", "1"),
                     Pair("sessionAttributes", SessionAttributesBits(0x15).valueToStrep()), Pair("setupPrio", "7"),
                     Pair("signallingProto", "protoRsvp"), Pair("stateTransitions", "5"), Pair("storageType", "5")));
}

TEST_F(RowAttributesTest, theColumnsOfAHopRowAreAttributes) {
   EXPECT_THAT(columns(hop_),
               ElementsAre(Pair("hopAddrType", "ipv4"), Pair("hopAddrUnnum", "c0:80:c0:80"),
                           Pair("hopAsNumber", "c0:80:c0:80"), Pair("hopEntryPathComp", "compDynamic"),
                           Pair("hopInclude", "True"), Pair("hopIpAddr", "0a:00:0c:02"), Pair("hopIpPrefixLen", "32"),
                           Pair("hopLspId", "c0:80"), Pair("hopPathOptionName", "gold"), Pair("hopType", "strict"),
                           Pair("key", MplsTunnelHopTableKey(9, 1, 2).valueToStrep()), Pair("rowStatus", "1"),
                           Pair("storageType", "5")));
}

TEST_F(RowAttributesTest, theInputsOfARowAreAttributes) {
   EXPECT_EQ(input(tunnel_, "subTunnelStatus"), status_);
   EXPECT_EQ(input(tunnel_, "subTunnelConfig"), config_);
   EXPECT_EQ(input(tunnel_, "spStatus"), spStatus_);
   EXPECT_EQ(input(tunnel_, "lspRequestStatus"), request_);
   EXPECT_EQ(input(tunnel_, "counterTable"), counters_);
   EXPECT_EQ(input(tunnel_, "lerHiveStatus"), lerStatus_);
   EXPECT_EQ(input(hop_, "pathSpec"), spec_);
   auto const address = std::any_cast<Snmp::InetAddress>(Vel::attributeGet(*hop_, "ipAddr").value);
   EXPECT_EQ(address.octets().hex(), "0a:00:0c:02");
}

TEST_F(RowAttributesTest, noTwoAttributesOfARowHaveOneNumber) {
   for (auto const& row : {tunnel_, hop_}) {
      auto const all = ids(row->fwkType());
      EXPECT_EQ(std::set<std::uint16_t>(all.begin(), all.end()).size(), all.size());
      EXPECT_EQ(all.front(), 1);
      EXPECT_EQ(all.back(), all.size());
   }
}

TEST_F(RowAttributesTest, aRowIsNotChanged) {
   auto const row = Vel::makePtr<MplsTunnelHopTableEntryRsvp>(MplsTunnelHopTableKey(), Snmp::InetAddress(), spec_);
   std::vector<Vel::Any> const one{std::uint64_t{1}};
   EXPECT_FALSE(Vel::attributeSet(*row, "rowStatus", one).known());
   EXPECT_FALSE(Vel::attributeDel(*row, "rowStatus").known());
}

TEST_F(RowAttributesTest, theTypesOfKeysFlagsAndEnumerationsAreKnownByName) {
   auto const& registry = Vel::TypeRegistry::instance();
   for (auto const& [type, text] : std::map<std::string, std::string>{
              {"MplsSnmp::MplsTunnelTableKey", MplsTunnelTableKey(65535, 2, 3, 4294967295U).valueToStrep()},
              {"MplsSnmp::MplsTunnelHopTableKey", MplsTunnelHopTableKey(1, 2, 3).valueToStrep()},
              {"MplsSnmp::SessionAttributesBits", SessionAttributesBits(0x14).valueToStrep()},
              {"MplsSnmp::AdminStatus", "adminTesting"},
              {"MplsSnmp::OperStatus", "operLowerLayerDown"},
              {"MplsSnmp::TunnelRole", "headTail"},
              {"MplsSnmp::SignallingProto", "protoCrldp"},
              {"MplsSnmp::MplsOwner", "policyAgent"},
              {"MplsSnmp::HopAddrType", "typeUnknown"},
              {"MplsSnmp::HopType", "loose"},
              {"MplsSnmp::HopEntryPathComp", "compExplicit"}}) {
      EXPECT_EQ(registry.valueToStrep(registry.strepToValue(type, text)), text) << type;
   }
   EXPECT_EQ(registry.type("MplsSnmp::OperStatus").enumeration->byName("operDown").value, 2U);
   for (auto const* row : {"MplsSnmp::MplsTunnelTableEntry", "MplsSnmp::MplsTunnelTableEntryRsvp",
                           "MplsSnmp::MplsTunnelHopTableEntry", "MplsSnmp::MplsTunnelHopTableEntryRsvp"}) {
      EXPECT_EQ(registry.type(row).name, row);
   }
   EXPECT_EQ(tunnel_->fwkType().name, "MplsSnmp::MplsTunnelTableEntryRsvp");
   EXPECT_EQ(hop_->fwkType().name, "MplsSnmp::MplsTunnelHopTableEntryRsvp");
}

using RowDeathTest = RowAttributesTest;

TEST_F(RowDeathTest, aTunnelRowNeedsAllOfItsInputsButTheCounters) {
   auto const row = [&](unsigned missing) {
      return mplsTunnelTableEntryRsvpFactory(MplsTunnelTableKey(), 1U, missing == 0 ? nullptr : status_,
                                             missing == 1 ? nullptr : config_, missing == 2 ? nullptr : spStatus_,
                                             missing == 3 ? nullptr : request_, missing == 4 ? nullptr : counters_,
                                             missing == 5 ? nullptr : lerStatus_);
   };
   for (unsigned const missing : {0U, 1U, 2U, 3U, 5U}) {
      EXPECT_DEATH(row(missing),
                   "Assertion `subTunnelStatus && subTunnelConfig && spStatus && lspRequestStatus && "
                   "lerHiveStatus' failed")
            << missing;
   }
   EXPECT_EQ(row(4)->perfBytes(), 0U);
}

}  // namespace

}  // namespace MplsSnmp
